#include "config/ConfigurationMgr.h"
#include "evidence/CaptureFixture.h"
#include "evidence/SnapshotData.h"
#include "platform/THUEnv.h"
#include "support/HostFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include <pthread.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

class ProcessSnapshot : public CaptureFixture
{
protected:
    void SetUp() override
    {
        CaptureFixture::SetUp();
        mHelper.reset(MakeHelper());
        mGcore = MakeFolder() + "/gcore";
        mHelper->mCmdPath->mGcore = mGcore;
        WriteFile(mGcore, "", 0755);
    }

    int Take(int pid = 4321)
    {
        return mHelper->TakeMemorySnapshotAndDump("exampled", pid, "Dump Event : not used", "Memory");
    }

    /** How log lines show the calling thread. */
    static std::string GetThreadText() { return std::to_string(static_cast<long long>(pthread_self())); }

    std::unique_ptr<ScriptedHelper<>> mHelper;
    std::string mGcore; ///< the tool, which exists and is never run
};

TEST_F(ProcessSnapshot, LineGivesGcoreANameWithoutSuffix)
{
    EXPECT_EQ(Take(), 0);
    EXPECT_THAT(mScript.mLines,
                ElementsAre(mGcore + " -o " + Path("exampled", 4321, 1, "Memory", "") + " 4321"));
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence1"));
    EXPECT_THAT(GetLogLines(), ElementsAre("TakeMemorySnapshotAndDump (TID: " + GetThreadText() +
                                           ") Dump has generated for pid 4321"));
}

TEST_F(ProcessSnapshot, TwoInARowGoToTwoFoldersUnderTheirOwnTimes)
{
    (void)Take();
    ConfigurationMgr::GetInstance()->mCurrentEvidenceNumber = 2;
    GetStore().mLocalTime = MakeLocalTime(2026, 11, 13, 3, 0, 1);
    (void)Take();
    EXPECT_EQ(mScript.mLines.back(),
              mGcore + " -o " + mRoot + "/exampled/4321/Evidence2/4321_13-11_03.00.01_Memory 4321");
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence1"));
}

TEST_F(ProcessSnapshot, ProcessIdOfZeroDoesNothing)
{
    SetVerbose(1);
    EXPECT_EQ(Take(0), 0);
    EXPECT_THAT(mScript.mLines, IsEmpty());
    EXPECT_FALSE(fs::exists(mRoot));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(ProcessSnapshot, EveryOtherProcessIdIsTried)
{
    for (const int pid : {-1, 1, 2147483647}) {
        EXPECT_EQ(Take(pid), 0);
    }
    EXPECT_EQ(mScript.mLines.size(), 3U);
}

TEST_F(ProcessSnapshot, MissingGcoreIsLoggedWithItsPathWhetherVerboseOrNot)
{
    fs::remove(mGcore);
    const std::string missing = "TakeMemorySnapshotAndDump (TID: " + GetThreadText() + ") Error:" + mGcore +
                                " file not found to generate the dump";
    EXPECT_EQ(Take(), 0);
    EXPECT_THAT(GetLogLines(), ElementsAre(missing));
    EXPECT_THAT(mScript.mLines, IsEmpty());
    SetVerbose(1);
    ForgetLog();
    EXPECT_EQ(Take(), 0);
    EXPECT_THAT(GetLogLines(),
                ElementsAre(missing, "Cleaned up folders that are not required " + GetTHPerfMonLogPath() +
                                         "/exampled/4321 (PID : 4321)"));
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence1")) << "the evidence folders stay";
}

TEST_F(ProcessSnapshot, GcoreIsLookedForAtItsOnePath)
{
    RequireHost();
    if (IsSkipped()) {
        return;
    }
    UnixHelperFunction helper;
    fs::remove("/usr/bin/gcore");
    EXPECT_EQ(helper.TakeMemorySnapshotAndDump("exampled", 4321, "", "CPU"), 0);
    EXPECT_THAT(GetLogLines(), ElementsAre("TakeMemorySnapshotAndDump (TID: " + GetThreadText() +
                                           ") Error:/usr/bin/gcore file not found to generate the dump"));
}

class SnapshotStatus : public ProcessSnapshot, public testing::WithParamInterface<int>
{
};

TEST_P(SnapshotStatus, OtherThanZeroIsAFailureAndTheFoldersStay)
{
    SetVerbose(1);
    mScript.mStatus = [](const std::string&) { return GetParam(); };
    mScript.mAnswer = [](const std::string&) { return "Saved corefile"; };
    EXPECT_EQ(Take(), 0);
    EXPECT_THAT(GetLogLines(), ElementsAre("TakeMemorySnapshotAndDump (TID : " + GetThreadText() +
                                               ") Error: Failed to generate the dump for pid 4321",
                                           "Cleaned up folders that are not required " +
                                               GetTHPerfMonLogPath() + "/exampled/4321 (PID : 4321)"));
    EXPECT_TRUE(fs::is_directory(mRoot + "/exampled/4321/Evidence1"));
}

INSTANTIATE_TEST_SUITE_P(Codes, SnapshotStatus, testing::Values(-1, 9, 12, 256, 127 * 256));

TEST_F(ProcessSnapshot, WithoutAPathGcoreIsGivenNoNameAndItsFailureIsLogged)
{
    ConfigurationMgr::GetInstance()->mEvidencePath = "/no/such/root";
    mScript.mStatus = [](const std::string&) { return 256; };
    EXPECT_EQ(Take(), 0);
    EXPECT_THAT(mScript.mLines, ElementsAre(mGcore + " -o  4321"));
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to create evidence folder /no/such/root",
                                           "TakeMemorySnapshotAndDump (TID : " + GetThreadText() +
                                               ") Error: Failed to generate the dump for pid 4321"));
}

// ---- The thread -------------------------------------------------------------------------------------------

namespace
{
/** Notes what it was asked for. */
class SnapshotRecorder : public UnixHelperFunction
{
public:
    explicit SnapshotRecorder(std::vector<std::string>& calls) : mCalls(calls) {}
    ~SnapshotRecorder() override { mCalls.push_back("deleted"); }

    int TakeMemorySnapshotAndDump(std::string name, int pid, std::string event, std::string label) override
    {
        mCalls.push_back(name + ":" + std::to_string(pid) + ":" + event + ":" + label);
        return 0;
    }

private:
    std::vector<std::string>& mCalls;
};
} // namespace

TEST_F(ProcessSnapshot, ThreadTakesTheDumpWithAHelperOfItsOwn)
{
    std::vector<std::string> calls;
    GetHelperSeam().mMake = [&] { return new SnapshotRecorder(calls); };
    EXPECT_TRUE(mHelper->CreateProcessDump("exampled", 4321, "Dump Event : x", "Memory"));
    EXPECT_THAT(calls, IsEmpty()) << "it has returned before";
    EXPECT_EQ(static_cast<SnapshotData*>(mStarts.at(0).mRecord)->mCommand, "Dump Event : x");
    RunStarts();
    EXPECT_THAT(calls, ElementsAre("exampled:4321:Dump Event : x:Memory", "deleted"));
}

TEST_F(ProcessSnapshot, LinesShowTheIdOfTheThreadThatTheStartLogged)
{
    SetVerbose(1);
    StartRealThreads();
    GetHelperSeam().mMake = [this] {
        ScriptedHelper<>* const helper = MakeHelper();
        helper->mCmdPath->mGcore = mGcore;
        return helper;
    };
    EXPECT_TRUE(mHelper->CreateProcessDump("exampled", 4321, "", "Memory"));
    JoinThreads();
    std::vector<std::string> lines = GetLogLines();
    std::sort(lines.begin(), lines.end()); // either thread may be the first to log
    ASSERT_EQ(lines.size(), 2U);
    const std::string before = "TakeMemorySnapshotAndDump (TID: ";
    ASSERT_EQ(lines[0].substr(0, before.size()), before);
    const std::string id = lines[0].substr(before.size(), lines[0].find(')') - before.size());
    EXPECT_EQ(lines[0], before + id + ") Dump has generated for pid 4321");
    EXPECT_EQ(lines[1],
              "Thread (TID : " + id + ") created to take a process snapshot for exampled (PID : 4321)");
}
