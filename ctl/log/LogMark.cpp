#include "log/LogMark.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <unistd.h>

namespace ctl
{

namespace
{

constexpr std::uint64_t BEGIN = 64;
constexpr std::uint64_t END = 1024;

/**
 * The FNV-1a sum of the bytes. Intentional: no secure one, as whoever writes the logs may write what he
 * likes.
 */
std::uint64_t Sum(std::string_view bytes)
{
    std::uint64_t sum = 14695981039346656037U;
    for (const char byte : bytes) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    return sum;
}

std::optional<std::uint64_t> SumAt(int descriptor, std::uint64_t offset, std::uint64_t length)
{
    char bytes[END];
    ssize_t count = 0;
    errno = 0;
    do {
        count = pread(descriptor, bytes, length, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    const bool isWhole = count >= 0 && static_cast<std::uint64_t>(count) == length;
    return isWhole ? std::optional(Sum({bytes, length})) : std::nullopt;
}

} // namespace

std::optional<LogMark> ComputeMark(int descriptor, std::uint64_t offset)
{
    const auto begin = SumAt(descriptor, 0, std::min(offset, BEGIN));
    const std::uint64_t length = std::min(offset, END);
    const auto end = begin ? SumAt(descriptor, offset - length, length) : std::nullopt;
    return end ? std::optional(LogMark{*begin, *end}) : std::nullopt;
}

bool MayBecome(const LogMark& mark, std::uint64_t offset, int descriptor, std::uint64_t size)
{
    const std::uint64_t length = std::min(offset, BEGIN);
    return size < length || SumAt(descriptor, 0, length) == mark.begin;
}

} // namespace ctl
