#include "evidence/CoreProgram.h"

#include "base/SafeFile.h"
#include "ctl/evidence/CoreHead.h"
#include "ctl/evidence/EvidenceFolder.h"
#include "evidence/CoreImage.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr std::uint64_t LOADED_AT = 0x10000;
constexpr char BUILD_ID[] = "\x0a\xbc\x01\x02";

std::string MakeNumbers(std::initializer_list<std::uint64_t> numbers)
{
    std::string bytes;
    for (const std::uint64_t number : numbers) {
        bytes += ToBytes(number);
    }
    return bytes;
}

/** A program with a build id, as it lies on disk and, in its first page, in memory. */
std::string MakeProgram(const std::string& buildId)
{
    constexpr std::uint64_t TABLE = sizeof(Elf64_Ehdr);
    constexpr std::uint64_t NOTES = TABLE + 2 * sizeof(Elf64_Phdr);
    const std::string note = MakeNote("GNU", NT_GNU_BUILD_ID, buildId);
    return ToBytes(MakeElfHead(ET_DYN, 2)) +
           ToBytes(MakeSegment(PT_PHDR, TABLE, TABLE, 2 * sizeof(Elf64_Phdr))) +
           ToBytes(MakeSegment(PT_NOTE, NOTES, NOTES, note.size())) + note;
}

/** The core image of a process that runs the program, which was mapped from `path`. */
std::string MakeCoreOf(const std::string& program, const std::string& path)
{
    const std::string auxiliary =
        MakeNumbers({AT_PHDR, LOADED_AT + sizeof(Elf64_Ehdr), AT_PHNUM, 2, AT_NULL, 0});
    const std::string mapped = MakeNumbers({1, 4096, LOADED_AT, LOADED_AT + 4096, 0}) + path + '\0';
    const std::string notes = MakeNote("CORE", NT_PRSTATUS, "x") + MakeNote("CORE", NT_PRSTATUS, "x") +
                              MakeNote("CORE", NT_AUXV, auxiliary) + MakeNote("CORE", NT_FILE, mapped);
    constexpr std::uint64_t NOTES = sizeof(Elf64_Ehdr) + 2 * sizeof(Elf64_Phdr);
    return ToBytes(MakeElfHead(ET_CORE, 2)) + ToBytes(MakeSegment(PT_NOTE, NOTES, 0, notes.size())) +
           ToBytes(MakeSegment(PT_LOAD, NOTES + notes.size(), LOADED_AT, program.size())) + notes + program;
}

/** A program on disk, a core image beside it, and both read. */
struct ProgramAndCore
{
    explicit ProgramAndCore(const std::string& buildIdOnDisk)
        : path(folder.Write("program", MakeProgram(buildIdOnDisk))),
          core(MakeCoreOf(MakeProgram(BUILD_ID), path)),
          file(open(folder.Write("core", core).c_str(), O_RDONLY | O_CLOEXEC))
    {}

    CoreReport Check() const { return CheckCoreHead(file.Get(), core.size()); }

    const EvidenceFolder folder;
    const std::string path;
    const std::string core;
    const Descriptor file;
};
} // namespace

TEST(CoreProgram, IsFoundInTheMemoryOfTheProcess)
{
    const ProgramAndCore pair(BUILD_ID);
    const ElfResult elf = ReadElfHead(pair.file.Get(), pair.core.size());
    ASSERT_EQ(elf.failure, "");
    const CoreProgram program = ReadCoreProgram(pair.file.Get(), elf.head);
    EXPECT_EQ(program.threads, 2U);
    EXPECT_EQ(program.path, pair.path);
    EXPECT_EQ(program.buildId, "0abc0102");
}

TEST(CoreProgram, OfTheBuildOnDiskIsNoMismatch)
{
    const CoreReport report = ProgramAndCore(BUILD_ID).Check();
    EXPECT_EQ(report.mismatch, "");
    EXPECT_THAT(report.notes, IsEmpty());
}

TEST(CoreProgram, OfAnotherBuildThanOnDiskIsAMismatch)
{
    const ProgramAndCore pair("\xff\xee");
    EXPECT_EQ(pair.Check().mismatch, "is of another build than " + pair.path +
                                         " here: build id 0abc0102 in the image, ffee in the file");
}

TEST(CoreProgram, ThatIsGoneOrHasNoBuildIdCannotBeCompared)
{
    const ProgramAndCore pair(BUILD_ID);
    pair.folder.Write("program", "#!/bin/sh\n");
    EXPECT_THAT(pair.Check().notes, ElementsAre(pair.path + " has no build id to compare"));
    std::filesystem::remove(pair.path);
    EXPECT_THAT(pair.Check().notes,
                ElementsAre("its program " + pair.path + ", build id 0abc0102, can't be " +
                            "compared: No such file or directory"));
}

TEST(CoreProgram, OfAnImageCutAnywhereIsNoTrap)
{
    const ProgramAndCore pair(BUILD_ID);
    for (std::size_t bytes = 0; bytes < pair.core.size(); ++bytes) {
        const std::string path = pair.folder.Write("cut", pair.core.substr(0, bytes));
        const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        const ElfResult elf = ReadElfHead(file.Get(), bytes);
        EXPECT_NE(CheckCoreHead(file.Get(), bytes).damage, "") << bytes;
        if (elf.IsRead()) {
            EXPECT_LE(ReadCoreProgram(file.Get(), elf.head).threads, 2U);
        }
    }
}
