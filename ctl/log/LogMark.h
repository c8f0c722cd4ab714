#pragma once

#include <cstdint>
#include <optional>

namespace ctl
{

/**
 * What a log holds, as two numbers, as far as it was read: by them a copy of it is known, and so is another
 * file in its place. Each line has a time of its own, so that few bytes are enough.
 */
struct LogMark
{
    std::uint64_t begin = 0; ///< of the first 64 bytes, which hold a stamp, or of fewer where less was read
    std::uint64_t end = 0;   ///< of the 1024 bytes before the place up to which it was read, or of fewer

    bool operator==(const LogMark&) const = default;
};

/**
 * The mark of an open log that was read up to `offset`. Nothing if so much of it can't be read: then errno
 * says why, and is 0 for a log that is shorter.
 */
std::optional<LogMark> ComputeMark(int descriptor, std::uint64_t offset);

/**
 * True if an open log of `size` bytes, which are fewer than `offset`, may be the begin of the one that was
 * read up to there: a copy that isn't whole yet.
 */
bool MayBecome(const LogMark& mark, std::uint64_t offset, int descriptor, std::uint64_t size);

} // namespace ctl
