#include "evidence/CoreProgram.h"

#include "evidence/DataScan.h"

#include <algorithm>

#include <elf.h>

namespace ctl
{
namespace
{
constexpr std::size_t MOST_AUXILIARY = std::size_t{64} * 1024;
constexpr std::size_t MOST_MAPPINGS = std::size_t{8} * 1024 * 1024;

const ElfNote* FindNote(const std::vector<ElfNote>& notes, std::uint32_t type)
{
    const auto found = std::find_if(notes.begin(), notes.end(), [type](const ElfNote& note) {
        return note.owner == "CORE" && note.type == type;
    });
    return found == notes.end() ? nullptr : &*found;
}

std::string ReadNote(int file, const ElfNote* note, std::size_t limit)
{
    return note == nullptr ? "" : ReadAt(file, note->offset, std::min<std::uint64_t>(note->bytes, limit));
}

std::uint64_t GetAuxiliary(const ElfHead& head, const std::string& data, std::uint64_t wanted)
{
    const std::size_t word = GetAddressWidth(head);
    for (std::size_t at = 0; at + 2 * word <= data.size(); at += 2 * word) {
        if (GetElfNumber(head, data, at, word) == wanted) {
            return GetElfNumber(head, data, at + word, word);
        }
    }
    return 0;
}

/** The file that is mapped at an address, by the image's own table of mapped files. */
std::string FindMappedFile(const ElfHead& head, const std::string& table, std::uint64_t address)
{
    const std::size_t word = GetAddressWidth(head);
    const std::uint64_t count = GetElfNumber(head, table, 0, word);
    const std::size_t entry = 3 * word; // begin, end, page in the file
    if (count > table.size() / entry) {
        return "";
    }
    std::size_t name = 2 * word + static_cast<std::size_t>(count) * entry;
    for (std::uint64_t index = 0; index < count && name < table.size(); ++index) {
        const std::size_t at = 2 * word + static_cast<std::size_t>(index) * entry;
        const std::size_t nameEnd = std::min(table.find('\0', name), table.size());
        if (GetElfNumber(head, table, at, word) <= address &&
            address < GetElfNumber(head, table, at + word, word)) {
            return table.substr(name, nameEnd - name);
        }
        name = nameEnd + 1;
    }
    return "";
}

/** Where a stretch of the process's memory lies in the image; nothing if the image doesn't hold it. */
std::optional<std::uint64_t> FindMemory(const ElfHead& head, std::uint64_t address, std::uint64_t bytes)
{
    for (const ElfSegment& segment : head.segments) {
        if (segment.type == PT_LOAD && segment.address <= address &&
            GetElfEnd(address, bytes) <= GetElfEnd(segment.address, segment.fileBytes)) {
            return segment.offset + (address - segment.address);
        }
    }
    return std::nullopt;
}

constexpr std::uint64_t MOST_PROGRAM_SEGMENTS = 256;

/** Reads the build id of the program from the memory in the image: its own program headers lead to it. */
std::optional<std::string> ReadBuildIdInMemory(int file, const ElfHead& head, const std::string& auxiliary)
{
    const std::size_t entry = GetSegmentEntryBytes(head);
    const std::uint64_t table = GetAuxiliary(head, auxiliary, AT_PHDR);
    const std::uint64_t count = GetAuxiliary(head, auxiliary, AT_PHNUM);
    const std::optional<std::uint64_t> place = FindMemory(head, table, count * entry);
    if (table == 0 || count > MOST_PROGRAM_SEGMENTS || !place) {
        return std::nullopt;
    }
    ElfHead program = head;
    program.segments.clear();
    ReadElfSegments(file, *place, count, program);
    std::uint64_t base = 0; // where the program was loaded, against the addresses in its own headers
    for (const ElfSegment& segment : program.segments) {
        base = segment.type == PT_PHDR ? table - segment.address : base;
    }
    std::vector<ElfNote> notes;
    for (const ElfSegment& segment : program.segments) {
        const auto at = FindMemory(head, base + segment.address, segment.fileBytes);
        if (segment.type == PT_NOTE && at) {
            ReadElfNotesAt(file, head, *at, segment.fileBytes, notes);
        }
    }
    return FindBuildId(file, notes);
}
} // namespace

CoreProgram ReadCoreProgram(int file, const ElfHead& head)
{
    CoreProgram program;
    const std::vector<ElfNote> notes = ReadElfNotes(file, head);
    program.threads =
        static_cast<std::size_t>(std::count_if(notes.begin(), notes.end(), [](const ElfNote& note) {
            return note.owner == "CORE" && note.type == NT_PRSTATUS;
        }));
    const std::string auxiliary = ReadNote(file, FindNote(notes, NT_AUXV), MOST_AUXILIARY);
    const std::string mappings = ReadNote(file, FindNote(notes, NT_FILE), MOST_MAPPINGS);
    const std::uint64_t headers = GetAuxiliary(head, auxiliary, AT_PHDR);
    program.path = headers == 0 ? "" : FindMappedFile(head, mappings, headers);
    program.buildId = ReadBuildIdInMemory(file, head, auxiliary);
    return program;
}

} // namespace ctl
