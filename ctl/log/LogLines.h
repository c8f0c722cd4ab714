#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>

namespace ctl
{

/** A line of a daily log that begins with a time stamp. */
struct LogLineRead
{
    std::int64_t wall = 0;   ///< local time as the line shows it, in seconds as if it were UTC
    std::time_t time = 0;    ///< in seconds since the epoch, by the time zone of this process
    int milliseconds = 0;    ///< may belong to the neighbouring second
    std::string_view text;   ///< after the stamp, without the line end; cut at 64 KiB
    std::uint64_t begin = 0; ///< where the line begins in its file
    std::uint64_t end = 0;   ///< where the next one does
};

/**
 * Reads time stamps. The breaking down of local time is done once an hour of the log, not once a line. One
 * thread.
 */
class StampReader
{
public:
    /** Reads the stamp at the start of a line; false if there is none. Sets times and text. */
    bool Read(std::string_view line, LogLineRead& result);

private:
    std::string mHour; ///< "YYYY-MM-DD HH" of the last stamp
    std::int64_t mHourWall = 0;
    std::time_t mHourTime = 0;
};

/** How far a log was read. */
struct LogEnd
{
    std::uint64_t offset = 0; ///< after the last line that was visited or passed over
    int error = 0;            ///< errno of the reading that failed; 0 if none did
};

/**
 * Reads the stamped lines of an open log from `offset` on, in order, and calls `visit` for each until it
 * returns false. Lines without a stamp, as tool output has them, are passed over. A last line without its end
 * is not visited: it is being written. `wants`, if given, is asked for the text of each line first; a line
 * that it doesn't want is passed over before its stamp is read, as most of a long log are.
 */
LogEnd ReadLogLines(int descriptor, std::uint64_t offset, StampReader& stamps,
                    const std::function<bool(const LogLineRead&)>& visit,
                    bool (*wants)(std::string_view text) = nullptr);

/**
 * Where in an open log of `bytes` bytes the lines from `wall` on begin, found by halving: the place of some
 * line before them, and 0 if in doubt.
 */
std::uint64_t FindLogOffset(int descriptor, std::uint64_t bytes, std::int64_t wall);

} // namespace ctl
