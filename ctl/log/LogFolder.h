#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/SafeFile.h"

namespace ctl
{

/** One daily log. */
struct DailyLog
{
    std::string name;       ///< within the folder
    int day = 0;            ///< year, month and day as one number: 20261121
    std::uint64_t size = 0; ///< in bytes
    std::uint64_t inode = 0;
};

/** The daily logs of a folder, the oldest first. Files whose names aren't theirs are passed over. */
struct LogFolder
{
    std::string path;
    std::vector<DailyLog> files;
    std::string failure; ///< why the folder can't be read; empty if it can
};

/** Where the daemon writes its logs. */
std::string GetUsualLogPath();

/** Opens the folder of the logs, which may be a link: the operator named it, or moved the logs elsewhere. */
OpenedFile OpenLogFolder(const std::string& path);

/** Lists the logs at `path`, or at the usual path for an empty one. */
LogFolder ListLogs(const std::string& path);

/** The day that a file's name gives, as in DailyLog; 0 for what is no name of a daily log. */
int GetDayOfLog(const std::string& name);

/** The day of a local time in seconds as if it were UTC, as in DailyLog. */
int GetDay(std::int64_t wall);

} // namespace ctl
