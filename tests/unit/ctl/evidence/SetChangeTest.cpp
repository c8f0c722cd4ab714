#include "evidence/SetChange.h"

#include "ctl/evidence/EvidenceFolder.h"
#include "evidence/FolderReader.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace ctl;
namespace fs = std::filesystem;

namespace
{
constexpr char FOLDER[] = "tbrd/4321/Evidence1";
constexpr char STEM[] = "4321_13-11_02.10.28_CPU";

FoundEvidence FindOne(const EvidenceFolder& folder)
{
    FoundEvidence found = FindSets(folder.GetPath());
    EXPECT_EQ(found.sets.size(), 1U);
    return found;
}
} // namespace

TEST(SetDeletion, RemovesTheFilesAndTheFoldersThatAreEmptyThen)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write("tbrd/4321/evidence.lock", "");
    const auto [tree, sets] = FindOne(folder);
    const SetChange change = DeleteSet(tree, sets[0], true);
    EXPECT_EQ(change.failure, "");
    EXPECT_EQ(change.freedBytes, sets[0].GetDiskBytes());
    EXPECT_FALSE(fs::exists(folder.GetRoot() / "tbrd/4321"));
    EXPECT_TRUE(fs::exists(folder.GetRoot() / "tbrd"))
        << "another process of the name may be about to use it";
}

TEST(SetDeletion, LeavesFoldersThatTheDaemonMayUse)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindOne(folder);
    EXPECT_EQ(DeleteSet(tree, sets[0], false).failure, "");
    EXPECT_TRUE(fs::is_empty(folder.GetRoot() / FOLDER));
}

TEST(SetDeletion, LeavesWhatIsNotOfTheSet)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write(std::string(FOLDER) + "/notes.txt", "mine");
    const auto [tree, sets] = FindOne(folder);
    EXPECT_EQ(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_TRUE(fs::exists(folder.GetRoot() / FOLDER / "notes.txt"));
}

TEST(SetDeletion, RemovesALinkAndNotWhatItPointsTo)
{
    const EvidenceFolder folder;
    const EvidenceFolder elsewhere;
    const std::string target = elsewhere.Write("precious", "x");
    fs::create_directories(folder.GetRoot() / FOLDER);
    fs::create_symlink(target, folder.GetRoot() / FOLDER / (std::string(STEM) + ".hprof"));
    const auto [tree, sets] = FindOne(folder);
    EXPECT_EQ(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_TRUE(fs::exists(target));
}

TEST(SetDeletion, StopsAtAFileThatChanged)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindOne(folder);
    folder.Write(std::string(FOLDER) + "/" + STEM + ".MemoryPerf", "more of it");
    const SetChange change = DeleteSet(tree, sets[0], true);
    EXPECT_EQ(change.failure,
              std::string(STEM) + ".MemoryPerf: changed meanwhile; what is left of the set stays");
    EXPECT_TRUE(fs::exists(folder.GetRoot() / FOLDER / (std::string(STEM) + ".MemoryPerf")));
}

TEST(SetDeletion, ThatRemovedNothingLeavesNoMark)
{
    const EvidenceFolder folder;
    folder.Write(std::string(FOLDER) + "/" + STEM + ".Netstat", "x");
    const auto [tree, sets] = FindOne(folder);
    folder.Write(std::string(FOLDER) + "/" + STEM + ".Netstat", "more of it");
    EXPECT_NE(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_FALSE(fs::exists(folder.GetRoot() / FOLDER / ("." + std::string(STEM) + DELETING_MARK)));
}

TEST(SetDeletion, LeavesTheFolderOfALateThreadDumpItsTime)
{
    const EvidenceFolder folder;
    folder.Write(std::string(FOLDER) + "/" + STEM + ".Netstat", "x");
    folder.Write("tbrd/4321/Evidence2/4321_13-11_02.30.28_CPU.ThreadDump", "late");
    const std::string later = (folder.GetRoot() / "tbrd/4321/Evidence2").string();
    EvidenceFolder::SetTime(later, 1'600'000'000);
    const auto [tree, sets] = FindOne(folder);
    ASSERT_EQ(sets[0].files.size(), 2U);
    EXPECT_EQ(DeleteSet(tree, sets[0], false).failure, "");
    struct stat status = {};
    ASSERT_EQ(stat(later.c_str(), &status), 0);
    EXPECT_EQ(status.st_mtime, 1'600'000'000);
}

TEST(SetDeletion, LeavesALinkThatTookThePlaceOfAFile)
{
    const EvidenceFolder folder;
    const EvidenceFolder elsewhere;
    const std::string target = elsewhere.Write("precious", "x");
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindOne(folder);
    const fs::path swapped = folder.GetRoot() / FOLDER / (std::string(STEM) + ".Netstat");
    fs::remove(swapped);
    fs::create_symlink(target, swapped);
    EXPECT_EQ(DeleteSet(tree, sets[0], true).failure,
              std::string(STEM) + ".Netstat: changed meanwhile; what is left of the set stays");
    EXPECT_TRUE(fs::exists(target) && fs::is_symlink(swapped));
}

TEST(SetDeletion, OfFilesThatAreGoneAlreadyIsDone)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindOne(folder);
    const std::uint64_t netstat = sets[0].Find(FileKind::Netstat)->diskBytes;
    fs::remove(folder.GetRoot() / FOLDER / (std::string(STEM) + ".Netstat"));
    const SetChange change = DeleteSet(tree, sets[0], true);
    EXPECT_EQ(change.failure, "");
    EXPECT_EQ(change.freedBytes, sets[0].GetDiskBytes() - netstat);
    EXPECT_FALSE(fs::exists(folder.GetRoot() / FOLDER));
}

TEST(SetDeletion, DoesNotFollowAFolderThatBecameALink)
{
    const EvidenceFolder folder;
    const EvidenceFolder elsewhere;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    WriteStatistics(elsewhere, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindOne(folder);
    fs::rename(folder.GetRoot() / FOLDER, folder.GetRoot() / "tbrd/4321/moved");
    fs::create_directory_symlink(elsewhere.GetRoot() / FOLDER, folder.GetRoot() / FOLDER);
    EXPECT_NE(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_EQ(std::distance(fs::directory_iterator(elsewhere.GetRoot() / FOLDER), fs::directory_iterator()),
              5);
}

TEST(SetDeletion, ThatWasInterruptedIsRecognisedAndEnded)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    // What a deletion leaves that was ended after its first file.
    folder.Write(std::string(FOLDER) + "/." + STEM + DELETING_MARK, "");
    fs::remove(folder.GetRoot() / FOLDER / (std::string(STEM) + ".MemoryPerf"));
    const auto [tree, sets] = FindOne(folder);
    EXPECT_TRUE(sets[0].isHalfDeleted);
    EXPECT_EQ(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_FALSE(fs::exists(folder.GetRoot() / FOLDER));
}

TEST(SetDeletion, ThatWasInterruptedBeforeItsMarkWasGoneIsEnded)
{
    const EvidenceFolder folder;
    folder.Write(std::string(FOLDER) + "/." + STEM + DELETING_MARK, "");
    const auto [tree, sets] = FindOne(folder);
    EXPECT_TRUE(sets[0].isHalfDeleted);
    EXPECT_EQ(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_FALSE(fs::exists(folder.GetRoot() / FOLDER));
}

TEST(SetDeletion, TakesTheFilesThatItsMarkIsNamedAfterLast)
{
    const EvidenceFolder folder;
    folder.Write(std::string(FOLDER) + "/" + STEM + ".4321", "x");
    folder.Write(std::string(FOLDER) + "/4321_13-11_02.10.30_CPU.Netstat", "x");
    const std::string last = std::string(FOLDER) + "/4321_13-11_02.10.31_CPU.ProcessData";
    folder.Write(last, "x");
    const auto [tree, sets] = FindOne(folder);
    folder.Write(last, "changed");
    EXPECT_NE(DeleteSet(tree, sets[0], true).failure, "");
    EXPECT_TRUE(fs::exists(folder.GetRoot() / FOLDER / (std::string(STEM) + ".4321")));
    EXPECT_TRUE(FindOne(folder).sets[0].isHalfDeleted);
}

TEST(PinnedSet, IsMarkedAndLetGo)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindOne(folder);
    EXPECT_EQ(PinSet(tree, sets[0], true).failure, "");
    EXPECT_EQ(PinSet(tree, sets[0], true).failure, "") << "again";
    EXPECT_TRUE(FindOne(folder).sets[0].isPinned);
    EXPECT_EQ(PinSet(tree, sets[0], false).failure, "");
    EXPECT_FALSE(FindOne(folder).sets[0].isPinned);
}

TEST(PinnedSet, HoldsAFile)
{
    const EvidenceFolder folder;
    fs::create_directories(folder.GetRoot() / FOLDER);
    EvidenceFolder::SetTime(folder.GetRoot() / FOLDER, 1'000'000);
    const auto [tree, sets] = FindSets(folder.GetPath(), 1'000'000);
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(PinSet(tree, sets[0], true).failure, "holds no file that could be pinned");
}

TEST(SetDeletion, OfASetThatChangedAfterItWasFoundDoesNothing)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    const Activity activity("/absent");
    constexpr char REFUSED[] = "changed after it was chosen; nothing of it was deleted";
    const std::string file =
        folder.Write(std::string(FOLDER) + "/" + STEM + ".4321", "a core that came late");
    EXPECT_EQ(DeleteFoundSet(tree, 0, activity).failure, REFUSED);
    fs::remove(file);
    const std::string mark = folder.Write(std::string(FOLDER) + "/." + STEM + ".pinned", "");
    EXPECT_EQ(DeleteFoundSet(tree, 0, activity).failure, REFUSED) << "pinned meanwhile";
    fs::remove(mark);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.GetRoot() / FOLDER), {}), 5);
    EXPECT_EQ(DeleteFoundSet(tree, 0, activity).failure, "");
    EXPECT_TRUE(fs::is_empty(folder.GetRoot() / FOLDER)) << "it was changed just now, so the folder stays";
}

TEST(SetDeletion, LeavesNothingThatCountsAsASetInTheFolderOfALiveProcess)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28", "Memory");
    EvidenceFolder::SetTime(folder.GetRoot() / FOLDER, 1'000'000);
    const auto [tree, sets] = FindSets(folder.GetPath());
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_EQ(DeleteSet(tree, sets[0], false).failure, "");
    EXPECT_EQ(DeleteSet(tree, sets[1], false).failure, "");
    const EvidenceTree left = FindEvidence(folder.GetPath());
    EXPECT_EQ(left.sets.size(), 0U);
    EXPECT_EQ(left.emptyFolders.size(), 1U);
}

TEST(EmptyFolders, GoOnceTheirProcessHasGoneAndTheyHaveRestedForAnHour)
{
    const EvidenceFolder folder;
    folder.Write("../proc/4321/stat", "");
    folder.Write("tbrd/4321/evidence.lock", "");
    fs::create_directories(folder.GetRoot() / FOLDER);
    EvidenceFolder::SetTime(folder.GetRoot() / FOLDER, 1'000'000);
    const auto remove = [&](const std::string& proc, std::time_t now) {
        RemoveEmptyFolders(FindEvidence(folder.GetPath(), nullptr, now), Activity(proc, now));
        return !fs::exists(folder.GetRoot() / FOLDER);
    };
    EXPECT_FALSE(remove(folder.GetPath() + "/proc", 1'010'000)) << "its process is alive";
    EXPECT_FALSE(remove("/absent", 1'003'600)) << "it may have been made for a capture";
    EXPECT_TRUE(remove("/absent", 1'003'601));
    EXPECT_FALSE(fs::exists(folder.GetRoot() / "tbrd/4321")) << "nothing but the daemon's marker was in it";
}

TEST(SetDeletion, LeavesNoEmptyFolderOfTwoSetsOfOneNumber)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28", "CPU");
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.29", "Memory");
    fs::last_write_time(folder.GetRoot() / FOLDER, fs::file_time_type::clock::now() - std::chrono::hours(2));
    const EvidenceTree tree = FindEvidence(folder.GetPath());
    ASSERT_EQ(tree.sets.size(), 2U);
    const Activity activity("/absent");
    EXPECT_EQ(DeleteFoundSet(tree, 0, activity).failure, "");
    EXPECT_EQ(DeleteFoundSet(tree, 1, activity).failure, "");
    EXPECT_FALSE(fs::exists(folder.GetRoot() / FOLDER));
}
