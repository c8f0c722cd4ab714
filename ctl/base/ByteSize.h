#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ctl
{

/**
 * Reads a number of bytes: 4096, 20G, 1.5T, 512KiB; the units K, M, G, T, P are powers of 1024, in any case,
 * with or without "B" or "iB". Nothing for anything else and for what doesn't fit 63 bits.
 */
std::optional<std::uint64_t> ParseByteSize(std::string_view text);

/** A number of bytes for people: "0 B", "512 B", "1.5 KiB", "20 GiB". */
std::string FormatByteSize(std::uint64_t bytes);

} // namespace ctl
