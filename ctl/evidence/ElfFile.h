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

/** The width of an address in the file, in bytes. */
std::size_t GetAddressWidth(const ElfHead& head);

/** The end of a stretch; the highest number if it is past all numbers. */
std::uint64_t GetElfEnd(std::uint64_t begin, std::uint64_t bytes);

/** Reads `count` program headers from `table` on and adds them to the head. */
void ReadElfSegments(int file, std::uint64_t table, std::uint64_t count, ElfHead& head);

/** Adds the notes that lie in a stretch of the file. */
void ReadElfNotesAt(int file, const ElfHead& head, std::uint64_t offset, std::uint64_t bytes,
                    std::vector<ElfNote>& notes);

/** The size of a program header in the file. */
std::size_t GetSegmentEntryBytes(const ElfHead& head);

/** The build id among some notes, in hexadecimal digits; nothing if it isn't there. */
std::optional<std::string> FindBuildId(int file, const std::vector<ElfNote>& notes);

} // namespace ctl
