#pragma once

#include <string_view>

namespace ctl
{

struct LogEvent;

/**
 * Matches a text against a format of the daemon's, whose line end is left out, and fills the event from it.
 * `places` has one letter for each conversion of the format:
 *
 *     L  label of a resource, "CPU" or "Memory"     N  process or log target
 *     P  process id                                 T  limit
 *     U  unit, "Percent" or "MB"                    R  reading
 *     C  number of a set, of a reading, or a level  A  average
 *     S  title of the service                       Q  "NAME (PID : 42)", as captures name a process
 *     D  free text                                  _  of no interest
 *
 * Names may hold anything, so a name ends where all that follows fits. Returns false, with parts of the event
 * perhaps filled, if the text as a whole doesn't match.
 */
bool MatchText(std::string_view text, std::string_view format, std::string_view places, LogEvent& event);

} // namespace ctl
