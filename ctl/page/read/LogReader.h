#pragma once

#include "page/read/ReportData.h"

#include <string>

namespace ctl
{

/** How many seconds of the log belong to a set: the readings before it, the captures after it. */
constexpr Wall LOG_BEFORE = 21600;
constexpr Wall LOG_AFTER = 7200;

/**
 * Reads the daily logs in `folder` around the time of the set and adds the events of its process to `data`,
 * with the breach that the set comes from. Days without a log are left out; what can't be read is noted.
 */
void ReadLogs(const std::string& folder, ReportData& data);

/** Where in an open log of `bytes` bytes the lines from `wall` on begin, found by halving; 0 if in doubt. */
std::uint64_t FindLogOffset(int file, std::uint64_t bytes, Wall wall);

/** Name of the log of a day, "root.112126_00001.log". */
std::string GetLogName(Wall wall);

} // namespace ctl
