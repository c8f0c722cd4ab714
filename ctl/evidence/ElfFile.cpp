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

void NeedSections(const ElfHead& parsed, const std::string& data, ElfHead& head)
{
    const ElfLayout& layout = GetLayout(parsed);
    const std::uint64_t table = GetElfNumber(parsed, data, layout.sectionTable, layout.word);
    const std::uint64_t entry = GetElfNumber(parsed, data, layout.sectionBytes, 2);
    const std::uint64_t count = GetElfNumber(parsed, data, layout.sectionCount, 2);
    if (table != 0 && count != 0) {
        head.neededBytes = std::max(head.neededBytes, GetElfEnd(table, entry * count));
    }
}

constexpr std::uint64_t MOST_NOTES = 100'000;
constexpr std::size_t LONGEST_OWNER = 64;
constexpr std::size_t NOTE_ALIGNMENT = 4;

std::uint64_t Align(std::uint64_t value)
{
    return GetElfEnd(value, NOTE_ALIGNMENT - 1) / NOTE_ALIGNMENT * NOTE_ALIGNMENT;
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
} // namespace

std::size_t GetAddressWidth(const ElfHead& head)
{
    return GetLayout(head).word;
}

std::size_t GetSegmentEntryBytes(const ElfHead& head)
{
    return GetLayout(head).entryBytes;
}

std::uint64_t GetElfEnd(std::uint64_t begin, std::uint64_t bytes)
{
    const std::uint64_t highest = std::numeric_limits<std::uint64_t>::max();
    return begin > highest - bytes ? highest : begin + bytes;
}

void ReadElfSegments(int file, std::uint64_t table, std::uint64_t count, ElfHead& head)
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
            head.neededBytes = std::max(head.neededBytes, GetElfEnd(segment.offset, segment.fileBytes));
        }
    }
}

void ReadElfNotesAt(int file, const ElfHead& head, std::uint64_t offset, std::uint64_t bytes,
                    std::vector<ElfNote>& notes)
{
    const std::uint64_t end = GetElfEnd(offset, bytes);
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
        const std::uint64_t next = GetElfEnd(note.offset, Align(note.bytes));
        if (GetElfEnd(note.offset, note.bytes) > end) {
            return;
        }
        notes.push_back(std::move(note));
        offset = next;
    }
}

std::optional<std::string> FindBuildId(int file, const std::vector<ElfNote>& notes)
{
    for (const ElfNote& note : notes) {
        if (note.owner == "GNU" && note.type == NT_GNU_BUILD_ID && note.bytes <= LONGEST_BUILD_ID) {
            return ToHex(ReadAt(file, note.offset, note.bytes));
        }
    }
    return std::nullopt;
}

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
    const std::uint64_t end = GetElfEnd(table, count * layout.entryBytes);
    if (data.size() < layout.headBytes || end > bytes) {
        result.failure = "is cut short within its head";
    } else if (GetElfNumber(head, data, layout.segmentBytes, 2) != layout.entryBytes || count == 0) {
        result.failure = "has a damaged ELF head";
    } else if (count > MOST_SEGMENTS) {
        result.failure = "has more program headers than are looked at";
    } else {
        head.neededBytes = end;
        NeedSections(head, data, head);
        ReadElfSegments(file, table, count, head);
    }
    return result;
}

std::vector<ElfNote> ReadElfNotes(int file, const ElfHead& head)
{
    std::vector<ElfNote> notes;
    for (const ElfSegment& segment : head.segments) {
        if (segment.type == PT_NOTE) {
            ReadElfNotesAt(file, head, segment.offset, segment.fileBytes, notes);
        }
    }
    return notes;
}

std::optional<std::string> ReadBuildId(int file, std::uint64_t bytes)
{
    const ElfResult elf = ReadElfHead(file, bytes);
    return elf.IsRead() ? FindBuildId(file, ReadElfNotes(file, elf.head)) : std::nullopt;
}

} // namespace ctl
