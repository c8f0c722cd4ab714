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

/** The head of a core image with one segment of so many bytes of memory, which follow in the file. */
inline std::string MakeCore(std::uint64_t memory)
{
    Elf64_Phdr segment = {};
    segment.p_type = PT_LOAD;
    segment.p_offset = sizeof(Elf64_Ehdr) + sizeof segment;
    segment.p_vaddr = 0x10000;
    segment.p_filesz = memory;
    segment.p_memsz = memory;
    return ToBytes(MakeElfHead(ET_CORE, 1)) + ToBytes(segment);
}
