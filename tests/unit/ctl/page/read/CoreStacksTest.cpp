#include "page/read/CoreStacks.h"

#include "ctl/evidence/CoreHead.h"
#include "ctl/evidence/EvidenceFolder.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace ctl
{
namespace
{

constexpr char NO_PROGRAM[] =
    "The program that the core is of is not on this host, so its threads can't be shown.";

std::string GetFailure(const std::string& bytes, std::uint64_t size)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("core", bytes);
    std::filesystem::resize_file(path, size);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const CoreStacks stacks = ReadCoreStacks(file, size);
    close(file);
    EXPECT_EQ(stacks.mReport.mThreadCount, 0U);
    return stacks.mFailure;
}

TEST(CoreStacks, OfWhatIsNoCoreAreNotAskedFor)
{
    EXPECT_EQ(GetFailure("", 0), NO_PROGRAM);
    EXPECT_EQ(GetFailure("", 1 << 20), NO_PROGRAM) << "zeros";
    EXPECT_EQ(GetFailure("#!/bin/sh\nrm -rf /\n", 19), NO_PROGRAM);
    std::string program = MakeCore(0);
    program[EI_NIDENT] = ET_EXEC;
    EXPECT_EQ(GetFailure(program, program.size()), NO_PROGRAM);
}

TEST(CoreStacks, OfACoreThatNamesNoProgramAreNotAskedFor)
{
    const std::string core = MakeCore(1000);
    EXPECT_EQ(GetFailure(core, core.size() + 1000), NO_PROGRAM);
    EXPECT_EQ(GetFailure(core.substr(0, 70), 70), NO_PROGRAM) << "cut short";
    EXPECT_EQ(GetFailure(MakeCore(~0ULL), 5000), NO_PROGRAM) << "a segment past all numbers";
}

} // namespace
} // namespace ctl
