#include "evidence/CoreImage.h"

#include "ctl/evidence/CoreHead.h"
#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::HasSubstr;

namespace
{
CoreReport Check(const std::string& text, std::uint64_t bytes)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("core", text);
    std::filesystem::resize_file(path, bytes);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    CoreReport report = CheckCoreHead(file, bytes);
    close(file);
    return report;
}
} // namespace

TEST(CoreImage, IsWholeWithAllItsSegments)
{
    const std::string head = MakeCore(1000);
    EXPECT_EQ(Check(head, head.size() + 1000).damage, "");
}

TEST(CoreImage, IsCutShortWithLess)
{
    const std::string head = MakeCore(1000);
    EXPECT_EQ(Check(head, head.size() + 999).damage,
              "is cut short: its head needs " + std::to_string(head.size() + 1000) + " bytes, the file has " +
                  std::to_string(head.size() + 999));
}

TEST(CoreImage, OfTerabytesIsReadByItsHead)
{
    const std::string head = MakeCore(1ULL << 42U);
    EXPECT_EQ(Check(head, head.size() + (1ULL << 42U)).damage, "");
}

TEST(CoreImage, WithoutAThreadInItsNotesIsDamaged)
{
    std::string lost = MakeCore(8192); // as a power loss leaves it: the first page only has reached the disk
    lost.resize(sizeof(Elf64_Ehdr) + 2 * sizeof(Elf64_Phdr));
    const std::uint64_t bytes = MakeCore(8192).size() + 8192;
    EXPECT_EQ(Check(lost, bytes).damage, "holds no thread in its notes, so no debugger reads it");
    EXPECT_EQ(Check(MakeCore(8192), bytes).damage, "");
}

TEST(CoreImage, ThatWasNeverFinishedBeginsWithZeros)
{
    EXPECT_EQ(Check("", 5000).damage, "begins with zero bytes: it was never finished");
}

TEST(CoreImage, OfAnythingElseIsNone)
{
    EXPECT_EQ(Check("#!/bin/sh\n# a script\n", 21).damage, "is no core image: it has no ELF head");
    std::string program = MakeCore(0);
    program[EI_NIDENT] = ET_EXEC;
    EXPECT_EQ(Check(program, program.size()).damage, "is no core image but another kind of ELF file");
}

TEST(CoreImage, WithAHostileHeadIsDamaged)
{
    Elf64_Ehdr head = MakeElfHead(ET_CORE, PN_XNUM);
    head.e_phoff = ~0ULL;
    head.e_shoff = ~0ULL;
    EXPECT_EQ(Check(ToBytes(head), sizeof head).damage, "is cut short within its head");
    EXPECT_EQ(Check(MakeCore(10).substr(0, 40), 40).damage, "is cut short within its head");
    std::string none = MakeCore(0);
    none[offsetof(Elf64_Ehdr, e_phnum)] = 0;
    EXPECT_EQ(Check(none, none.size()).damage, "has a damaged ELF head");
    EXPECT_THAT(Check(MakeCore(~0ULL), 5000).damage, HasSubstr("is cut short: its head needs"));
}
