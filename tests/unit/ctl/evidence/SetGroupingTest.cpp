#include "evidence/SetGrouping.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;

namespace
{
FoundFile MakeFile(const std::string& label, FileKind kind, std::time_t time)
{
    FoundFile found;
    found.label = label;
    found.file.name = std::string(GetKindName(kind)) + "@" + std::to_string(time);
    found.file.kind = kind;
    found.file.time = time;
    found.file.bytes = 10;
    return found;
}

std::vector<EvidenceSet> Group(std::vector<FoundFile> files)
{
    SortFiles(files);
    std::vector<EvidenceSet> sets;
    for (std::size_t place = 0; place < files.size();) {
        sets.push_back(TakeSet(files, place));
    }
    return sets;
}
} // namespace

TEST(SetGrouping, PutsStampsSecondsApartIntoOneSet)
{
    const auto sets = Group({MakeFile("CPU", FileKind::Netstat, 101), MakeFile("CPU", FileKind::Core, 100),
                             MakeFile("CPU", FileKind::Mpstat, 104)});
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].resource, "cpu");
    EXPECT_EQ(sets[0].time, 100);
    EXPECT_EQ(sets[0].GetBytes(), 30U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("core@100", "Netstat@101", "DiskPerf_mpstat@104"));
}

TEST(SetGrouping, KeepsResourcesApart)
{
    const auto sets =
        Group({MakeFile("CPU", FileKind::Netstat, 100), MakeFile("Memory", FileKind::MemoryPerf, 100)});
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_EQ(sets[0].resource, "cpu");
    EXPECT_EQ(sets[1].resource, "memory");
}

TEST(SetGrouping, FindsTwoRunsOfTheDaemonInOneFolder)
{
    const auto sets =
        Group({MakeFile("CPU", FileKind::Netstat, 100), MakeFile("CPU", FileKind::Iostat, 101),
               MakeFile("CPU", FileKind::Netstat, 400), MakeFile("CPU", FileKind::Iostat, 401)});
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("Netstat@100", "DiskPerf_iostat@101"));
    EXPECT_THAT(GetFileNames(sets[1]), ElementsAre("Netstat@400", "DiskPerf_iostat@401"));
}

TEST(SetGrouping, FindsTwoRunsThatAreSecondsApart)
{
    const auto sets =
        Group({MakeFile("CPU", FileKind::Netstat, 100), MakeFile("CPU", FileKind::Netstat, 106)});
    EXPECT_EQ(sets.size(), 2U);
}

TEST(SetGrouping, BeginsANewSetAfterHalfAMinute)
{
    EXPECT_EQ(Group({MakeFile("CPU", FileKind::Netstat, 100), MakeFile("CPU", FileKind::Iostat, 130)}).size(),
              1U);
    EXPECT_EQ(Group({MakeFile("CPU", FileKind::Netstat, 100), MakeFile("CPU", FileKind::Iostat, 131)}).size(),
              2U);
}
