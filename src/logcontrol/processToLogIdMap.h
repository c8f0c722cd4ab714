#pragma once

#include <string>
#include <vector>

/** A process that logs under numeric ids in place of its name. */
struct LogIdEntry
{
    std::string mProcessName;
    int mLogIds[10]; ///< 0 is an empty place
};

/**
 * The known processes; the row with the empty name ends the table. Intentional: it is never destroyed, as the
 * worker may use it to the last moment of the process.
 */
extern const LogIdEntry* const processToLogIdMap;

/** The log ids of a process, its name compared without case; empty for a process that logs under its name. */
std::vector<int> GetExtraLogIDsForProcess(std::string processName);
