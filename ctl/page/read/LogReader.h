#pragma once

#include "page/read/ReportData.h"

#include <string>

namespace ctl
{

/** How many seconds of the log belong to a set: the readings before it, the captures after it. */
constexpr Wall LOG_BEFORE = 21600;
constexpr Wall LOG_AFTER = 7200;

/**
 * Reads the daily logs in `folder`, or those of this host for an empty one, around the time of the set and
 * adds the events of its process to `data`, with the breach that the set comes from. Days without a log are
 * left out; what can't be read is noted.
 */
void ReadLogs(const std::string& folder, ReportData& data);

} // namespace ctl
