#include "evidence/ElfFile.h"

#include "evidence/DataScan.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <elf.h>

namespace ctl
{
namespace
{
constexpr std::uint64_t MOST_SEGMENTS = 200'000;
constexpr std::size_t SEGMENTS_AT_ONCE = 4096;

/** Where the fields of a head and of a program header lie, by class. */
struct ElfLayout
{
    std::size_t headBytes;
    std::size_t word; ///< width of an address
    std::size_t segmentTable;
    std::size_t sectionTable;
    std::size_t segmentBytes; ///< field: size of a program header
    std::size_t segmentCount;
    std::size_t sectionBytes;
    std::size_t sectionCount;
    std::size_t entryBytes; ///< size of a program header
    std::size_t offset;
    std::size_t address;
    std::size_t fileBytes;
    std::size_t memoryBytes;
    std::size_t sectionInfo; ///< in a section header
    std::size_t sectionEntry;
};

constexpr ElfLayout WIDE = {
    sizeof(Elf64_Ehdr),
    8,
    offsetof(Elf64_Ehdr, e_phoff),
    offsetof(Elf64_Ehdr, e_shoff),
    offsetof(Elf64_Ehdr, e_phentsize),
    offsetof(Elf64_Ehdr, e_phnum),
    offsetof(Elf64_Ehdr, e_shentsize),
    offsetof(Elf64_Ehdr, e_shnum),
    sizeof(Elf64_Phdr),
    offsetof(Elf64_Phdr, p_offset),
    offsetof(Elf64_Phdr, p_vaddr),
    offsetof(Elf64_Phdr, p_filesz),
    offsetof(Elf64_Phdr, p_memsz),
    offsetof(Elf64_Shdr, sh_info),
    sizeof(Elf64_Shdr),
};

constexpr ElfLayout NARROW = {
    sizeof(Elf32_Ehdr),
    4,
    offsetof(Elf32_Ehdr, e_phoff),
    offsetof(Elf32_Ehdr, e_shoff),
    offsetof(Elf32_Ehdr, e_phentsize),
    offsetof(Elf32_Ehdr, e_phnum),
    offsetof(Elf32_Ehdr, e_shentsize),
    offsetof(Elf32_Ehdr, e_shnum),
    sizeof(Elf32_Phdr),
    offsetof(Elf32_Phdr, p_offset),
    offsetof(Elf32_Phdr, p_vaddr),
    offsetof(Elf32_Phdr, p_filesz),
    offsetof(Elf32_Phdr, p_memsz),
    offsetof(Elf32_Shdr, sh_info),
    sizeof(Elf32_Shdr),
};

const ElfLayout& GetLayout(const ElfHead& head)
{
    return head.isWide ? WIDE : NARROW;
}

/** The end of a stretch; the highest number if it is past all numbers. */
std::uint64_t GetEnd(std::uint64_t begin, std::uint64_t bytes)
{
    const std::uint64_t highest = std::numeric_limits<std::uint64_t>::max();
    return begin > highest - bytes ? highest : begin + bytes;
}

std::string CheckMagic(const std::string& ident)
{
    if (ident.size() >= EI_NIDENT && ident.compare(0, SELFMAG, ELFMAG) == 0) {
        return "";
    }
    const bool isZero = std::all_of(ident.begin(), ident.end(), [](char byte) { return byte == '\0'; });
    return isZero ? "begins with zero bytes: it was never finished" : "is no core image: it has no ELF head";
}

ElfSegment ParseSegment(const ElfHead& head, const std::string& data, std::size_t at)
{
    const ElfLayout& layout = GetLayout(head);
    ElfSegment segment;
    segment.type = static_cast<std::uint32_t>(GetElfNumber(head, data, at, 4));
    segment.offset = GetElfNumber(head, data, at + layout.offset, layout.word);
    segment.address = GetElfNumber(head, data, at + layout.address, layout.word);
    segment.fileBytes = GetElfNumber(head, data, at + layout.fileBytes, layout.word);
    segment.memoryBytes = GetElfNumber(head, data, at + layout.memoryBytes, layout.word);
    return segment;
}

/** The number of segments: where it is too large for its field it stands in the first section header. */
std::uint64_t CountSegments(int file, const ElfHead& head, const std::string& data)
{
    const ElfLayout& layout = GetLayout(head);
    const std::uint64_t count = GetElfNumber(head, data, layout.segmentCount, 2);
    const std::uint64_t sections = GetElfNumber(head, data, layout.sectionTable, layout.word);
    if (count != PN_XNUM || sections == 0) {
        return count;
    }
    const std::string section = ReadAt(file, sections, layout.sectionEntry);
    return GetElfNumber(head, section, layout.sectionInfo, 4);
}

void ReadSegments(int file, std::uint64_t table, std::uint64_t count, ElfHead& head)
{
    const std::size_t entry = GetLayout(head).entryBytes;
    for (std::uint64_t index = 0; index < count; index += SEGMENTS_AT_ONCE) {
        const std::size_t wanted = std::min<std::uint64_t>(SEGMENTS_AT_ONCE, count - index);
        const std::string data = ReadAt(file, table + index * entry, wanted * entry);
        for (std::size_t at = 0; at + entry <= data.size(); at += entry) {
            head.segments.push_back(ParseSegment(head, data, at));
        }
    }
    for (const ElfSegment& segment : head.segments) {
        if (segment.fileBytes != 0) {
            head.neededBytes = std::max(head.neededBytes, GetEnd(segment.offset, segment.fileBytes));
        }
    }
}

void NeedSections(const ElfHead& parsed, const std::string& data, ElfHead& head)
{
    const ElfLayout& layout = GetLayout(parsed);
    const std::uint64_t table = GetElfNumber(parsed, data, layout.sectionTable, layout.word);
    const std::uint64_t entry = GetElfNumber(parsed, data, layout.sectionBytes, 2);
    const std::uint64_t count = GetElfNumber(parsed, data, layout.sectionCount, 2);
    if (table != 0 && count != 0) {
        head.neededBytes = std::max(head.neededBytes, GetEnd(table, entry * count));
    }
}

constexpr std::uint64_t MOST_NOTES = 100'000;
constexpr std::size_t LONGEST_OWNER = 64;
constexpr std::size_t NOTE_ALIGNMENT = 4;

std::uint64_t Align(std::uint64_t value)
{
    return GetEnd(value, NOTE_ALIGNMENT - 1) / NOTE_ALIGNMENT * NOTE_ALIGNMENT;
}

/** Reads the notes of a stretch of the file. */
void ReadNotesAt(int file, const ElfHead& head, std::uint64_t offset, std::uint64_t bytes,
                 std::vector<ElfNote>& notes)
{
    const std::uint64_t end = GetEnd(offset, bytes);
    while (offset < end && notes.size() < MOST_NOTES) {
        const std::string data = ReadAt(file, offset, sizeof(Elf64_Nhdr));
        if (data.size() < sizeof(Elf64_Nhdr)) {
            return;
        }
        const std::uint64_t ownerBytes = GetElfNumber(head, data, 0, 4);
        ElfNote note;
        note.bytes = GetElfNumber(head, data, 4, 4);
        note.type = static_cast<std::uint32_t>(GetElfNumber(head, data, 8, 4));
        note.offset = offset + sizeof(Elf64_Nhdr) + Align(ownerBytes);
        note.owner =
            ReadAt(file, offset + sizeof(Elf64_Nhdr), std::min<std::size_t>(ownerBytes, LONGEST_OWNER));
        note.owner.resize(std::min(note.owner.size(), note.owner.find('\0')));
        const std::uint64_t next = GetEnd(note.offset, Align(note.bytes));
        if (GetEnd(note.offset, note.bytes) > end) {
            return;
        }
        notes.push_back(std::move(note));
        offset = next;
    }
}

std::string ToHex(const std::string& data)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const char byte : data) {
        const auto value = static_cast<unsigned char>(byte);
        text += DIGITS[value / 16];
        text += DIGITS[value % 16];
    }
    return text;
}

constexpr std::size_t LONGEST_BUILD_ID = 64;

std::optional<std::string> FindBuildId(int file, const std::vector<ElfNote>& notes)
{
    for (const ElfNote& note : notes) {
        if (note.owner == "GNU" && note.type == NT_GNU_BUILD_ID && note.bytes <= LONGEST_BUILD_ID) {
            return ToHex(ReadAt(file, note.offset, note.bytes));
        }
    }
    return std::nullopt;
}

constexpr std::size_t MOST_AUXILIARY = 64 * 1024;
constexpr std::size_t MOST_MAPPINGS = 8 * 1024 * 1024;

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
    const std::size_t word = GetLayout(head).word;
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
    const std::size_t word = GetLayout(head).word;
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
            GetEnd(address, bytes) <= GetEnd(segment.address, segment.fileBytes)) {
            return segment.offset + (address - segment.address);
        }
    }
    return std::nullopt;
}

constexpr std::uint64_t MOST_PROGRAM_SEGMENTS = 256;

/** Reads the build id of the program from the memory in the image: its own program headers lead to it. */
std::optional<std::string> ReadBuildIdInMemory(int file, const ElfHead& head, const std::string& auxiliary)
{
    const std::size_t entry = GetLayout(head).entryBytes;
    const std::uint64_t table = GetAuxiliary(head, auxiliary, AT_PHDR);
    const std::uint64_t count = GetAuxiliary(head, auxiliary, AT_PHNUM);
    const std::optional<std::uint64_t> place = FindMemory(head, table, count * entry);
    if (table == 0 || count > MOST_PROGRAM_SEGMENTS || !place) {
        return std::nullopt;
    }
    ElfHead program = head;
    program.segments.clear();
    ReadSegments(file, *place, count, program);
    std::uint64_t base = 0; // where the program was loaded, against the addresses in its own headers
    for (const ElfSegment& segment : program.segments) {
        base = segment.type == PT_PHDR ? table - segment.address : base;
    }
    std::vector<ElfNote> notes;
    for (const ElfSegment& segment : program.segments) {
        const auto at = FindMemory(head, base + segment.address, segment.fileBytes);
        if (segment.type == PT_NOTE && at) {
            ReadNotesAt(file, head, *at, segment.fileBytes, notes);
        }
    }
    return FindBuildId(file, notes);
}
} // namespace

std::uint64_t GetElfNumber(const ElfHead& head, const std::string& data, std::size_t at, std::size_t width)
{
    if (at > data.size() || width > data.size() - at) {
        return 0;
    }
    std::uint64_t number = 0;
    for (std::size_t index = 0; index < width; ++index) {
        const std::size_t place = head.isLittle ? at + width - 1 - index : at + index;
        number = number << 8U | static_cast<unsigned char>(data[place]);
    }
    return number;
}

ElfResult ReadElfHead(int file, std::uint64_t bytes)
{
    ElfResult result;
    const std::string data = ReadAt(file, 0, sizeof(Elf64_Ehdr));
    result.failure = CheckMagic(data);
    if (!result.IsRead()) {
        return result;
    }
    ElfHead& head = result.head;
    head.isWide = data[EI_CLASS] == ELFCLASS64;
    head.isLittle = data[EI_DATA] == ELFDATA2LSB;
    head.type = static_cast<std::uint16_t>(GetElfNumber(head, data, EI_NIDENT, 2));
    const ElfLayout& layout = GetLayout(head);
    const std::uint64_t table = GetElfNumber(head, data, layout.segmentTable, layout.word);
    const std::uint64_t count = CountSegments(file, head, data);
    const std::uint64_t end = GetEnd(table, count * layout.entryBytes);
    if (data.size() < layout.headBytes || end > bytes) {
        result.failure = "is cut short within its head";
    } else if (GetElfNumber(head, data, layout.segmentBytes, 2) != layout.entryBytes || count == 0) {
        result.failure = "has a damaged ELF head";
    } else if (count > MOST_SEGMENTS) {
        result.failure = "has more program headers than are looked at";
    } else {
        head.neededBytes = end;
        NeedSections(head, data, head);
        ReadSegments(file, table, count, head);
    }
    return result;
}

std::vector<ElfNote> ReadElfNotes(int file, const ElfHead& head)
{
    std::vector<ElfNote> notes;
    for (const ElfSegment& segment : head.segments) {
        if (segment.type == PT_NOTE) {
            ReadNotesAt(file, head, segment.offset, segment.fileBytes, notes);
        }
    }
    return notes;
}

std::optional<std::string> ReadBuildId(int file, std::uint64_t bytes)
{
    const ElfResult elf = ReadElfHead(file, bytes);
    return elf.IsRead() ? FindBuildId(file, ReadElfNotes(file, elf.head)) : std::nullopt;
}

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
