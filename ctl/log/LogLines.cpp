#include "log/LogLines.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
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

bool HasStamp(std::string_view line)
{
    if (line.size() < STAMP_FORM.size()) {
        return false;
    }
    for (std::size_t place = 0; place < STAMP_FORM.size(); ++place) {
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

std::time_t GetHourTime(std::string_view hour)
{
    struct tm local = {};
    local.tm_year = GetNumber(hour, 0, 4) - 1900;
    local.tm_mon = GetNumber(hour, 5, 2) - 1;
    local.tm_mday = GetNumber(hour, 8, 2);
    local.tm_hour = GetNumber(hour, 11, 2);
    local.tm_isdst = -1;
    return std::mktime(&local);
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
    LineWalk(int descriptor, std::uint64_t offset) : mDescriptor(descriptor), mOffset(offset), mBuffer(CHUNK)
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
    void Begin(std::uint64_t offset) { mLineBegin = offset; }

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
        return count > 0;
    }

    const int mDescriptor;
    std::uint64_t mOffset; ///< of the buffer's first byte
    std::vector<char> mBuffer;
    std::size_t mUsed = 0;
    std::size_t mFilled = 0;
    std::uint64_t mLineBegin = 0;
    bool mIsTail = false;
};

} // namespace

bool StampReader::Read(std::string_view line, LogLineRead& result)
{
    if (!HasStamp(line)) {
        return false;
    }
    const std::string_view hour = line.substr(0, HOUR_LENGTH);
    if (hour != mHour) {
        mHour = hour;
        mHourTime = GetHourTime(hour);
    }
    result.time = mHourTime + GetNumber(line, 14, 2) * 60 + GetNumber(line, 17, 2);
    result.milliseconds = GetNumber(line, 20, 3);
    result.text = line.substr(STAMP_FORM.size(), LONGEST_TEXT);
    return true;
}

std::uint64_t ReadLogLines(int descriptor, std::uint64_t offset, StampReader& stamps,
                           const std::function<bool(const LogLineRead&)>& visit)
{
    LineWalk walk(descriptor, offset);
    walk.Begin(offset);
    std::string_view line;
    LogLineRead read;
    while (walk.Next(line, read.begin, read.end)) {
        if (stamps.Read(line, read) && !visit(read)) {
            return read.end;
        }
    }
    return walk.GetLineBegin();
}

} // namespace ctl
