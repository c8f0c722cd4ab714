#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ctl
{

/** What a look at a core image found. */
struct CoreReport
{
    std::string damage;             ///< why it isn't whole; empty for a whole one
    std::vector<std::string> notes; ///< what doesn't make it incomplete
    std::string mismatch;           ///< the program on this host isn't the one in the image; empty if it is
};

/**
 * Checks the head of an open core image against the size of the file, and the program in it against the
 * file of that program on this host. Reads heads and notes alone.
 */
CoreReport CheckCoreHead(int file, std::uint64_t bytes);

} // namespace ctl
