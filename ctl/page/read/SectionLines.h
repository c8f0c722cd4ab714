#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace ctl
{

/** Takes one line, without its end. The view lasts for the call. */
using LineTaker = std::function<void(std::string_view)>;

/** A line is cut after so many bytes; no tool prints longer ones of use. */
constexpr std::size_t LONGEST_LINE = 65536;

/**
 * Reads the bytes from `offset` to `offset + bytes` of an open file and passes them on line by line, with a
 * buffer of fixed size. Ends early, soon after `isEnough` became true, if it is given. Returns false if the
 * file could not be read to that end.
 */
bool ForEachLine(int file, std::uint64_t offset, std::uint64_t bytes, const LineTaker& take,
                 const bool* isEnough = nullptr);

} // namespace ctl
