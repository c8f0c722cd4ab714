#include "logcontrol/LogLevelFixture.h"

#include "counters/CounterMgr.h"

#include <gmock/gmock.h>

#include <csignal>
#include <stdexcept>

#include <pthread.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using IncreaseLogging = LogLevelFixture;

TEST_F(IncreaseLogging, ReadsSavesAndRaisesTheTargetOfThatName)
{
    List("adminconsole", "DebugLevel = 1\n", "DiagnosticLevel = 6\n");
    Raise("adminconsole");
    EXPECT_THAT(mScript.mLines, ElementsAre(GetDebugLine("adminconsole"), GetDiagnosticLine("adminconsole"),
                                            GetRaiseLine("adminconsole")));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("adminconsole", LogLevel{1, 6})));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(IncreaseLogging, TracesTheLevelsAndTheRaiseWhenVerbose)
{
    mConfig->mVerbose = 1;
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 3\n");
    Raise("abc");
    EXPECT_THAT(GetLogLines(), ElementsAre("Original DebugLevel for process abc is : 1.",
                                           "Original DiagnosticLevel for process abc is : 3.",
                                           "mDiagnosticLevel and  DebugLevel for the process abc set to 6."));
}

TEST_F(IncreaseLogging, CountsASilentRaiseWithoutItsLine)
{
    mConfig->mVerbose = 1;
    mSaid = "";
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 3\n");
    Raise("abc");
    EXPECT_EQ(mScript.mLines.back(), GetRaiseLine("abc"));
    EXPECT_THAT(GetLogLines(), ElementsAre("Original DebugLevel for process abc is : 1.",
                                           "Original DiagnosticLevel for process abc is : 3."));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("abc", LogLevel{1, 3})));
}

TEST_F(IncreaseLogging, SavesBeforeItRaises)
{
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 3\n");
    std::size_t savedAtRaise = 0;
    mScript.mAnswer = [&](const std::string& line) {
        if (line == GetRaiseLine("abc")) {
            savedAtRaise = mConfig->mLogLevelMap.count("abc");
        }
        return Answer(line);
    };
    Raise("abc");
    EXPECT_EQ(savedAtRaise, 1U);
}

TEST_F(IncreaseLogging, LooksAtNoExitStatus)
{
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 3\n");
    mScript.mStatus = [](const std::string&) { return 256; };
    Raise("abc");
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("abc", LogLevel{1, 3})));
}

TEST_F(IncreaseLogging, RunsNoToolAtASecondBreachOfTheProcess)
{
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 3\n");
    Raise("abc");
    mScript.mLines.clear();
    List("abc", "DebugLevel = 6\n", "DiagnosticLevel = 6\n");
    Raise("abc");
    EXPECT_THAT(mScript.mLines, IsEmpty());
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("abc", LogLevel{1, 3})));
}

TEST_F(IncreaseLogging, TakesANameInAnotherCaseForAnotherTarget)
{
    List("abc", "DebugLevel = 1\n", "DiagnosticLevel = 3\n");
    List("ABC", "DebugLevel = 2\n", "DiagnosticLevel = 4\n");
    Raise("abc");
    Raise("ABC");
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("ABC", LogLevel{2, 4}), Pair("abc", LogLevel{1, 3})));
}

// ---- Processes that log under ids
// ------------------------------------------------------------------------------

namespace
{
struct IdCase
{
    const char* mProcessName;
    const char* mFirst;
    const char* mSecond;

    friend std::ostream& operator<<(std::ostream& out, const IdCase& row) { return out << row.mProcessName; }
};

class IncreaseLoggingById : public LogLevelFixture, public testing::WithParamInterface<IdCase>
{
};
} // namespace

TEST_P(IncreaseLoggingById, RaisesTheIdsAndNeverTheName)
{
    const auto& [name, first, second] = GetParam();
    List(first, "DebugLevel = 1\n", "DiagnosticLevel = 2\n");
    List(second, "DebugLevel = 3\n", "DiagnosticLevel = 4\n");
    Raise(name);
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetDebugLine(first), GetDiagnosticLine(first), GetRaiseLine(first),
                            GetDebugLine(second), GetDiagnosticLine(second), GetRaiseLine(second)));
    EXPECT_THAT(mConfig->mLogLevelMap,
                ElementsAre(Pair(first, LogLevel{1, 2}), Pair(second, LogLevel{3, 4})));
    mScript.mLines.clear();
    Raise(name);
    EXPECT_THAT(mScript.mLines, IsEmpty()) << "the ids are known";
}

INSTANTIATE_TEST_SUITE_P(Names, IncreaseLoggingById,
                         testing::Values(IdCase{"thwmc", "485", "495"}, IdCase{"ThWmc", "485", "495"},
                                         IdCase{"tbrd", "119", "128"}, IdCase{"TBRD", "119", "128"}));

TEST_F(IncreaseLogging, SkipsAnUnreadableFirstIdAndRaisesTheSecond)
{
    mConfig->mVerbose = 1;
    List("128", "DebugLevel = 3\n", "DiagnosticLevel = 4\n");
    Raise("tbrd");
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetDebugLine("119"), GetDiagnosticLine("119"), GetDebugLine("128"),
                            GetDiagnosticLine("128"), GetRaiseLine("128")));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("128", LogLevel{3, 4})));
    EXPECT_THAT(GetLogLines(), ElementsAre("Original DebugLevel for process 128 is : 3.",
                                           "Original DiagnosticLevel for process 128 is : 4.",
                                           "mDiagnosticLevel and  DebugLevel for the process 128 set to 6."));
}

TEST_F(IncreaseLogging, LetsAnUnreadableSecondIdInheritTheLevelsOfTheFirst)
{
    List("119", "DebugLevel = 1\n", "DiagnosticLevel = 2\n");
    Raise("tbrd");
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetDebugLine("119"), GetDiagnosticLine("119"), GetRaiseLine("119"),
                            GetDebugLine("128"), GetDiagnosticLine("128"), GetRaiseLine("128")));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("119", LogLevel{1, 2}), Pair("128", LogLevel{1, 2})));
}

TEST_F(IncreaseLogging, InheritsEachLevelByItself)
{
    List("119", "DebugLevel = 1\n", "");
    List("128", "", "DiagnosticLevel = 4\n");
    Raise("tbrd");
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("128", LogLevel{1, 4})));
}

TEST_F(IncreaseLogging, PassesOverAnIdThatIsRaisedAlready)
{
    mConfig->mLogLevelMap["119"] = {5, 5};
    List("119", "DebugLevel = 1\n", "DiagnosticLevel = 2\n");
    List("128", "DebugLevel = 3\n", "DiagnosticLevel = 4\n");
    Raise("tbrd");
    EXPECT_THAT(mScript.mLines,
                ElementsAre(GetDebugLine("128"), GetDiagnosticLine("128"), GetRaiseLine("128")));
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("119", LogLevel{5, 5}), Pair("128", LogLevel{3, 4})));
}

TEST_F(IncreaseLogging, GivesUpAProcessWhoseOwnNameIsSaved)
{
    mConfig->mLogLevelMap["tbrd"] = {5, 5};
    Raise("tbrd");
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

// ---- Listings
// --------------------------------------------------------------------------------------------------

namespace
{
struct ListingCase
{
    const char* mName;
    std::string mListing;
    int mLevel;

    friend std::ostream& operator<<(std::ostream& out, const ListingCase& row) { return out << row.mName; }
};

class LevelListing : public LogLevelFixture, public testing::WithParamInterface<ListingCase>
{
};
} // namespace

TEST_P(LevelListing, GivesTheNumberAfterItsFirstMark)
{
    mConfig->mVerbose = 1;
    List("abc", GetParam().mListing, GetParam().mListing);
    Raise("abc");
    const int level = GetParam().mLevel;
    EXPECT_THAT(mConfig->mLogLevelMap, ElementsAre(Pair("abc", LogLevel{level, level})));
    EXPECT_EQ(GetLogLines().at(0), "Original DebugLevel for process abc is : " + std::to_string(level) + ".");
    EXPECT_EQ(GetLogLines().at(1),
              "Original DiagnosticLevel for process abc is : " + std::to_string(level) + ".");
}

INSTANTIATE_TEST_SUITE_P(
    Outputs, LevelListing,
    testing::Values(
        ListingCase{"Line", "\tDebugLevel = 4\n", 4}, ListingCase{"Zero", "Level = 0\n", 0},
        ListingCase{"FirstOfTwoLines", "DebugLevel = 2\nDebugOther = 3\n", 2},
        ListingCase{"Wide", "Level = 100000\n", 100000}, ListingCase{"Negative", "Level = -7\n", -7},
        ListingCase{"MoreBlanks", "Level =    5\n", 5}, ListingCase{"NoNumber", "Level = high\n", 0},
        ListingCase{"NothingAfterTheMark", "Level = ", 0}, ListingCase{"NumberThenText", "Level = 3of6\n", 3},
        ListingCase{"Hex", "Level = 0x10\n", 0}, ListingCase{"NoMark", "DebugLevel=4\n", 0},
        ListingCase{"NoMarkNumberAtThird", "xy17\n", 17}, ListingCase{"TwoCharacters", "x\n", 0},
        ListingCase{"MarkAtStart", " = 9\n", 9}, ListingCase{"Binary", std::string("\0\xff = \x01", 6), 0},
        ListingCase{"Huge", std::string(1000000, 'x') + " = 8\n", 8}),
    [](const auto& test) { return test.param.mName; });

TEST_F(IncreaseLogging, SkipsATargetThatIsNotListedAtAll)
{
    mConfig->mVerbose = 1;
    Raise("abc");
    EXPECT_THAT(mScript.mLines, ElementsAre(GetDebugLine("abc"), GetDiagnosticLine("abc")));
    EXPECT_THAT(mConfig->mLogLevelMap, IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
    Raise("abc");
    EXPECT_EQ(mScript.mLines.size(), 4U) << "it is tried again at the next breach";
}

TEST_F(IncreaseLogging, SkipsATargetWithOneLevelListed)
{
    List("abc", "DebugLevel = 1\n", "");
    List("def", "", "DiagnosticLevel = 1\n");
    Raise("abc");
    Raise("def");
    EXPECT_THAT(mScript.mLines, ElementsAre(GetDebugLine("abc"), GetDiagnosticLine("abc"),
                                            GetDebugLine("def"), GetDiagnosticLine("def")));
    EXPECT_THAT(mConfig->mLogLevelMap, IsEmpty());
}

TEST_F(IncreaseLogging, SkipsATargetWhoseListedLevelIsMinusOne)
{
    List("abc", "DebugLevel = -1\n", "DiagnosticLevel = 1\n");
    Raise("abc");
    EXPECT_THAT(mConfig->mLogLevelMap, IsEmpty());
}

// ---- A listing of one character
// --------------------------------------------------------------------------------

TEST_F(IncreaseLogging, RaisesAnErrorThatItDoesNotCatchOnAListingOfOneCharacter)
{
    List("abc", "\n", "DiagnosticLevel = 1\n");
    List("def", "DebugLevel = 1\n", "x");
    EXPECT_THROW(Raise("abc"), std::out_of_range);
    EXPECT_THROW(Raise("def"), std::out_of_range);
    EXPECT_THAT(mConfig->mLogLevelMap, IsEmpty());
}

TEST_F(IncreaseLogging, EndsTheProgramWhenThatErrorArisesInThePassOfAThread)
{
    mConfig->mCaptureWithoutThreshold = 1;
    mConfig->mIncreaseLogLevel = 1;
    mConfig->mProcessNameAndProcessIDMap.emplace("abc", 42);
    mConfig->mProcessIDAndProcessNameMap.emplace(42, "abc");
    List("abc", "x", "");
    mConfig->mCPUCounterMgr->AddCounterHelper("abc", "", "");
    const auto pass = [](void* manager) -> void* {
        static_cast<CounterMgr*>(manager)->HandleThresholdBreach();
        return nullptr;
    };
    const auto runPassOnAThread = [&] {
        pthread_t thread = {};
        ASSERT_EQ(pthread_create(&thread, nullptr, pass, mConfig->mCPUCounterMgr), 0);
        (void)pthread_join(thread, nullptr); // it never ends by itself
    };
    EXPECT_EXIT(runPassOnAThread(), testing::KilledBySignal(SIGABRT), "out_of_range");
}
