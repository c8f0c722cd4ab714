#include "config/ConfigurationMgr.h"
#include "platform/ToolHost.h"
#include "platform/UnixHelperFunction.h"
#include "support/ScriptedHelper.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{
constexpr int DAEMON_PID = 999;

class ProcessTables : public ConfigurationFixture
{
protected:
    void SetUp() override
    {
        ConfigurationFixture::SetUp();
        mConfig->mDaemonPid = DAEMON_PID;
        mConfig->mMonitoredProcessNames = {"java", "exampled"};
        mScript.mAnswer = [this](const std::string& /*line*/) { return mOutput; };
    }

    std::multimap<std::string, int> ReadNames(const std::string& listing)
    {
        std::multimap<std::string, int> table = {{"from before", 1}};
        mOutput = listing;
        mHelper.PopulateProcessNameAndProcessIDMap(table);
        return table;
    }

    std::map<int, std::string> ReadIds(const std::string& listing)
    {
        std::map<int, std::string> table = {{1, "from before"}};
        mOutput = listing;
        mHelper.PopulateProcessIDAndProcessNameMap(table);
        return table;
    }

    HelperScript mScript;
    ScriptedHelper<> mHelper{mScript};
    std::string mOutput; ///< of every shell line
};
} // namespace

// ---- The filter of monitored names

TEST_F(ProcessTables, FilterForAllNamesInOrderAndTheExtraWordLast)
{
    mConfig->mMonitoredProcessNames = {"tbrd", "java", "exampled"};
    EXPECT_EQ(mHelper.GetProcNameFilterForGrep("/usr/tarnv"), "exampled|java|tbrd|/usr/tarnv");
    EXPECT_EQ(mHelper.GetProcNameFilterForGrep(""), "exampled|java|tbrd");
}

TEST_F(ProcessTables, FilterForTheExtraWordAloneWithoutNames)
{
    mConfig->mMonitoredProcessNames.clear();
    EXPECT_EQ(mHelper.GetProcNameFilterForGrep("/usr/tarnv"), "/usr/tarnv");
    EXPECT_EQ(mHelper.GetProcNameFilterForGrep(""), "");
}

// ---- The pattern of a whole word

namespace
{
struct WrapCase
{
    const char* mName;
    bool mAnchorStart;
    bool mAnchorEnd;
    bool mSpaceAtStart;
    bool mSpaceAtEnd;
    const char* mPattern;
};

class ProcessTablesWrap : public testing::TestWithParam<WrapCase>
{
};

constexpr WrapCase WRAPS[] = {
    {"Bare", false, false, false, false, "\\<word\\>"},
    {"SpacesWithoutAnchors", false, false, true, true, "\\<word\\>"},
    {"Start", true, false, false, false, "^\\<word\\>"},
    {"StartWithSpace", true, false, true, false, "^[[:space:]]*\\<word\\>"},
    {"StartWithTheOtherSpace", true, false, false, true, "^\\<word\\>"},
    {"End", false, true, false, false, "\\<word\\>$"},
    {"EndWithSpace", false, true, false, true, "\\<word\\>[[:space:]]*$"},
    {"EndWithTheOtherSpace", false, true, true, false, "\\<word\\>$"},
    {"Both", true, true, false, false, "^\\<word\\>$"},
    {"BothWithSpaces", true, true, true, true, "^[[:space:]]*\\<word\\>[[:space:]]*$"},
};
} // namespace

TEST_P(ProcessTablesWrap, BindsTheWordAsAsked)
{
    const WrapCase& wrap = GetParam();
    EXPECT_EQ(UnixHelperFunction().GetCompleteMatchWrap("word", wrap.mAnchorStart, wrap.mAnchorEnd,
                                                        wrap.mSpaceAtStart, wrap.mSpaceAtEnd),
              wrap.mPattern);
}

INSTANTIATE_TEST_SUITE_P(All, ProcessTablesWrap, testing::ValuesIn(WRAPS),
                         [](const auto& test) { return test.param.mName; });

// ---- Both tables

TEST_F(ProcessTables, HoldTheBaseNameOfTheFirstWordOfTheCommand)
{
    const std::string listing = "  101 /usr/tarnv/tarnhaven/bin/exampled --with java\n"
                                "12345 /opt/jre/bin/java -Dthwmc tarn.thx.AdminConsole\n"
                                "  7   java\n";
    EXPECT_THAT(ReadNames(listing), ElementsAre(Pair("exampled", 101), Pair("java", 12345), Pair("java", 7)));
    EXPECT_THAT(ReadIds(listing), ElementsAre(Pair(7, "java"), Pair(101, "exampled"), Pair(12345, "java")));
}

TEST_F(ProcessTables, AreEmptyWithoutAListing)
{
    EXPECT_THAT(ReadNames(""), IsEmpty());
    EXPECT_THAT(ReadIds(""), IsEmpty());
}

TEST_F(ProcessTables, NeedOneRunOfTheListingEach)
{
    const std::string line = mHelper.mCmdPath->mPs + " -eo pid,command | " + mHelper.mCmdPath->mEgrep +
                             " \"exampled|java|/usr/tarnv\"";
    (void)ReadNames(""); // for the line it runs
    EXPECT_THAT(mScript.mLines, ElementsAre(line));
    (void)ReadIds("");
    EXPECT_THAT(mScript.mLines, ElementsAre(line, line));
    mOutput = "the output";
    EXPECT_EQ(mHelper.GetPidProcNamePairsOutput(), "the output");
}

TEST_F(ProcessTables, AskForOneProcessByThePatternOfTheHelperItself)
{
    /** A helper with a pattern of its own. */
    class OwnPattern : public ScriptedHelper<>
    {
    public:
        using ScriptedHelper::ScriptedHelper;
        std::string GetCompleteMatchWrap(std::string word, bool anchorStart, bool anchorEnd,
                                         bool spaceAtStart, bool spaceAtEnd) override
        {
            return word + (anchorStart ? " start" : "") + (anchorEnd ? " end" : "") +
                   (spaceAtStart ? " blank" : "") + (spaceAtEnd ? " trailing" : "");
        }
    };
    OwnPattern helper(mScript);
    (void)helper.GetUserOfProcess(77);
    (void)helper.GetCPUUsageForProcessInPercent("java", 78);
    EXPECT_THAT(mScript.mLines, ElementsAre(testing::EndsWith(" \"77 start blank\""),
                                            testing::EndsWith(" \"78 start blank\"")));
}

TEST_F(ProcessTables, LeaveTheDaemonOutEvenWhenItsNameIsMonitored)
{
    mConfig->mMonitoredProcessNames.insert("thsentinel");
    const std::string listing = " 998 /usr/tarnv/tarnhaven/bin/thsentinel\n"
                                " 999 /usr/tarnv/tarnhaven/bin/thsentinel\n"
                                "9999 /usr/tarnv/tarnhaven/bin/thsentinel\n";
    EXPECT_THAT(ReadNames(listing), ElementsAre(Pair("thsentinel", 998), Pair("thsentinel", 9999)));
    EXPECT_THAT(ReadIds(listing), ElementsAre(Pair(998, "thsentinel"), Pair(9999, "thsentinel")));
}

TEST_F(ProcessTables, CutACommandAtItsFirstBlank)
{
    EXPECT_THAT(ReadIds("101 /opt/Some Folder/exampled\n"), ElementsAre(Pair(101, "Some")));
}

TEST_F(ProcessTables, ReadALastLineWithoutALineFeed)
{
    EXPECT_THAT(ReadIds("101 java\n102 exampled"), ElementsAre(Pair(101, "java"), Pair(102, "exampled")));
}

TEST_F(ProcessTables, NoteProcessesFromOutsideTheProductAndKeepThem)
{
    mConfig->mVerbose = 1;
    const std::string listing = "101 /usr/tarnv/tarnhaven/bin/exampled\n"
                                "102 exampled\n"
                                "103 ./java\n"
                                "104 /mnt/usr/tarnv/java\n";
    EXPECT_THAT(ReadNames(listing), ElementsAre(Pair("exampled", 101), Pair("exampled", 102),
                                                Pair("java", 103), Pair("java", 104)));
    EXPECT_THAT(GetLogLines(), ElementsAre("Inserting in to multimap processNameAndIDMap <exampled : 101> ",
                                           "exampled(102) process is running with basename",
                                           "Inserting in to multimap processNameAndIDMap <exampled : 102> ",
                                           "java(103) process is running with basename",
                                           "Inserting in to multimap processNameAndIDMap <java : 103> ",
                                           "Inserting in to multimap processNameAndIDMap <java : 104> "));
}

TEST_F(ProcessTables, LogTheDaemonAndUnmonitoredProcessesTooBeforeTheyAreDropped)
{
    mConfig->mVerbose = 1;
    EXPECT_THAT(ReadNames("999 thsentinel\n55 sh -c java\n"), IsEmpty());
    EXPECT_THAT(GetLogLines(), ElementsAre("thsentinel(999) process is running with basename",
                                           "sh(55) process is running with basename"));
}

TEST_F(ProcessTables, LogNothingUnlessVerbose)
{
    for (const int gate : {0, 2, -1}) {
        mConfig->mVerbose = gate;
        EXPECT_EQ(ReadNames("101 java\n").size(), 1U);
        EXPECT_EQ(ReadIds("101 java\n").size(), 1U);
    }
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

// ---- The name table

TEST_F(ProcessTables, HoldAProcessThatRunsTwiceTwiceByName)
{
    EXPECT_THAT(ReadNames("102 exampled\n101 exampled\n"),
                ElementsAre(Pair("exampled", 102), Pair("exampled", 101)));
}

TEST_F(ProcessTables, HoldOnlyMonitoredNamesByName)
{
    EXPECT_THAT(ReadNames("51 sh -c ps | egrep \"exampled|java|/usr/tarnv\"\n"
                          "52 /usr/bin/egrep exampled|java|/usr/tarnv\n"
                          "53 /usr/tarnv/tarnhaven/bin/other\n"
                          "54 exampled2\n"
                          "55 Java\n"),
                IsEmpty());
    mConfig->mMonitoredProcessNames.insert("egrep");
    EXPECT_THAT(ReadNames("52 /usr/bin/egrep egrep|java\n"), ElementsAre(Pair("egrep", 52)));
}

TEST_F(ProcessTables, HoldAPairOnceByName)
{
    mConfig->mVerbose = 1;
    EXPECT_THAT(ReadNames("101 /usr/tarnv/java\n102 /usr/tarnv/java\n101 /usr/tarnv/jre/java\n"),
                ElementsAre(Pair("java", 101), Pair("java", 102)));
    EXPECT_THAT(GetLogLines(), ElementsAre("Inserting in to multimap processNameAndIDMap <java : 101> ",
                                           "Inserting in to multimap processNameAndIDMap <java : 102> "));
}

TEST_F(ProcessTables, HoldOneIdUnderTwoNames)
{
    EXPECT_THAT(ReadNames("101 java\n101 exampled\n"), ElementsAre(Pair("exampled", 101), Pair("java", 101)));
}

// ---- The id table

TEST_F(ProcessTables, HoldEveryListedProcessById)
{
    EXPECT_THAT(ReadIds("51 sh -c ps\n52 /usr/bin/egrep exampled|java\n"),
                ElementsAre(Pair(51, "sh"), Pair(52, "egrep")));
}

TEST_F(ProcessTables, KeepTheFirstNameOfAnIdAndLogBoth)
{
    mConfig->mVerbose = 1;
    EXPECT_THAT(ReadIds("101 /usr/tarnv/java\n101 /usr/tarnv/exampled\n"), ElementsAre(Pair(101, "java")));
    EXPECT_THAT(GetLogLines(), ElementsAre("Inserting in to multimap processIDAndNameMap <java : 101> ",
                                           "Inserting in to multimap processIDAndNameMap <exampled : 101> "));
}

TEST_F(ProcessTables, CallAProcessAliveThatTheIdTableHolds)
{
    mConfig->mProcessIDAndProcessNameMap = {{101, "java"}, {102, ""}};
    EXPECT_TRUE(mHelper.isProcessAlive(101));
    EXPECT_TRUE(mHelper.isProcessAlive(102));
    EXPECT_FALSE(mHelper.isProcessAlive(103));
    EXPECT_FALSE(mHelper.isProcessAlive(getpid()));
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

// ---- A Java process by its marker

namespace
{
struct MarkerCase
{
    const char* mName;
    const char* mOutput;
    int mPid;
};

class ProcessTablesMarker : public ProcessTables, public testing::WithParamInterface<MarkerCase>
{
};

constexpr MarkerCase MARKERS[] = {
    {"OneLine", "  4711 /opt/jre/bin/java -Dthwmc\n", 4711},
    {"FirstOfTwoLines", " 12 /opt/jre/bin/java -Dthwmc\n 13 java -Dthwmc\n", 12},
    {"NoLine", "", -1},
    {"One", "1 java -Dthwmc\n", 1},
    {"Zero", "0 java -Dthwmc\n", -1},
    {"Negative", "-5 java -Dthwmc\n", -1},
    {"NoNumber", "egrep: out of memory\n", -1},
    {"BlanksAlone", "   ", -1},
    {"LinesOfIdsRunTogether", "12\n13 java\n", 1213},
};
} // namespace

TEST_P(ProcessTablesMarker, LeadsToTheFirstProcessIdOrMinusOne)
{
    mOutput = GetParam().mOutput;
    EXPECT_EQ(mHelper.GetTarnhavenJavaProcesses("Dthwmc"), GetParam().mPid);
    const CmdPath& tools = *mHelper.mCmdPath;
    EXPECT_THAT(
        mScript.mLines,
        ElementsAre(tools.mPs + " -eo pid,command | " + tools.mEgrep + " \"exampled|java|/usr/tarnv\" | " +
                    tools.mGrep + " -e \"Dthwmc\" | " + tools.mGrep + " -v \"" + tools.mGrep + "\""));
}

INSTANTIATE_TEST_SUITE_P(All, ProcessTablesMarker, testing::ValuesIn(MARKERS),
                         [](const auto& test) { return test.param.mName; });

// ---- The owner of a process

namespace
{
struct OwnerCase
{
    const char* mName;
    const char* mOutput;
    const char* mOwner;
};

class ProcessTablesOwner : public ProcessTables, public testing::WithParamInterface<OwnerCase>
{
};

constexpr OwnerCase OWNERS[] = {
    {"OrdinaryUser", " 4711 tarnweb\n", "tarnweb"},
    {"Superuser", " 4711 root\n", "root"},
    {"WithManyBlanks", "   4711     tarnweb   \n", "tarnweb"},
    {"NumberOfAUserWithoutName", "4711 1001\n", "1001"},
    {"NoLine", "", "root"},
    {"AnotherProcess", "471 tarnweb\n", "root"},
    {"TextOfAFailure", "error: unsupported option\n", "root"},
    {"NameIsTakenAsAPath", "4711 domain/tarnweb\n", "tarnweb"},
    {"NameIsMissing", "4711\n", ""},
};
} // namespace

TEST_P(ProcessTablesOwner, IsTheSecondWordAfterTheRightId)
{
    mOutput = GetParam().mOutput;
    EXPECT_EQ(mHelper.GetUserOfProcess(4711), GetParam().mOwner);
}

INSTANTIATE_TEST_SUITE_P(All, ProcessTablesOwner, testing::ValuesIn(OWNERS),
                         [](const auto& test) { return test.param.mName; });

TEST_F(ProcessTables, GiveTheWebServersTempFolderToProcessesOfOthers)
{
    GetSeams().mGetuid = [] { return 0; };
    mOutput = "4711 tarnweb\n";
    EXPECT_EQ(mHelper.GetTempPathBasedOnUserContext(4711), "/usr/tarnv/wmc/webserver/temp");
}

TEST_F(ProcessTables, GiveTheProductsTempFolderToProcessesOfTheSuperuser)
{
    GetSeams().mGetuid = [] { return 0; };
    for (const char* const output : {"4711 root\n", ""}) {
        mOutput = output;
        EXPECT_EQ(mHelper.GetTempPathBasedOnUserContext(4711), "/usr/tarnv/tmp");
    }
    EXPECT_EQ(mScript.mLines.size(), 2U);
}

TEST_F(ProcessTables, GiveTheProductsTempFolderWithoutALookupWhenNotTheSuperuser)
{
    GetSeams().mGetuid = [] { return 1001; };
    mOutput = "4711 tarnweb\n";
    EXPECT_EQ(mHelper.GetTempPathBasedOnUserContext(4711), "/usr/tarnv/tmp");
    EXPECT_THAT(mScript.mLines, IsEmpty());
}
