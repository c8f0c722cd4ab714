#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace ctl
{

/** How far one daily log has been read. */
struct LogPlace
{
    std::uint64_t inode = 0;
    std::uint64_t offset = 0;
};

/**
 * How far the logs have been read: the places in the newest two, since a line of yesterday may still arrive
 * when today's log has begun, and whether the last event of the service was a stop.
 */
struct EventCursor
{
    std::map<std::string, LogPlace> places; ///< by the name of the log
    bool isStopped = false;                 ///< false also if the logs don't reach back to the start
};

/**
 * Reads a cursor. Nothing if there is no such file. Raises std::runtime_error for a file that can't be read
 * or is none: going on without it would repeat or lose events.
 */
std::optional<EventCursor> ReadCursor(const std::string& path);

/** Replaces the file by rename, mode 0600. Raises std::runtime_error if that fails. */
void WriteCursor(const std::string& path, const EventCursor& cursor);

} // namespace ctl
