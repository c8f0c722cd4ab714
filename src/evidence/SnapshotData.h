#pragma once

#include <string>

/**
 * The arguments of a capture thread, which owns them from its start and frees them as its last act. If the
 * thread can't be started, StartCapture frees them.
 */
struct SnapshotData
{
    /** All texts empty, process id -1. */
    SnapshotData();

    /** A capture of a process for a breaching counter; all other texts empty. */
    SnapshotData(std::string processName, int pid, std::string counterLabel);

    std::string mProcessName; ///< name of the process; for Java dumps the destination of the heap dump
    int mPid;
    std::string mCommand;         ///< event text, or a ready shell line
    std::string mCounterType;     ///< label of the breaching counter's manager
    std::string mJdkHome;         ///< THHS_JDK_HOME
    std::string mJavaProcessName; ///< configured name of a Java process, else empty
    std::string mUser;            ///< owner of the process
    std::string mTempPath;        ///< folder in which that owner may write
};
