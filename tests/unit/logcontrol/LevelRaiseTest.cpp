#include "logcontrol/LevelRaise.h"

#include "cli/THJobPerfMonSvc.h"
#include "logcontrol/LogLevelFixture.h"
#include "support/SystemSeams.h"

#include <gmock/gmock.h>

#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class LevelRaises : public LogLevelFixture
{
protected:
    void SetUp() override
    {
        LogLevelFixture::SetUp();
        List("485", "DebugLevel = 1\n", "DiagnosticLevel = 2\n");
        List("495", "DebugLevel = 3\n", "DiagnosticLevel = 4\n");
    }

    void TearDown() override
    {
        AllowRaises();
        LogLevelFixture::TearDown();
    }

    /** A stop begins and restores when a shell line comes that holds this text. */
    void StopAt(const std::string& text)
    {
        mScript.mAnswer = [this, text](const std::string& line) {
            if (line.find(text) != std::string::npos && mStops++ == 0) {
                ForbidRaises();
                mConfig->ResetLogging();
            }
            return Answer(line);
        };
    }

    int mStops = 0;
};

TEST_F(LevelRaises, DoNotBeginOnceAStopHasBegun)
{
    StopAt("485 -l | grep \"Debug\"");
    Raise("thwmc");
    RestoreMetTarget();
    EXPECT_THAT(mScript.mLines, ElementsAre(GetDebugLine("485"), GetDiagnosticLine("485")));
    EXPECT_THAT(mConfig->mLogLevelMap, IsEmpty());
}

TEST_F(LevelRaises, EndWithTheTargetThatAStopMeetsWhichIsRestoredTwice)
{
    StopAt("485 -s DebugLevel=6");
    Raise("thwmc");
    RestoreMetTarget();
    const std::string restored = GetRestoreLine("485", "1", "2");
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetDebugLine("485"), GetDiagnosticLine("485"), GetRaiseLine("485"), restored,
                            GetDebugLine("495"), GetDiagnosticLine("495"), restored));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("485", LogLevel{1, 2})));
}

TEST_F(LevelRaises, AreRestoredOnceWhereAStopMeetsNone)
{
    Raise("thwmc");
    mScript.mLines.clear();
    ForbidRaises();
    mConfig->ResetLogging();
    RestoreMetTarget();
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetRestoreLine("485", "1", "2"), GetRestoreLine("495", "3", "4")));
}

TEST_F(LevelRaises, AreStillAllowedAfterTheStopOfTheServiceAlone)
{
    EXPECT_EQ(StopMonitoringActivity(), 0);
    Raise("thwmc");
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("485", LogLevel{1, 2}), Pair("495", LogLevel{3, 4})));
}

TEST_F(LevelRaises, BeginAgainWithTheNextService)
{
    StopAt("485 -s DebugLevel=6");
    Raise("thwmc");
    AllowRaises();
    mScript.mLines.clear();
    RestoreMetTarget();
    EXPECT_THAT(mScript.mLines, IsEmpty());
    Raise("thwmc");
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetDebugLine("495"), GetDiagnosticLine("495"), GetRaiseLine("495")));
}

TEST_F(LevelRaises, AreInProgressFromTheSavingOfTheLevelsOn)
{
    SavedLevels saved;
    EXPECT_FALSE(IsMetRaiseInProgress());
    {
        const LevelRaise raise(saved, "485", {1, 2});
        EXPECT_TRUE(raise.IsAllowed());
        EXPECT_FALSE(IsMetRaiseInProgress());
        EXPECT_THAT(CopySavedLevels(saved), ElementsAre(Pair("485", LogLevel{1, 2})));
        EXPECT_TRUE(IsMetRaiseInProgress());
    }
    EXPECT_FALSE(IsMetRaiseInProgress());
    EXPECT_EQ(GetMetTarget(), "485");
}

TEST_F(LevelRaises, SaveAndCopyLevelsUnderALock)
{
    SavedLevels saved;
    const long before = CountLocks();
    const LevelRaise raise(saved, "485", {1, 2});
    const long between = CountLocks();
    EXPECT_GT(between, before);
    (void)CopySavedLevels(saved);
    EXPECT_GT(CountLocks(), between);
}

TEST_F(LevelRaises, LetTheLevelsBeCopiedWhileTheyGrow)
{
    constexpr int TARGETS = 2000;
    SavedLevels saved;
    std::thread worker([&saved] {
        for (int target = 0; target < TARGETS; ++target) {
            const LevelRaise raise(saved, std::to_string(target), {target, -target});
        }
    });
    SavedLevels copy;
    while (copy.size() < TARGETS) {
        copy = CopySavedLevels(saved);
        for (const auto& [target, levels] : copy) {
            ASSERT_EQ(target, std::to_string(levels.mDebugLevel));
            ASSERT_EQ(levels.mDiagnosticLevel, -levels.mDebugLevel);
        }
    }
    worker.join();
}
