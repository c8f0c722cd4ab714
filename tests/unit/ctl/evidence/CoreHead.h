#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <elf.h>

/** The bytes of a record as they stand in a file. */
template <typename Record>
std::string ToBytes(const Record& record)
{
    return std::string(reinterpret_cast<const char*>(&record), sizeof record);
}

/** The head of a 64-bit ELF file of a type, with so many program headers right after it. */
inline Elf64_Ehdr MakeElfHead(std::uint16_t type, std::uint16_t segments)
{
    Elf64_Ehdr head = {};
    std::memcpy(head.e_ident, ELFMAG, SELFMAG);
    head.e_ident[EI_CLASS] = ELFCLASS64;
    head.e_ident[EI_DATA] = ELFDATA2LSB;
    head.e_type = type;
    head.e_phoff = sizeof head;
    head.e_phentsize = sizeof(Elf64_Phdr);
    head.e_phnum = segments;
    return head;
}

/** A note as it stands in a file. */
inline std::string MakeNote(const std::string& owner, std::uint32_t type, std::string contents)
{
    const Elf64_Nhdr head = {static_cast<Elf64_Word>(owner.size() + 1),
                             static_cast<Elf64_Word>(contents.size()), type};
    std::string name = owner + '\0';
    name.resize((name.size() + 3) / 4 * 4);
    contents.resize((contents.size() + 3) / 4 * 4);
    return ToBytes(head) + name + contents;
}

/** A program header. */
inline Elf64_Phdr MakeSegment(std::uint32_t type, std::uint64_t offset, std::uint64_t address,
                              std::uint64_t bytes)
{
    Elf64_Phdr segment = {};
    segment.p_type = type;
    segment.p_offset = offset;
    segment.p_vaddr = address;
    segment.p_filesz = bytes;
    segment.p_memsz = bytes;
    return segment;
}

/**
 * The head of a core image of one thread, with one segment of so many bytes of memory, which follow in the
 * file.
 */
inline std::string MakeCore(std::uint64_t memory)
{
    const std::string notes = MakeNote("CORE", NT_PRSTATUS, "x");
    constexpr std::uint64_t NOTES = sizeof(Elf64_Ehdr) + 2 * sizeof(Elf64_Phdr);
    return ToBytes(MakeElfHead(ET_CORE, 2)) + ToBytes(MakeSegment(PT_NOTE, NOTES, 0, notes.size())) +
           ToBytes(MakeSegment(PT_LOAD, NOTES + notes.size(), 0x10000, memory)) + notes;
}
