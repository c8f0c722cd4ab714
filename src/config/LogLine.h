#pragma once

#include "config/Mutex.h"

#include <cstdio>
#include <string>

/**
 * One line of the diagnostic log, from the open to the close of the day's file.
 *
 * Use it as LogLine{logFileMtx}.Write("%s...\n", GetCurrentTimeStamp().c_str(), ...): the file is open and
 * the unit's lock held before the arguments are gathered, and the lock is given back behind the line. A file
 * that can't be opened loses the line and nothing else. Any thread; the lock isn't recursive, so the
 * arguments must not log.
 */
class LogLine
{
public:
    /** Takes the lock of the unit and opens the day's file. */
    explicit LogLine(mutex& unitMutex);

    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;

    /** Writes the line, whose format starts with "%s" for the stamp, and closes the file. Call it once. */
    [[gnu::format(printf, 2, 3)]] void Write(const char* format, ...);

private:
    MutexHold mHold;
    FILE* mFile; ///< null when the open failed
};

/** Writes a message as a line under the unit's lock, then prints it. Any thread. */
void LogAndPrint(mutex& unitMutex, const std::string& message);

/** True when mVerbose is exactly 1 and verbose lines are written. Ask before a line is formatted. */
bool IsVerbose();
