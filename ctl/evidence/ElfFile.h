#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

/** A program header, in the widths of either class. */
struct ElfSegment
{
    std::uint32_t type = 0;
    std::uint64_t offset = 0; ///< in the file
    std::uint64_t address = 0;
    std::uint64_t fileBytes = 0;
    std::uint64_t memoryBytes = 0;
};

/** The head of an ELF file: what says how long the file must be and where its notes lie. */
struct ElfHead
{
    bool isWide = false;   ///< 64 bits
    bool isLittle = false; ///< the order of bytes
    std::uint16_t type = 0;
    std::uint64_t neededBytes = 0; ///< the end of the last segment, table of segments and table of sections
    std::vector<ElfSegment> segments;
};

/** An ELF head, or what is wrong with it. */
struct ElfResult
{
    ElfHead head;
    std::string failure; ///< "begins with zero bytes"; empty on success

    bool IsRead() const { return failure.empty(); }
};

/**
 * Reads the head of an open file of `bytes` bytes, in bounded memory: no number of the file is believed
 * before it was compared with the size of the file. A segment may reach past the end: neededBytes says so.
 */
ElfResult ReadElfHead(int file, std::uint64_t bytes);

/** A note of a PT_NOTE segment: where its contents lie in the file. */
struct ElfNote
{
    std::string owner; ///< "CORE", "GNU"
    std::uint32_t type = 0;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
};

/** Returns the notes that the segments of type PT_NOTE hold, 100,000 at most. */
std::vector<ElfNote> ReadElfNotes(int file, const ElfHead& head);

/** A number of 1 to 8 bytes in the file's order of bytes; 0 past the end of the text. */
std::uint64_t GetElfNumber(const ElfHead& head, const std::string& data, std::size_t at, std::size_t width);

/** Returns the build id of a program or library, in hexadecimal digits; nothing if it has none. */
std::optional<std::string> ReadBuildId(int file, std::uint64_t bytes);

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
