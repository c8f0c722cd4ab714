#pragma once

#include <cstddef>
#include <string>

/**
 * Formats as printf does and cuts the result to what a zeroed buffer of `size` bytes holds, its closing NUL
 * included.
 *
 * @param size    bytes of the buffer, at least 1; the result has at most size - 1 characters
 * @param format  a printf format
 * @return the text, cut if need be. Any thread may call it.
 */
[[gnu::format(printf, 2, 3)]] std::string FormatBounded(std::size_t size, const char* format, ...);

/** Bytes of the buffers in which messages for log, console and system log are built. */
constexpr std::size_t MESSAGE_SIZE = 1024;

/** Bytes of the buffers that hold a process id as decimal text. */
constexpr std::size_t PID_TEXT_SIZE = 64;
