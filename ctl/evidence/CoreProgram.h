#pragma once

#include "evidence/ElfFile.h"

#include <optional>
#include <string>

namespace ctl
{

/** What a core image says about the program that it is of. */
struct CoreProgram
{
    std::string path;                   ///< of the program's file when the image was taken; empty if unknown
    std::optional<std::string> buildId; ///< of the program in memory; nothing if the image doesn't hold it
    std::size_t threads = 0;
};

/** Reads the notes of a core image, and the program's own from the memory in it. */
CoreProgram ReadCoreProgram(int file, const ElfHead& head);

} // namespace ctl
