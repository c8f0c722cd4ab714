#pragma once

#include <cstdint>
#include <string>

/** The record of one watched process for one resource. Only the worker thread touches it. */
class Counter
{
public:
    Counter();
    virtual ~Counter();

    std::string mCounterName;     ///< label for the log: prefix, name#pid, suffix
    std::string mProcessName;     ///< name in the process tables, "java" for every Java process
    int mCounterIndex;            ///< process id; messages call it the counter index
    bool mIsActive;               ///< true once registered; nothing reads it
    int mDumpCount;               ///< evidence sets fired; never reset
    int mReadingNumber;           ///< position in the reading window, from 1
    std::int64_t mFirstReading;   ///< first truncated reading; nothing reads it
    std::int64_t mSum;            ///< of the truncated readings in the window
    std::int64_t mRunningAverage; ///< mSum by mReadingNumber, truncated
    bool mIsJavaProcess;
    std::string mJavaProcessName; ///< configured name of a Java process, else empty
};
