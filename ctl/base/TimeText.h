#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace ctl
{

/** Local time of an instant in seconds as if it were UTC, by the time zone of this process. */
std::int64_t ToWall(std::time_t instant);

/** A time in seconds since the epoch as ISO 8601 in local time with offset: 2026-11-21T20:32:01+01:00. */
std::string FormatTime(std::time_t time);

/** The same without the offset and with a blank, for people: 2026-11-21 20:32:01. */
std::string FormatLocalTime(std::time_t time);

/** A length of time for people, in its two largest units: "45 s", "12 min 5 s", "3 h 20 min", "2 d 4 h". */
std::string FormatDuration(std::chrono::seconds length);

/**
 * Reads a length of time: numbers with the units s, m or min, h, d, w, as in 30d, 1h30m, 90 (seconds).
 * Nothing for anything else, for an empty text and for what doesn't fit.
 */
std::optional<std::chrono::seconds> ParseDuration(std::string_view text);

/**
 * Reads a point in time, as people give it:
 *   2026-11-21T20:32:01+01:00, 2026-11-21T20:32:01Z
 *   2026-11-21 20:32[:01], 2026-11-21   local
 *   20:32[:01]                      today, or yesterday if that is still to come
 *   now, today, yesterday           the last two at midnight
 *   @1795293121                     seconds since the epoch
 *   30d, 2h                         so long before `now`
 * Nothing for anything else.
 */
std::optional<std::time_t> ParseTime(std::string_view text, std::time_t now);

} // namespace ctl
