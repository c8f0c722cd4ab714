#pragma once

#include "page/parse/Stacks.h"

#include <cstdint>
#include <string>

namespace ctl
{

/** The threads of a core image, or why they can't be shown. */
struct CoreStacks
{
    StackReport mReport;
    std::string mFailure; ///< a sentence; empty on success
};

/**
 * Has gdb list the stacks of an open core image, if gdb and the very program of the image are on this host.
 * gdb runs without a shell, without its start files and without scripts from the program, and is ended after
 * 20 seconds.
 */
CoreStacks ReadCoreStacks(int core, std::uint64_t bytes);

} // namespace ctl
