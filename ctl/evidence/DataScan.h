#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ctl
{

/** How the reading of a file went. */
struct DataScan
{
    std::uint64_t bytesRead = 0; ///< holes aren't read
    std::string failure;         ///< what the reading ended with, before the end; empty on success
};

/** Takes a stretch of a file. `offset` is where it lies; stretches come in order. */
using BlockTaker = std::function<void(std::uint64_t offset, std::string_view block)>;

/**
 * Reads the data of an open file from its beginning to `bytes`, a quarter of a megabyte at a time, and leaves
 * out the holes of a sparse file.
 *
 * A file that shrank meanwhile ends the reading with a failure. The position of the descriptor moves.
 */
DataScan ReadData(int file, std::uint64_t bytes, const BlockTaker& take);

/**
 * Reads `size` bytes at `offset` and returns them; fewer where the file ends or can't be read. Callers bound
 * `size` themselves.
 */
std::string ReadAt(int file, std::uint64_t offset, std::size_t size);

/** Takes one line without its line end. A line is cut at 64 KiB; the rest of it is passed over. */
using LineTaker = std::function<void(std::string_view line)>;

/** Reads the lines of a stretch of an open file; holes are passed over as if they weren't there. */
DataScan ReadLines(int file, std::uint64_t offset, std::uint64_t bytes, const LineTaker& take);

} // namespace ctl
