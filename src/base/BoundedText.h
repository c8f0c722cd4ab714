#pragma once

#include <cstddef>
#include <string>

/**
 * Formats like printf, and cuts the result to a buffer of `size` bytes with its closing NUL.
 *
 * @param size    bytes of the buffer, at least 1; the result has at most size - 1 characters
 * @param format  a printf format
 * @return the text up to its first NUL. Any thread.
 */
[[gnu::format(printf, 2, 3)]] std::string FormatBounded(std::size_t size, const char* format, ...);

/** Bytes of the buffers in which messages for log, console and system log are built. */
constexpr std::size_t MESSAGE_SIZE = 1024;
