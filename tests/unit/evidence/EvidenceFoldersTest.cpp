#include "config/ConfigurationMgr.h"
#include "evidence/CaptureFixture.h"
#include "platform/THUEnv.h"
#include "support/FileLocks.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
unsigned GetMode(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

std::string GenerateName(const std::string& folder, int pid, const std::string& label,
                         const std::string& suffix)
{
    UnixHelperFunction helper;
    std::string path;
    helper.GenerateFileName(folder, pid, label, path, suffix);
    return path;
}
} // namespace

// ---- The tree and its names -------------------------------------------------------------------------------

using EvidenceFolders = CaptureFixture;

TEST_F(EvidenceFolders, FileLiesInTheFolderOfItsSetBelowProcessAndId)
{
    ConfigurationMgr::GetInstance()->mCurrentEvidenceNumber = 12;
    EXPECT_EQ(GenerateName("exampled", 4321, "CPU", "hprof"),
              mRoot + "/exampled/4321/Evidence12/4321_13-11_02.10.28_CPU.hprof");
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(EvidenceFolders, NameTakesTheTimeOfEachCall)
{
    const std::string first = GenerateName("exampled", 4321, "CPU", "");
    EXPECT_EQ(GenerateName("exampled", 4321, "CPU", ""), first);
    GetStore().mLocalTime = MakeLocalTime(2026, 11, 13, 2, 10, 29);
    EXPECT_EQ(fs::path(GenerateName("exampled", 4321, "CPU", "")).filename(), "4321_13-11_02.10.29_CPU");
}

TEST_F(EvidenceFolders, NameIsAppendedToWhatThePathHolds)
{
    UnixHelperFunction helper;
    std::string path = "before:";
    helper.GenerateFileName("exampled", 4321, "CPU", path, "");
    EXPECT_EQ(path, "before:" + Path("exampled", 4321, 1, "CPU", ""));
}

TEST_F(EvidenceFolders, FoldersAndMarkerAreMadeWithTheirModes)
{
    const mode_t before = umask(0);
    const fs::path file = GenerateName("exampled", 4321, "CPU", "hprof");
    umask(before);
    EXPECT_THAT(GetEvidence(), ElementsAre("exampled/4321/evidence.lock")) << "the file itself isn't made";
    const fs::path process = file.parent_path().parent_path();
    EXPECT_EQ(GetMode(process / "evidence.lock"), 0600U);
    for (const fs::path& folder : {fs::path(mRoot), process.parent_path(), process, file.parent_path()}) {
        EXPECT_EQ(GetMode(folder), 0755U) << folder;
    }
}

TEST_F(EvidenceFolders, SecondBreachGetsItsFolderBesideTheFirst)
{
    (void)GenerateName("exampled", 4321, "CPU", "");
    ConfigurationMgr::GetInstance()->mCurrentEvidenceNumber = 2;
    (void)GenerateName("exampled", 4321, "CPU", "");
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence1"));
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence2"));
}

TEST_F(EvidenceFolders, NewProcessIdGetsAFolderOfItsOwn)
{
    (void)GenerateName("exampled", 4321, "CPU", "");
    (void)GenerateName("exampled", 4322, "CPU", "");
    EXPECT_THAT(GetEvidence(), ElementsAre("exampled/4321/evidence.lock", "exampled/4322/evidence.lock"));
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4322/Evidence1"));
}

TEST_F(EvidenceFolders, VanishedRootIsMadeAnew)
{
    const std::string path = GenerateName("exampled", 4321, "CPU", "");
    fs::remove_all(mRoot);
    EXPECT_EQ(GenerateName("exampled", 4321, "CPU", ""), path);
    EXPECT_TRUE(fs::is_directory(fs::path(path).parent_path()));
}

TEST_F(EvidenceFolders, FolderNameIsUsedAsItStands)
{
    EXPECT_EQ(GenerateName("../a b", 1, "CPU", ""), mRoot + "/../a b/1/Evidence1/1_13-11_02.10.28_CPU");
    EXPECT_TRUE(fs::is_directory(fs::path(mRoot).parent_path() / "a b/1/Evidence1"));
    EXPECT_EQ(GenerateName("", 1, "CPU", ""), mRoot + "//1/Evidence1/1_13-11_02.10.28_CPU");
    EXPECT_EQ(GenerateName(std::string(300, 'x'), 1, "CPU", ""), "") << "no file system has such a name";
}

// ---- Folders that can't be made ---------------------------------------------------------------------------

TEST_F(EvidenceFolders, RootThatCantBeMadeIsReportedAndLeavesThePath)
{
    ConfigurationMgr::GetInstance()->mEvidencePath = mRoot + "/no/such";
    UnixHelperFunction helper;
    std::string path = "before";
    helper.GenerateFileName("exampled", 4321, "CPU", path, "");
    EXPECT_EQ(path, "before");
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create evidence folder " + mRoot + "/no/such"));
}

/** Something that stands in the way of a folder, and the log lines that come of it. */
struct ObstacleCase
{
    const char* mName;
    const char* mFile; ///< a plain file below the root's parent
    const char* mFolder;
    bool mIsMarkerTried;
};

class EvidenceObstacle : public CaptureFixture, public testing::WithParamInterface<ObstacleCase>
{
};

TEST_P(EvidenceObstacle, LeavesThePathWithoutALineOfItsOwn)
{
    const ObstacleCase& row = GetParam();
    SetVerbose(1);
    if (std::string(row.mFile) != "thsentinel") {
        fs::create_directories(fs::path(mRoot).parent_path() / fs::path(row.mFile).parent_path());
    }
    WriteFile(fs::path(mRoot).parent_path() / row.mFile, "");
    EXPECT_EQ(GenerateName(row.mFolder, 4321, "CPU", "x"), "");
    const std::string marker = mRoot + "/exampled/4321/evidence.lock";
    EXPECT_EQ(GetLogLines(), row.mIsMarkerTried ? std::vector{"Error: Failed to create touch file " + marker}
                                                : std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    Levels, EvidenceObstacle,
    testing::Values(ObstacleCase{"AtTheRoot", "thsentinel", "exampled", false},
                    ObstacleCase{"AtAFolderNameWithAPath", "thsentinel/other", "no/such", false},
                    ObstacleCase{"AtTheProcess", "thsentinel/exampled", "exampled", false},
                    ObstacleCase{"AtTheProcessId", "thsentinel/exampled/4321", "exampled", true}),
    [](const auto& row) { return row.param.mName; });

// ---- The marker -------------------------------------------------------------------------------------------

TEST_F(EvidenceFolders, MarkerThatCantBeMadeIsReportedAndThePathIsBuilt)
{
    const std::string marker = mRoot + "/exampled/4321/evidence.lock";
    fs::create_directories(marker);
    EXPECT_EQ(GenerateName("exampled", 4321, "CPU", ""), Path("exampled", 4321, 1, "CPU", ""));
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create touch file " + marker));
}

TEST_F(EvidenceFolders, MarkerOnTheLowestDescriptorIsMade)
{
    const std::string marker = MakeFolder() + "/evidence.lock";
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    UnixHelperFunction helper;
    EXPECT_TRUE(helper.CreateTouchFile(marker));
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1); // and closed again
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_TRUE(fs::exists(marker));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

// What is read from a pipe is gone from it.
TEST_F(EvidenceFolders, MarkerIsNeitherReadNorLocked)
{
    const std::string marker = mRoot + "/exampled/4321/evidence.lock";
    fs::create_directories(fs::path(marker).parent_path());
    ASSERT_EQ(mkfifo(marker.c_str(), 0600), 0);
    const int pipe = open(marker.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(write(pipe, "kept", 4), 4);
    const long locks = CountFileLocks();
    EXPECT_EQ(GenerateName("exampled", 4321, "CPU", ""), Path("exampled", 4321, 1, "CPU", ""));
    UnixHelperFunction().RemoveDir("exampled", 4321);
    EXPECT_EQ(CountFileLocks(), locks);
    int bytes = 0;
    EXPECT_EQ(ioctl(pipe, FIONREAD, &bytes), 0);
    EXPECT_EQ(bytes, 4);
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_TRUE(fs::exists(marker));
    (void)close(pipe);
}

TEST_F(EvidenceFolders, MarkerThatIsThereKeepsContentAndTime)
{
    const fs::path marker = mRoot + "/exampled/4321/evidence.lock";
    fs::create_directories(marker.parent_path());
    WriteFile(marker, "kept", 0640);
    const fs::file_time_type before = fs::last_write_time(marker) - std::chrono::hours(5);
    fs::last_write_time(marker, before);
    UnixHelperFunction helper;
    EXPECT_TRUE(helper.CreateTouchFile(marker));
    EXPECT_EQ(ReadFile(marker), "kept");
    EXPECT_EQ(fs::last_write_time(marker), before);
    EXPECT_EQ(GetMode(marker), 0640U);
}

TEST_F(EvidenceFolders, TouchFileReportsWhetherItCouldBeOpened)
{
    const std::string folder = MakeFolder();
    UnixHelperFunction helper;
    EXPECT_TRUE(helper.CreateTouchFile(folder + "/new"));
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_FALSE(helper.CreateTouchFile(folder + "/no/new"));
    EXPECT_FALSE(helper.CreateTouchFile(""));
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create touch file " + folder + "/no/new",
                                           "Error: Failed to create touch file "));
}

// ---- Clean-up ---------------------------------------------------------------------------------------------

TEST_F(EvidenceFolders, RemoveDirRemovesTheEmptyFolderBelowTheLogSilently)
{
    SetVerbose(1);
    const std::string folder = GetTHPerfMonLogPath() + "/exampled/4321";
    fs::create_directories(folder);
    UnixHelperFunction().RemoveDir("exampled", 4321);
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_TRUE(fs::exists(GetTHPerfMonLogPath() + "/exampled"));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(EvidenceFolders, RemoveDirLogsACleanUpOnlyWhenItFailed)
{
    SetVerbose(1);
    (void)GenerateName("exampled", 4321, "CPU", "");
    UnixHelperFunction().RemoveDir("exampled", 4321);
    EXPECT_THAT(GetLogLines(), ElementsAre("Cleaned up folders that are not required " +
                                           GetTHPerfMonLogPath() + "/exampled/4321 (PID : 4321)"));
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence1")) << "evidence stays in place";
}

TEST_F(EvidenceFolders, RemoveDirLeavesAFolderThatHoldsSomething)
{
    const std::string folder = GetTHPerfMonLogPath() + "/exampled/5";
    fs::create_directories(folder + "/inner");
    UnixHelperFunction().RemoveDir("exampled", 5);
    EXPECT_TRUE(fs::exists(folder + "/inner"));
    EXPECT_THAT(GetLogLines(), IsEmpty()) << "not verbose";
}

TEST_F(EvidenceFolders, RemoveDirCutsTheFolderOfALongProcessId)
{
    SetVerbose(1);
    UnixHelperFunction().RemoveDir("exampled", 12345678);
    EXPECT_THAT(GetLogLines(), ElementsAre("Cleaned up folders that are not required " +
                                           GetTHPerfMonLogPath() + "/exampled/1234567 (PID : 12345678)"));
}

TEST_F(EvidenceFolders, CleanLineIsUnquotedAndCutAt255Characters)
{
    UnixHelperFunction helper;
    EXPECT_EQ(helper.HF_CommandToCleanFolder("/a b/thsentinel"), "rm -f /a b/thsentinel");
    EXPECT_EQ(helper.HF_CommandToCleanFolder(std::string(249, 'p')), "rm -f " + std::string(249, 'p'));
    EXPECT_EQ(helper.HF_CommandToCleanFolder(std::string(250, 'p')), "rm -f " + std::string(249, 'p'));
    EXPECT_EQ(helper.HF_CommandToCleanFolder(""), "rm -f ");
}

TEST_F(EvidenceFolders, PurgeKeepsTheTreeAndReportsSuccess)
{
    const std::string path = GenerateName("exampled", 4321, "CPU", "Netstat");
    WriteFile(path, "evidence");
    SetVerbose(1);
    ConfigurationMgr::GetInstance()->PurgeOldEvidence();
    EXPECT_EQ(ReadFile(path), "evidence");
    EXPECT_THAT(GetEvidence(), ElementsAre("exampled/4321/Evidence1/4321_13-11_02.10.28_CPU.Netstat",
                                           "exampled/4321/evidence.lock"));
    EXPECT_THAT(GetLogLines(),
                ElementsAre("Trying to clean up older evidences. Command : rm -f " + mRoot,
                            "Cmd:rm -f " + mRoot, "Output:", "ReturnCode:1",
                            "Successfully purged older evidences collected during last runs."));
}

TEST_F(EvidenceFolders, PurgeIsSilentUnlessVerbose)
{
    (void)GenerateName("exampled", 4321, "CPU", "");
    ConfigurationMgr::GetInstance()->PurgeOldEvidence();
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_TRUE(fs::exists(mRoot + "/exampled/4321/Evidence1"));
}

TEST_F(EvidenceFolders, PurgeThatPrintsSomethingIsNoSuccess)
{
    SetVerbose(1);
    ConfigurationMgr::GetInstance()->mEvidencePath = "/no/such; echo said";
    ConfigurationMgr::GetInstance()->PurgeOldEvidence();
    const std::string line = "rm -f /no/such; echo said";
    EXPECT_THAT(GetLogLines(), ElementsAre("Trying to clean up older evidences. Command : " + line,
                                           "Cmd:" + line, "Output:said", "(no stamp)", "ReturnCode:0"));
}
