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
    std::time_t time = 0; ///< in seconds since the epoch
    int milliseconds = 0;
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
    /** Reads the stamp at the start of a line; false if there is none. Sets time, milliseconds and text. */
    bool Read(std::string_view line, LogLineRead& result);

private:
    std::string mHour; ///< "YYYY-MM-DD HH" of the last stamp
    std::time_t mHourTime = 0;
};

/**
 * Reads the stamped lines of an open log from `offset` on, in order, and calls `visit` for each until it
 * returns false. Lines without a stamp, as tool output has them, are passed over. A last line without its end
 * is not visited: it is being written. Returns where the reading stopped: after the last whole line.
 */
std::uint64_t ReadLogLines(int descriptor, std::uint64_t offset, StampReader& stamps,
                           const std::function<bool(const LogLineRead&)>& visit);

} // namespace ctl
