#include "evidence/SetGrouping.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;

namespace
{
FoundFile MakeFile(int number, const std::string& label, FileKind kind, std::time_t time)
{
    FoundFile found;
    found.number = number;
    found.label = label;
    found.file.name = std::string(GetKindName(kind)) + "@" + std::to_string(time);
    found.file.kind = kind;
    found.file.time = time;
    return found;
}
} // namespace

TEST(SetGrouping, PutsStampsSecondsApartIntoOneSet)
{
    const auto sets =
        GroupFiles("tbrd", 7,
                   {MakeFile(1, "CPU", FileKind::Netstat, 101), MakeFile(1, "CPU", FileKind::Core, 100),
                    MakeFile(1, "CPU", FileKind::Mpstat, 104)});
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].process, "tbrd");
    EXPECT_EQ(sets[0].pid, 7);
    EXPECT_EQ(sets[0].resource, "cpu");
    EXPECT_EQ(sets[0].number, 1);
    EXPECT_EQ(sets[0].time, 100);
    EXPECT_EQ(sets[0].folder, "tbrd/7/Evidence1");
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("core@100", "Netstat@101", "DiskPerf_mpstat@104"));
}

TEST(SetGrouping, KeepsResourcesApart)
{
    const auto sets = GroupFiles(
        "tbrd", 7,
        {MakeFile(1, "CPU", FileKind::Netstat, 100), MakeFile(1, "Memory", FileKind::MemoryPerf, 100)});
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_EQ(sets[0].resource, "cpu");
    EXPECT_EQ(sets[1].resource, "memory");
}

TEST(SetGrouping, FindsTwoRunsOfTheDaemonInOneFolder)
{
    const auto sets =
        GroupFiles("tbrd", 7,
                   {MakeFile(1, "CPU", FileKind::Netstat, 100), MakeFile(1, "CPU", FileKind::Iostat, 101),
                    MakeFile(1, "CPU", FileKind::Netstat, 400), MakeFile(1, "CPU", FileKind::Iostat, 401)});
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("Netstat@100", "DiskPerf_iostat@101"));
    EXPECT_THAT(GetFileNames(sets[1]), ElementsAre("Netstat@400", "DiskPerf_iostat@401"));
}

TEST(SetGrouping, FindsTwoRunsThatAreSecondsApart)
{
    const auto sets = GroupFiles(
        "tbrd", 7, {MakeFile(1, "CPU", FileKind::Netstat, 100), MakeFile(1, "CPU", FileKind::Netstat, 106)});
    EXPECT_EQ(sets.size(), 2U);
}

TEST(SetGrouping, TakesALateThreadDumpToItsHeapDump)
{
    const auto sets = GroupFiles(
        "adminconsole", 7,
        {MakeFile(1, "Memory", FileKind::HeapDump, 100), MakeFile(1, "Memory", FileKind::Netstat, 100),
         MakeFile(1, "Memory", FileKind::ThreadDump, 900)});
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("Netstat@100", "hprof@100", "ThreadDump@900"));
}

TEST(SetGrouping, TakesAThreadDumpHomeFromTheFolderOfTheNextSet)
{
    const auto sets = GroupFiles(
        "adminconsole", 7,
        {MakeFile(1, "Memory", FileKind::HeapDump, 100), MakeFile(2, "Memory", FileKind::HeapDump, 700),
         MakeFile(2, "Memory", FileKind::ThreadDump, 650),
         MakeFile(2, "Memory", FileKind::ThreadDump, 1200)});
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("hprof@100", "../Evidence2/ThreadDump@650"));
    EXPECT_THAT(GetFileNames(sets[1]), ElementsAre("hprof@700", "ThreadDump@1200"));
}

TEST(SetGrouping, LeavesAThreadDumpAloneThatNoSetIsBefore)
{
    const auto sets = GroupFiles("adminconsole", 7, {MakeFile(1, "Memory", FileKind::ThreadDump, 650)});
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("ThreadDump@650"));
}
