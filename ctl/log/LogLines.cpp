#include "log/LogLines.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include <unistd.h>

namespace ctl
{

namespace
{

constexpr std::string_view STAMP_FORM = "dddd-dd-dd dd:dd:dd:ddd - ";
constexpr std::size_t HOUR_LENGTH = sizeof "YYYY-MM-DD HH" - 1;
constexpr std::size_t CHUNK = std::size_t{256} * 1024;
constexpr std::size_t LONGEST_TEXT = 65536;

/**
 * `known` is the begin of another line's stamp: what it has in common with this one isn't looked at again.
 */
bool HasStamp(std::string_view line, std::string_view known)
{
    if (line.size() < STAMP_FORM.size()) {
        return false;
    }
    for (std::size_t place = line.starts_with(known) ? known.size() : 0; place < STAMP_FORM.size(); ++place) {
        const bool isDigit = line[place] >= '0' && line[place] <= '9';
        if (STAMP_FORM[place] == 'd' ? !isDigit : line[place] != STAMP_FORM[place]) {
            return false;
        }
    }
    return true;
}

int GetNumber(std::string_view line, std::size_t place, std::size_t length)
{
    int number = 0;
    for (const char digit : line.substr(place, length)) {
        number = number * 10 + (digit - '0');
    }
    return number;
}

struct tm GetHour(std::string_view hour)
{
    struct tm local = {};
    local.tm_year = GetNumber(hour, 0, 4) - 1900;
    local.tm_mon = GetNumber(hour, 5, 2) - 1;
    local.tm_mday = GetNumber(hour, 8, 2);
    local.tm_hour = GetNumber(hour, 11, 2);
    local.tm_isdst = -1;
    return local;
}

ssize_t ReadAt(int descriptor, char* buffer, std::size_t size, std::uint64_t offset)
{
    ssize_t count = 0;
    do {
        count = pread(descriptor, buffer, size, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    return count;
}

/** The lines of one file, chunk by chunk; a line that doesn't fit into a chunk is cut. */
class LineWalk
{
public:
    LineWalk(int descriptor, std::uint64_t offset)
        : mDescriptor(descriptor), mOffset(offset), mBuffer(CHUNK), mLineBegin(offset)
    {}

    /** The next whole line without its end; false at the end. `begin` and `end` are its places. */
    bool Next(std::string_view& line, std::uint64_t& begin, std::uint64_t& end)
    {
        while (true) {
            const char* const start = mBuffer.data() + mUsed;
            const void* const newline = std::memchr(start, '\n', mFilled - mUsed);
            if (newline != nullptr) {
                const auto length = static_cast<std::size_t>(static_cast<const char*>(newline) - start);
                line = std::string_view(start, length);
                begin = mLineBegin;
                end = mOffset + mUsed + length + 1;
                mUsed += length + 1;
                mLineBegin = end;
                if (!mIsTail) {
                    return true;
                }
                mIsTail = false; // the rest of a line that was cut
                continue;
            }
            if (!Refill()) {
                return false;
            }
        }
    }

    std::uint64_t GetLineBegin() const { return mLineBegin; }
    int GetError() const { return mError; }

private:
    bool Refill()
    {
        if (mUsed == 0 && mFilled == mBuffer.size()) {
            mUsed = mFilled; // a line longer than the buffer is dropped up to its end
            mIsTail = true;
        }
        std::memmove(mBuffer.data(), mBuffer.data() + mUsed, mFilled - mUsed);
        mOffset += mUsed;
        mFilled -= mUsed;
        mUsed = 0;
        const ssize_t count =
            ReadAt(mDescriptor, mBuffer.data() + mFilled, mBuffer.size() - mFilled, mOffset + mFilled);
        mFilled += count > 0 ? static_cast<std::size_t>(count) : 0;
        mError = count < 0 ? errno : 0;
        return count > 0;
    }

    const int mDescriptor;
    std::uint64_t mOffset; ///< of the buffer's first byte
    std::vector<char> mBuffer;
    std::size_t mUsed = 0;
    std::size_t mFilled = 0;
    std::uint64_t mLineBegin;
    bool mIsTail = false;
    int mError = 0; ///< errno of the last reading
};

/** Time of the first stamped line that begins after an offset; nothing if the next block has none. */
std::optional<std::int64_t> GetWallAfter(int descriptor, std::uint64_t offset)
{
    std::vector<char> block(CHUNK);
    const ssize_t count = ReadAt(descriptor, block.data(), block.size(), offset);
    std::string_view text(block.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    StampReader stamps;
    LogLineRead line;
    for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        text.remove_prefix(end + 1);
        if (stamps.Read(text.substr(0, text.find('\n')), line)) {
            return line.wall;
        }
    }
    return std::nullopt;
}

} // namespace

bool StampReader::Read(std::string_view line, LogLineRead& result)
{
    if (!HasStamp(line, mHour)) {
        return false;
    }
    const std::string_view hour = line.substr(0, HOUR_LENGTH);
    if (hour != mHour) {
        mHour = hour;
        struct tm wall = GetHour(hour);
        struct tm local = wall;
        mHourWall = timegm(&wall);
        mHourTime = std::mktime(&local);
    }
    const int seconds = GetNumber(line, 14, 2) * 60 + GetNumber(line, 17, 2);
    result.wall = mHourWall + seconds;
    result.time = mHourTime + seconds;
    result.milliseconds = GetNumber(line, 20, 3);
    result.text = line.substr(STAMP_FORM.size(), LONGEST_TEXT);
    return true;
}

LogEnd ReadLogLines(int descriptor, std::uint64_t offset, StampReader& stamps,
                    const std::function<bool(const LogLineRead&)>& visit,
                    bool (*wants)(std::string_view text))
{
    LineWalk walk(descriptor, offset);
    std::string_view line;
    LogLineRead read;
    while (walk.Next(line, read.begin, read.end)) {
        const bool isWanted = wants == nullptr || (line.size() > STAMP_FORM.size() &&
                                                   wants(line.substr(STAMP_FORM.size(), LONGEST_TEXT)));
        if (isWanted && stamps.Read(line, read) && !visit(read)) {
            return {read.end, 0};
        }
    }
    return {walk.GetLineBegin(), walk.GetError()};
}

std::uint64_t FindLogOffset(int descriptor, std::uint64_t bytes, std::int64_t wall)
{
    std::uint64_t low = 0;
    std::uint64_t high = bytes;
    while (high - low > CHUNK) {
        const std::uint64_t middle = low + (high - low) / 2;
        const auto stamp = GetWallAfter(descriptor, middle);
        if (stamp && *stamp < wall) {
            low = middle;
        } else {
            high = middle; // also after a long line without a stamp: looking earlier costs time, never lines
        }
    }
    return low;
}

} // namespace ctl
