#include "evidence/SetLoader.h"

#include "ctl/evidence/EvidenceFolder.h"
#include "evidence/SetChange.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;

TEST(SetLoader, FindsTheFilesOfSetsInAnyOrder)
{
    const EvidenceFolder folder;
    const std::string first = "tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.";
    folder.Write(first + "Netstat", "x");
    folder.Write(first + "hprof", "xy");
    folder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_Memory.Netstat", "x");
    folder.Write("tbrd/4321/Evidence1/4321_13-11_02.20.28_CPU.Netstat", "x");
    folder.Write("tbrd/4321/Evidence2/4321_13-11_09.10.28_CPU.Netstat", "x");
    folder.Write("tbrd/4321/Evidence2/4321_13-11_09.10.29_CPU.ThreadDump", "late");
    folder.Write("tbrd/4321/Evidence2/.4321_13-11_09.10.28_CPU.pinned", "");
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    ASSERT_EQ(tree.sets.size(), 4U);
    SetLoader loader(tree);
    const EvidenceSet last = loader.Load(3);
    EXPECT_THAT(GetFileNames(last), ElementsAre("4321_13-11_09.10.28_CPU.Netstat"));
    EXPECT_TRUE(last.isPinned);
    EXPECT_THAT(GetFileNames(loader.Load(2)), ElementsAre("4321_13-11_02.20.28_CPU.Netstat"));
    const EvidenceSet cpu = loader.Load(0);
    EXPECT_THAT(GetFileNames(cpu),
                ElementsAre("4321_13-11_02.10.28_CPU.Netstat", "4321_13-11_02.10.28_CPU.hprof",
                            "../Evidence2/4321_13-11_09.10.29_CPU.ThreadDump"));
    EXPECT_EQ(cpu.sums.count, 3U);
    EXPECT_EQ(cpu.GetBytes(), 7U);
    EXPECT_EQ(cpu.sums, tree.sets[0].sums);
    EXPECT_FALSE(cpu.isPinned);
    EXPECT_THAT(GetFileNames(loader.Load(1)), ElementsAre("4321_13-11_02.10.28_Memory.Netstat"));
}

TEST(SetLoader, FindsThreadDumpsAloneWithTheirMarks)
{
    const EvidenceFolder folder;
    folder.Write("tbrd/4321/Evidence2/4321_13-11_09.10.29_CPU.ThreadDump", "x");
    folder.Write("tbrd/4321/Evidence2/.4321_13-11_09.10.29_CPU.pinned", "");
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("4321_13-11_09.10.29_CPU.ThreadDump"));
    EXPECT_TRUE(sets[0].isPinned);
    EXPECT_TRUE(tree.sets[0].isPinned);
}

TEST(SetLoader, FindsFilesWithStampsOfNoDay)
{
    const EvidenceFolder folder;
    EvidenceFolder::SetTime(folder.Write("tbrd/4321/Evidence2/4321_31-02_09.10.29_CPU.Netstat", "x"),
                            MakeTime(2026, 11, 13, 3, 0, 0));
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_THAT(GetFileNames(sets[0]), ElementsAre("4321_31-02_09.10.29_CPU.Netstat"));
}

TEST(SetLoader, FindsNoFilesWhereSeveralSetsAnswerOneDescription)
{
    const EvidenceFolder folder; // names that the daemon never gives: of other process ids than the folder's
    for (const char* const name : {"7", "8", "9"}) {
        folder.Write("tbrd/7/Evidence1/" + std::string(name) + "_13-11_02.10.28_CPU.Netstat", "x");
    }
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    for (std::size_t place = 0; place < tree.sets.size(); ++place) {
        EXPECT_TRUE(LoadSet(tree, place).files.empty());
        EXPECT_NE(DeleteFoundSet(tree, place, Activity("/absent", std::time(nullptr))).failure, "");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.GetRoot() / "tbrd/7/Evidence1"), {}),
              3);
}

TEST(SetLoader, FindsASetAcrossTheTurnOfTheYear)
{
    const EvidenceFolder folder;
    const std::time_t after = MakeTime(2026, 1, 1, 3, 0, 0);
    EvidenceFolder::SetTime(folder.Write("tbrd/7/Evidence1/7_31-12_23.59.55_CPU.Netstat", "x"), after);
    EvidenceFolder::SetTime(folder.Write("tbrd/7/Evidence1/7_01-01_00.00.05_CPU.ProcessData", "x"), after);
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].files.size(), 2U);
}

TEST(SetLoader, ShowsAFileThatCameLater)
{
    const EvidenceFolder folder;
    folder.Write("tbrd/7/Evidence1/7_13-11_02.10.28_CPU.Netstat", "x");
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    folder.Write("tbrd/7/Evidence1/7_13-11_02.10.30_CPU.ProcessData", "x");
    EXPECT_EQ(LoadSet(tree, 0).files.size(), 2U);
}

TEST(SetLoader, GivesASetThatIsGoneWithoutFiles)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    std::filesystem::remove_all(folder.GetRoot() / "tbrd/4321");
    const EvidenceSet gone = LoadSet(tree, 0);
    EXPECT_EQ(gone.GetId(), tree.sets[0].GetId());
    EXPECT_FALSE(gone.HasFiles());
    EXPECT_EQ(gone.GetBytes(), 0U);
}

TEST(SetLoader, HoldsNoMoreThanItNeedsOfOneProcessIdWithManySets)
{
    const EvidenceFolder folder;
    const std::time_t begin = MakeTime(2026, 11, 13, 3, 0, 0);
    constexpr int MANY = 9000;
    for (int set = 0; set < MANY; ++set) { // each start of the daemon writes into the same two folders
        const std::time_t time = begin + set * 60;
        std::tm local = {};
        localtime_r(&time, &local);
        char stamp[32];
        ASSERT_NE(std::strftime(stamp, sizeof stamp, "%d-%m_%H.%M.%S", &local), 0U);
        EvidenceFolder::SetTime(
            folder.Write("tbrd/7/Evidence" + std::to_string(set % 2 + 1) + "/7_" + stamp + "_CPU.Netstat",
                         ""),
            time);
    }
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    ASSERT_EQ(tree.sets.size(), static_cast<std::size_t>(MANY));
    SetLoader loader(tree);
    std::size_t most = 0;
    for (std::size_t place = 0; place < tree.sets.size(); ++place) {
        ASSERT_EQ(loader.Load(place).files.size(), 1U) << place;
        most = std::max(most, loader.CountHeld());
    }
    EXPECT_LE(most, SetLoader::MOST_HELD);
    EXPECT_LE(loader.CountReads(), 6U) << "a folder is read once for thousands of sets";
    EXPECT_EQ(loader.Load(0).files.size(), 1U) << "what was let go is read again";
}
