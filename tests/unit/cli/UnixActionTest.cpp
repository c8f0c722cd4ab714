#include "cli/UnixAction.h"

#include "ActionHost.h"
#include "LockHolder.h"
#include "cli/THDaemonInfra.h"
#include "support/HelperSeam.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <optional>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{
constexpr char RUNNING[] = "Info: Daemon is running\n";
constexpr char NOT_STARTED[] = "Error: Failed to start the daemon, please check the log for the reason\n";
constexpr char STOPPED[] = "Info: stopped the daemon process\n";

/** Actions whose virtual operations are counted on their way. */
class CountingActions : public CUnixAction
{
public:
    bool RunAction() override
    {
        ++mRuns;
        return mRunResult;
    }
    bool StopAction() override
    {
        ++mStops;
        return mStopResult;
    }

    bool mRunResult = true;
    bool mStopResult = true;
    int mRuns = 0;
    int mStops = 0;
};
} // namespace

class UnixAction : public ActionHost
{
protected:
    void SetUp() override
    {
        ActionHost::SetUp();
        ScriptHelpers();
        GetSeams().mSleep = [this](unsigned seconds) {
            mSleeps.push_back(seconds);
            if (mDuringSleep) {
                mDuringSleep();
            }
            return 0U;
        };
        GetSeams().mKill = [this](pid_t pid, int signal) {
            mSignals.emplace_back(pid, signal);
            return 0;
        };
    }

    /** Has the fork answer as in the parent. */
    static void PretendToFork()
    {
        GetSeams().mFork = [] { return pid_t(4321); };
    }

    std::vector<unsigned> mSleeps;
    std::vector<std::pair<pid_t, int>> mSignals;
    std::function<void()> mDuringSleep;
};

TEST_F(UnixAction, OwnsOneHelper)
{
    {
        const CUnixAction actions;
        EXPECT_EQ(mScript.mMade, 1);
        EXPECT_EQ(mScript.mDeleted, 0);
    }
    EXPECT_EQ(mScript.mMade, 1);
    EXPECT_EQ(mScript.mDeleted, 1);
}

TEST_F(UnixAction, InstallsByTheCheckAfterTheAction)
{
    EXPECT_TRUE(CUnixAction().InstallAction());
    mScript.mPostCheck = 1;
    EXPECT_FALSE(CUnixAction().InstallAction());
    EXPECT_THAT(mScript.mPostChecks, ElementsAre(HelperFunctionInterface::THPM_ACTION_INSTALL,
                                                 HelperFunctionInterface::THPM_ACTION_INSTALL));
    EXPECT_THAT(mScript.mPreChecks, IsEmpty());
}

TEST_F(UnixAction, NeitherInstallsNorRunsWithoutAHelper)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    EXPECT_EQ(GetConsole([] {
                  EXPECT_FALSE(CUnixAction().InstallAction());
                  EXPECT_FALSE(CUnixAction().RunAction());
              }),
              "");
}

TEST_F(UnixAction, ListsNothing)
{
    EXPECT_EQ(GetConsole([] { EXPECT_TRUE(CUnixAction().ListConfig()); }), "");
}

TEST_F(UnixAction, StartsThroughTheVirtualRun)
{
    CountingActions actions;
    EXPECT_TRUE(actions.StartAction());
    actions.mRunResult = false;
    EXPECT_FALSE(actions.StartAction());
    EXPECT_EQ(actions.mRuns, 2);
}

TEST_F(UnixAction, DoesNotForkOnABadConfiguration)
{
    mScript.mPreCheck = 101;
    GetSeams().mFork = [] {
        ADD_FAILURE() << "a fork";
        return pid_t(-1);
    };
    EXPECT_EQ(GetConsole([] { EXPECT_FALSE(CUnixAction().RunAction()); }), "");
    EXPECT_THAT(mScript.mPreChecks, ElementsAre(HelperFunctionInterface::THPM_ACTION_RUN));
    EXPECT_FALSE(std::filesystem::exists(GetLockFile(THHS_RUN_LOCK_NAME)));
}

TEST_F(UnixAction, FailsWithEveryFailureBeforeTheFork)
{
    GetSeams().mFork = [] { return pid_t(-1); };
    EXPECT_EQ(GetConsole([] { EXPECT_FALSE(CUnixAction().RunAction()); }),
              "Error: Failed to fork the process\n");
    EXPECT_THAT(mSleeps, IsEmpty());
}

TEST_F(UnixAction, WaitsTwoSecondsForADaemonThatIsThere)
{
    PretendToFork();
    WriteRunFile("4321");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_TRUE(CUnixAction().RunAction()); }), RUNNING);
    EXPECT_THAT(mSleeps, ElementsAre(2));
}

// The first check takes the free lock, and a process doesn't conflict with itself.
TEST_F(UnixAction, GivesUpAfterTheThirdCheckAndItsSleep)
{
    PretendToFork();
    WriteRunFile("4321");
    EXPECT_EQ(GetConsole([] { EXPECT_FALSE(CUnixAction().RunAction()); }), NOT_STARTED);
    EXPECT_THAT(mSleeps, ElementsAre(2, 1, 1, 1));
}

TEST_F(UnixAction, ComplainsAtEachCheckThatNoIdIsKnown)
{
    PretendToFork();
    EXPECT_EQ(GetConsole([] { EXPECT_FALSE(CUnixAction().RunAction()); }),
              std::string(NO_DETAILS) + NO_DETAILS + NO_DETAILS + NOT_STARTED);
    EXPECT_THAT(mSleeps, ElementsAre(2, 1, 1, 1));
}

class DaemonSeenLate : public UnixAction, public testing::WithParamInterface<unsigned>
{
};

TEST_P(DaemonSeenLate, CountsAsRunningUpToTheThirdCheck)
{
    PretendToFork();
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    mDuringSleep = [this] {
        if (mSleeps.size() == GetParam()) {
            WriteRunFile("4321");
        }
    };
    const bool isSeen = GetParam() <= 3;
    std::string expected;
    for (unsigned check = 1; check < std::min(GetParam(), 4U); ++check) {
        expected += NO_DETAILS;
    }
    expected += isSeen ? RUNNING : NOT_STARTED;
    EXPECT_EQ(GetConsole([isSeen] { EXPECT_EQ(CUnixAction().RunAction(), isSeen); }), expected);
    EXPECT_EQ(mSleeps.size(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(UnixAction, DaemonSeenLate, testing::Values(1, 2, 3, 4));

TEST_F(UnixAction, HoldsTheRunLockWhileItWaitsForTheDaemon)
{
    PretendToFork();
    std::vector<int> answers;
    mDuringSleep = [&] {
        ChildProcess other([] { return CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME); });
        answers.push_back(other.Wait());
    };
    WriteRunFile("4321");
    (void)GetConsole([] { EXPECT_FALSE(CUnixAction().RunAction()); });
    EXPECT_THAT(answers, ElementsAre(DAEMON_RC_LOCK_HELD, DAEMON_RC_LOCK_HELD, DAEMON_RC_LOCK_HELD,
                                     DAEMON_RC_LOCK_HELD));
}

TEST_F(UnixAction, StopsWithOneSignalAndDoesNotWait)
{
    WriteRunFile("1234");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_TRUE(CUnixAction().StopAction()); }), "");
    EXPECT_THAT(mSignals, ElementsAre(Pair(1234, SIGTERM)));
    EXPECT_THAT(mSleeps, IsEmpty());
}

TEST_F(UnixAction, DoesNotStopBesideARunInProgress)
{
    WriteRunFile("1234");
    const LockHolder run({THHS_RUN_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_FALSE(CUnixAction().StopAction()); }), ACTION_IN_PROGRESS);
    EXPECT_THAT(mSignals, IsEmpty());
}

TEST_F(UnixAction, UninstallsByStoppingTheDaemonAndRemovesNothing)
{
    WriteRunFile("1234");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_TRUE(CUnixAction().UninstallAction()); }), STOPPED);
    EXPECT_THAT(mSignals, ElementsAre(Pair(1234, SIGTERM)));
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), "1234");
    EXPECT_TRUE(std::filesystem::exists(GetLockFile(THHS_CHILD_LOCK_NAME)));
}

TEST_F(UnixAction, UninstallsThroughTheVirtualStop)
{
    WriteRunFile("1234");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    CountingActions actions;
    EXPECT_EQ(GetConsole([&] { EXPECT_TRUE(actions.UninstallAction()); }), STOPPED);
    actions.mStopResult = false;
    EXPECT_EQ(GetConsole([&] { EXPECT_FALSE(actions.UninstallAction()); }), "");
    EXPECT_EQ(actions.mStops, 2);
}

TEST_F(UnixAction, UninstallsWithNothingToStop)
{
    CountingActions actions;
    EXPECT_EQ(GetConsole([&] { EXPECT_TRUE(actions.UninstallAction()); }), NO_DETAILS);
    WriteRunFile("1234");
    EXPECT_EQ(GetConsole([&] { EXPECT_TRUE(actions.UninstallAction()); }), "");
    EXPECT_EQ(actions.mStops, 0);
}

// Whatever the check answers other than "it runs": here that the lock file can't be made.
TEST_F(UnixAction, UninstallsWithALockThatCanNotBeAsked)
{
    WriteRunFile("1234");
    const std::string path = GetLockFile(THHS_CHILD_LOCK_NAME);
    std::filesystem::create_directory(path);
    CountingActions actions;
    EXPECT_EQ(GetConsole([&] { EXPECT_TRUE(actions.UninstallAction()); }),
              "Error: Failed to create file " + path + "\n");
    EXPECT_EQ(actions.mStops, 0);
}
