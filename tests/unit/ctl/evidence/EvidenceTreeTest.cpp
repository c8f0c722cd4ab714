#include "evidence/EvidenceTree.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

using namespace ctl;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(EvidenceTree, IsFoundFromTheFolderOfTheKeyAndFromTheRoot)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    for (const std::string& given : {folder.GetPath(), folder.GetRoot().string(), folder.GetPath() + "/"}) {
        const auto [tree, sets] = FindSets(given);
        EXPECT_EQ(tree.failure, "");
        EXPECT_EQ(tree.root, folder.GetRoot().string());
        ASSERT_EQ(sets.size(), 1U) << given;
        EXPECT_EQ(tree.GetPath(sets[0]), (folder.GetRoot() / "tbrd/4321/Evidence1").string());
        EXPECT_EQ(sets[0].files.size(), 5U);
        EXPECT_THAT(tree.strangers, IsEmpty());
        EXPECT_THAT(tree.unseen, IsEmpty());
    }
}

TEST(EvidenceTree, TakesAWatchedProcessNamedLikeTheRootForAProcess)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "thsentinel", 77, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindSets(folder.GetRoot());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].process, "thsentinel");
}

TEST(EvidenceTree, OfAFolderThatIsMissingSaysSo)
{
    const EvidenceFolder folder;
    const auto [tree, sets] = FindSets(folder.GetPath() + "/absent");
    EXPECT_EQ(tree.failure, folder.GetPath() + "/absent: No such file or directory");
    EXPECT_THAT(sets, IsEmpty());
}

TEST(EvidenceTree, LeavesAloneWhatIsNotTheDaemons)
{
    const EvidenceFolder folder;
    folder.Write("tbrd/4321/evidence.lock", "");
    folder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.Netstat", "x");
    folder.Write("tbrd/4321/Evidence1/notes.txt", "x");
    folder.Write("tbrd/4321/Evidence1.tar", "x");
    folder.Write("tbrd/latest/file", "x");
    folder.Write("readme", "x");
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].files.size(), 1U);
    EXPECT_THAT(tree.strangers,
                ElementsAre("readme: is a file", "tbrd/4321/Evidence1/notes.txt: is not the daemon's",
                            "tbrd/4321/Evidence1.tar: is not the daemon's",
                            "tbrd/latest: has no process id as its name"));
}

TEST(EvidenceTree, FollowsNoLinkBelowTheRoot)
{
    const EvidenceFolder folder;
    const EvidenceFolder elsewhere;
    WriteStatistics(elsewhere, "tbrd", 1, 1, "13-11_02.10.28");
    std::filesystem::create_directory_symlink(elsewhere.GetRoot() / "tbrd", folder.GetRoot() / "linked");
    folder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.Netstat", "x");
    std::filesystem::create_symlink(
        "/etc/passwd", folder.GetRoot() / "tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.ProcessData");
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_THAT(tree.strangers, ElementsAre("linked: is a symbolic link, not followed"));
    const EvidenceFile* const file = sets[0].Find(FileKind::ProcessData);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->obstacle, "is a symbolic link");
    const OpenedFile setFolder = OpenSetFolder(tree, sets[0]);
    ASSERT_TRUE(setFolder.IsOpen());
    EXPECT_FALSE(OpenEvidenceFile(setFolder.file.Get(), *file).IsOpen());
}

TEST(EvidenceTree, ShowsEachFolderAndNameThatItLooksAt)
{
    const EvidenceFolder folder;
    folder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.Netstat", "x");
    folder.Write("tbrd/4321/Evidence1/notes", "x");
    std::vector<std::string> shown;
    (void)FindEvidence(folder.GetPath(), [&shown](const std::string& name) { shown.push_back(name); });
    EXPECT_THAT(shown, ElementsAre("tbrd", "tbrd/4321", "tbrd/4321/Evidence1", "tbrd/4321/Evidence1",
                                   "tbrd/4321/Evidence1"));
}

TEST(EvidenceTree, WaitsForNoPipe)
{
    const EvidenceFolder folder;
    folder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.Netstat", "x");
    const std::string pipe = (folder.GetRoot() / "tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.4321").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].Find(FileKind::Core)->obstacle, "is a named pipe");
}

TEST(EvidenceTree, NamesWhatLiesWhereAFileBelongs)
{
    const EvidenceFolder folder;
    const std::string stem = "tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.";
    folder.Write(stem + "hprof/inside", "x");
    const std::string device = (folder.GetRoot() / (stem + "4321")).string();
    const bool hasDevice = mknod(device.c_str(), S_IFCHR | 0600, 0) == 0; // not every kernel lets everybody
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].Find(FileKind::HeapDump)->obstacle, "is a folder");
    if (hasDevice) {
        EXPECT_EQ(sets[0].Find(FileKind::Core)->obstacle, "is a device");
    }
    EXPECT_EQ(sets[0].GetBytes(), 0U) << "neither holds evidence";
}

TEST(EvidenceTree, TakesAnyNameOfAProcess)
{
    const EvidenceFolder folder;
    const std::string name = "a \"b\"\n\x1b[2J<script>$(id)'\xff";
    WriteStatistics(folder, name, 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].process, name);
    EXPECT_TRUE(OpenSetFolder(tree, sets[0]).IsOpen());
}

/** An empty folder that was changed at `time`. */
void MakeEmptyFolder(const EvidenceFolder& folder, std::time_t time)
{
    const std::filesystem::path path = folder.GetRoot() / "tbrd/4321/Evidence2";
    std::filesystem::create_directories(path);
    EvidenceFolder::SetTime(path.string(), time);
}

TEST(EvidenceTree, TakesAnEmptyFolderForASetWhileACaptureMayBegin)
{
    const EvidenceFolder folder;
    MakeEmptyFolder(folder, 1'000'000);
    for (const std::time_t later : {0, 9}) {
        const auto [tree, sets] = FindSets(folder.GetPath(), 1'000'000 + later);
        ASSERT_EQ(sets.size(), 1U) << later;
        EXPECT_EQ(sets[0].number, 2);
        EXPECT_EQ(sets[0].resource, "");
        EXPECT_THAT(sets[0].files, IsEmpty());
        EXPECT_TRUE(tree.emptyFolders.empty());
    }
}

TEST(EvidenceTree, TakesAnEmptyFolderForNoSetWhereNoCaptureBegins)
{
    const EvidenceFolder folder;
    MakeEmptyFolder(folder, 1'000'000);
    for (const std::time_t later : {-1, 10, 1'000'000}) {
        const auto [tree, sets] = FindSets(folder.GetPath(), 1'000'000 + later);
        EXPECT_THAT(sets, IsEmpty()) << later;
        ASSERT_EQ(tree.emptyFolders.size(), 1U) << later;
        EXPECT_EQ(tree.emptyFolders[0].number, 2);
    }
}

TEST(EvidenceTree, TakesAnEmptyFolderForASetWhereADeletionWasInterrupted)
{
    const EvidenceFolder folder;
    folder.Write("tbrd/4321/Evidence2/.4321_13-11_03.10.28_CPU.deleting", "");
    MakeEmptyFolder(folder, 1'000'000);
    const auto [tree, sets] = FindSets(folder.GetPath(), 2'000'000);
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_TRUE(sets[0].isHalfDeleted);
}

TEST(EvidenceTree, SortsSetsByTime)
{
    const EvidenceFolder folder;
    EvidenceFolder::SetTime(folder.Write("b/2/Evidence1/2_13-11_02.10.28_CPU.Netstat", "x"),
                            MakeTime(2026, 11, 13, 3, 0, 0));
    EvidenceFolder::SetTime(folder.Write("a/1/Evidence1/1_13-11_02.10.29_CPU.Netstat", "x"),
                            MakeTime(2026, 11, 13, 3, 0, 0));
    EvidenceFolder::SetTime(folder.Write("c/3/Evidence1/3_14-11_02.10.28_CPU.Netstat", "x"),
                            MakeTime(2025, 11, 14, 3, 0, 0));
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 3U);
    EXPECT_EQ(sets[0].GetId(), "c/3/Evidence1/cpu-20251114T021028");
    EXPECT_EQ(sets[1].GetId(), "b/2/Evidence1/cpu-20261113T021028");
    EXPECT_EQ(sets[2].GetId(), "a/1/Evidence1/cpu-20261113T021029");
}

TEST(EvidenceTree, KnowsTheMarksOfASet)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    WriteStatistics(folder, "tbrd", 4321, 2, "13-11_03.10.28");
    folder.Write("tbrd/4321/Evidence1/.4321_13-11_02.10.28_CPU.pinned", "");
    folder.Write("tbrd/4321/Evidence2/.4321_13-11_03.10.28_CPU.deleting", "");
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_TRUE(sets[0].isPinned);
    EXPECT_FALSE(sets[0].isHalfDeleted);
    EXPECT_FALSE(sets[1].isPinned);
    EXPECT_TRUE(sets[1].isHalfDeleted);
    EXPECT_THAT(tree.strangers, IsEmpty());
}

TEST(EvidenceTree, CountsBytesAndDiskOfSparseFilesApart)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.4321", "x");
    std::filesystem::resize_file(path, 1ULL << 40U);
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0].GetBytes(), 1ULL << 40U);
    EXPECT_LT(sets[0].GetDiskBytes(), 1ULL << 20U);
}
