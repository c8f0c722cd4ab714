#include "logcontrol/LogLevelFixture.h"

#include <gmock/gmock.h>

#include <climits>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using ResetLogging = LogLevelFixture;

TEST_F(ResetLogging, RunsNothingWhenNothingWasRaised)
{
    mConfig->mVerbose = 1;
    mConfig->mIncreaseLogLevel = 1;
    mConfig->ResetLogging();
    EXPECT_THAT(mScript.mLines, IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(ResetLogging, RestoresExactlyWhatWasRead)
{
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 6\n");
    Raise("abc");
    mScript.mLines.clear();
    mConfig->ResetLogging();
    EXPECT_THAT(mScript.mLines, ElementsAre(GetRestoreLine("abc", "1", "6")));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(ResetLogging, RestoresInTheOrderOfTheTargetsAndSaysSoWhenVerbose)
{
    mConfig->mVerbose = 1;
    mConfig->mLogLevelMap = {{"abc", {1, 2}}, {"485", {3, 4}}, {"128", {5, 0}}};
    mConfig->ResetLogging();
    EXPECT_THAT(mScript.mLines, ElementsAre(GetRestoreLine("128", "5", "0"), GetRestoreLine("485", "3", "4"),
                                            GetRestoreLine("abc", "1", "2")));
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre(
            "mDiagnosticLevel and  DebugLevel for the process 128 have been reset to original values.",
            "mDiagnosticLevel and  DebugLevel for the process 485 have been reset to original values.",
            "mDiagnosticLevel and  DebugLevel for the process abc have been reset to original values."));
}

TEST_F(ResetLogging, WritesNoLineForASilentTool)
{
    mConfig->mVerbose = 1;
    mSaid = "";
    mConfig->mLogLevelMap = {{"abc", {1, 2}}};
    mConfig->ResetLogging();
    EXPECT_THAT(mScript.mLines, ElementsAre(GetRestoreLine("abc", "1", "2")));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(ResetLogging, KeepsItsEntriesSoThatASecondCallRestoresOnceMore)
{
    mConfig->mLogLevelMap = {{"abc", {1, 2}}};
    mConfig->ResetLogging();
    mConfig->ResetLogging();
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetRestoreLine("abc", "1", "2"), GetRestoreLine("abc", "1", "2")));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("abc", LogLevel{1, 2})));
}

TEST_F(ResetLogging, DoesNotAskWhetherLevelsAreStillToBeRaised)
{
    mConfig->mIncreaseLogLevel = 0;
    mConfig->mLogLevelMap = {{"abc", {1, 2}}};
    mConfig->ResetLogging();
    EXPECT_EQ(mScript.mLines.size(), 1U);
}

TEST_F(ResetLogging, GoesOnWhenTheToolFails)
{
    mScript.mStatus = [](const std::string&) { return 32512; };
    mSaid = "";
    mConfig->mLogLevelMap = {{"abc", {1, 2}}, {"def", {3, 4}}};
    mConfig->ResetLogging();
    EXPECT_EQ(mScript.mLines.size(), 2U);
}

namespace
{
struct LevelCase
{
    int mLevel;
    const char* mText;

    friend std::ostream& operator<<(std::ostream& out, const LevelCase& row) { return out << row.mLevel; }
};

class RestoredLevel : public LogLevelFixture, public testing::WithParamInterface<LevelCase>
{
};
} // namespace

TEST_P(RestoredLevel, IsCutAtThreeCharacters)
{
    mConfig->mLogLevelMap = {{"abc", {GetParam().mLevel, 6}}, {"def", {6, GetParam().mLevel}}};
    mConfig->ResetLogging();
    EXPECT_THAT(mScript.mLines, ElementsAre(GetRestoreLine("abc", GetParam().mText, "6"),
                                            GetRestoreLine("def", "6", GetParam().mText)));
}

INSTANTIATE_TEST_SUITE_P(Levels, RestoredLevel,
                         testing::Values(LevelCase{0, "0"}, LevelCase{10, "10"}, LevelCase{999, "999"},
                                         LevelCase{1000, "100"}, LevelCase{INT_MAX, "214"},
                                         LevelCase{-12, "-12"}, LevelCase{-123, "-12"},
                                         LevelCase{INT_MIN, "-21"}));
