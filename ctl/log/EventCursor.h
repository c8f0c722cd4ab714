#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "base/Document.h"
#include "log/LogMark.h"

namespace ctl
{

/** How far one daily log has been read. */
struct LogPlace
{
    std::uint64_t inode = 0;
    std::uint64_t offset = 0;
    std::optional<LogMark> mark; ///< nothing in cursors of old: then the inode alone says which log it is
};

/**
 * How far the logs have been read: the place in each log, since a line of yesterday may still
 * arrive when today's log has begun, and a clock that was set back lets the service go on with the log of any
 * day; and whether the last event of the service was a stop.
 */
struct EventCursor
{
    std::map<std::string, LogPlace> places; ///< by the name of the log
    bool isStopped = false;                 ///< false also if the logs don't reach back to the start
    bool isWhole = true; ///< false for cursors of old, which had the newest two places alone
};

/**
 * Reads a cursor. Nothing if there is no such file. Raises std::runtime_error for a file that can't be read
 * or is none, or is one of a later release: going on without it would repeat or lose events.
 */
std::optional<EventCursor> ReadCursor(const std::string& path);

/** The same as a part of another document. The reading raises a std::exception for what is no cursor. */
Json CursorToJson(const EventCursor& cursor);
EventCursor CursorFromJson(const Json& json);

/** Replaces the file by rename, mode 0600. Raises std::runtime_error if that fails. */
void WriteCursor(const std::string& path, const EventCursor& cursor);

} // namespace ctl
