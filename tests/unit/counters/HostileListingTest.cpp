// Process listings that no well-behaved process would cause: through the parser alone, and through the shell.

#include "config/ConfigurationMgr.h"
#include "platform/ToolHost.h"
#include "platform/UnixHelperFunction.h"
#include "support/ScriptedHelper.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{
const std::string NUL(1, '\0');
constexpr std::size_t MEGABYTE = 1 << 20;

using IdTable = std::map<int, std::string>;

struct ListingCase
{
    const char* mName;
    std::string mOutput;
    IdTable mIds;
    std::multimap<std::string, int> mNames; ///< with "java" monitored
};

const ListingCase LISTINGS[] = {
    {"EmptyLinesStandForProcessZero", "\n\n7 java\n\n", {{0, ""}, {7, "java"}}, {{"java", 7}}},
    {"LinesOfBlanks", "   \n7 java\n", {{0, ""}, {7, "java"}}, {{"java", 7}}},
    {"ManyBlanks",
     std::string(5000, ' ') + "7" + std::string(5000, ' ') + "java" + std::string(5000, ' ') + "-x \n",
     {{7, "java"}},
     {{"java", 7}}},
    {"TabsAreNoSeparators", "7\tjava\n", {{7, ""}}, {}},
    {"IdWithoutCommand", "7\n8 java\n", {{7, ""}, {8, "java"}}, {{"java", 8}}},
    {"CommandWithoutId", "java\n8 java\n", {{0, ""}, {8, "java"}}, {{"java", 8}}},
    {"NoNumber", "PID COMMAND\n", {{0, "COMMAND"}}, {}},
    {"DigitsWithATail", "7x java\n", {{7, "java"}}, {{"java", 7}}},
    {"NegativeId", "-7 java\n", {{-7, "java"}}, {{"java", -7}}},
    {"IdBeyondThirtyTwoBits", "4294967303 java\n", {{7, "java"}}, {{"java", 7}}},
    {"QuotesAndMetacharacters",
     "7 /opt/\"a'b`$(touch" + std::string(" /tmp/x)\n8 ;rm|&java\n"),
     {{7, "\"a'b`$(touch"}, {8, ";rm|&java"}},
     {}},
    {"LineFeedInACommandMakesALineOfItsOwn",
     "7 java -Dtext=one\n8 exampled forged\n",
     {{7, "java"}, {8, "exampled"}},
     {{"java", 7}}},
    {"CarriageReturnIsPartOfTheName", "7 java\r\n", {{7, "java\r"}}, {}},
    {"NotUtf8", "7 /opt/\xff\xfe\x80/\xc3(\n8 \xf0\x9f\n", {{7, "\xc3("}, {8, "\xf0\x9f"}}, {}},
    {"NulEndsTheLine", "7 ja" + NUL + "va\n8 java" + NUL + " x\n", {{7, "ja"}, {8, "java"}}, {{"java", 8}}},
    {"NulFirst", NUL + "7 java\n8 java\n", {{0, ""}, {8, "java"}}, {{"java", 8}}},
    {"SlashesAlone", "7 /\n8 ///\n", {{7, "/"}, {8, "/"}}, {}},
    {"TrailingSlash", "7 /opt/java/\n", {{7, "java"}}, {{"java", 7}}},
    {"PathOfFourKilobytes",
     "7 /" + std::string(4096, 'd') + "/java\n8 " + std::string(4096, 'n') + "\n",
     {{7, "java"}, {8, std::string(4096, 'n')}},
     {{"java", 7}}},
    {"LineOfAMegabyte",
     "7 java " + std::string(MEGABYTE, 'a') + "\n8 " + std::string(MEGABYTE, 'n') + "\n9 java\n",
     {{7, "java"}, {8, std::string(MEGABYTE, 'n')}, {9, "java"}},
     {{"java", 7}, {"java", 9}}},
    {"CutInTheMiddleOfALine", "7 java\n8 ja", {{7, "java"}, {8, "ja"}}, {{"java", 7}}},
    {"CutAfterTheId", "7 java\n8", {{7, "java"}, {8, ""}}, {{"java", 7}}},
    {"BinaryMatchOfTheFilter", "grep: (standard input): binary file matches\n", {{0, "(standard"}}, {}},
};

class HostileListing : public ScriptedPsHost
{
protected:
    void SetUp() override
    {
        ScriptedPsHost::SetUp();
        if (IsSkipped()) {
            return;
        }
        mConfig->mDaemonPid = 999;
        mConfig->mMonitoredProcessNames = {"java"};
    }
};

class HostileListingTables : public HostileListing, public testing::WithParamInterface<ListingCase>
{
};

} // namespace

TEST_P(HostileListingTables, HoldWhatItsWordsSay)
{
    HelperScript script;
    script.mAnswer = [](const std::string& /*line*/) { return GetParam().mOutput; };
    ScriptedHelper<> helper(script);
    for (const int gate : {0, 1}) {
        mConfig->mVerbose = gate;
        IdTable ids;
        helper.PopulateProcessIDAndProcessNameMap(ids);
        EXPECT_EQ(ids, GetParam().mIds);
        std::multimap<std::string, int> names;
        helper.PopulateProcessNameAndProcessIDMap(names);
        EXPECT_EQ(names, GetParam().mNames);
    }
}

INSTANTIATE_TEST_SUITE_P(All, HostileListingTables, testing::ValuesIn(LISTINGS),
                         [](const auto& test) { return test.param.mName; });

// ---- Through the shell, with the host's own filters

TEST_F(HostileListing, IsFilteredByNamesAndInstallRootAnywhereInTheLine)
{
    SetListing("1 /sbin/init\n"
               "7 /opt/jre/bin/java -x\n"
               "8 /usr/tarnv/tarnhaven/bin/other\n"
               "9 sh -c 'echo java'\n"
               "10 JAVA\n");
    IdTable ids;
    UnixHelperFunction().PopulateProcessIDAndProcessNameMap(ids);
    EXPECT_THAT(ids, ElementsAre(Pair(7, "java"), Pair(8, "other"), Pair(9, "sh")));
    EXPECT_EQ(GetPsArguments(), "-eo pid,command\n");
}

TEST_F(HostileListing, PassesQuotesBlanksAndHugeLinesThroughTheShell)
{
    const std::string name(4096, 'n');
    SetListing("7 /opt/\"$(touch /tmp/forged)/java\n8 java `touch /tmp/forged` ';\"\n9 /usr/tarnv/" + name +
               " " + std::string(MEGABYTE, 'a') + "\n  10     java");
    IdTable ids;
    UnixHelperFunction().PopulateProcessIDAndProcessNameMap(ids);
    EXPECT_THAT(ids, ElementsAre(Pair(7, "\"$(touch"), Pair(8, "java"), Pair(9, name), Pair(10, "java")));
    EXPECT_FALSE(std::filesystem::exists("/tmp/forged"));
}

TEST_F(HostileListing, WithANulIsSurvived)
{
    SetListing("7 java\n8 ja" + NUL + "va java\n");
    IdTable ids;
    UnixHelperFunction().PopulateProcessIDAndProcessNameMap(ids); // what the filter says of it is the host's
    SetListing("7 java\n");
    UnixHelperFunction().PopulateProcessIDAndProcessNameMap(ids);
    EXPECT_THAT(ids, ElementsAre(Pair(7, "java")));
}

TEST_F(HostileListing, OfAFailingToolLeavesTheTablesEmpty)
{
    mHost.Provide("/usr/bin/ps", "#!/bin/sh\nexit 1\n");
    IdTable ids = {{7, "java"}};
    std::multimap<std::string, int> names = {{"java", 7}};
    UnixHelperFunction().PopulateProcessIDAndProcessNameMap(ids);
    UnixHelperFunction().PopulateProcessNameAndProcessIDMap(names);
    EXPECT_THAT(ids, IsEmpty());
    EXPECT_THAT(names, IsEmpty());
}

TEST_F(HostileListing, FindsTheMarkedJavaProcessAndNotItsOwnGrep)
{
    UnixHelperFunction helper;
    const std::string own = "6 " + CmdPath().mGrep + " -e Dthwmc java\n";
    SetListing(own + "7 /opt/jre/bin/java -Dother\n8 /opt/jre/bin/java -Dthwmc\n9 java -Dthwmc\n");
    EXPECT_EQ(helper.GetTarnhavenJavaProcesses("Dthwmc"), 8);
    SetListing(own + "7 /opt/jre/bin/java -Dother\n");
    EXPECT_EQ(helper.GetTarnhavenJavaProcesses("Dthwmc"), -1);
}

TEST_F(HostileListing, OfOwnersIsMatchedByTheWholeId)
{
    UnixHelperFunction helper;
    SetListing("    PID USER\n  47110 other\n   471 other\n  4711 tarnweb\n");
    EXPECT_EQ(helper.GetUserOfProcess(4711), "tarnweb");
    EXPECT_EQ(helper.GetUserOfProcess(47), "root");
    EXPECT_EQ(GetPsArguments(), "-eo pid,user\n");
}

TEST_F(HostileListing, OfRandomBytesYieldsNoMoreProcessesThanLines)
{
    HelperScript script;
    std::string listing;
    script.mAnswer = [&listing](const std::string& /*line*/) { return listing; };
    ScriptedHelper<> helper(script);
    std::mt19937 random(GetRandomSeed());
    const std::string alphabet = "0123456789-/. \n\n  java\t\r\xff\"'" + NUL;
    for (int round = 0; round < 2000; ++round) {
        listing.clear();
        for (std::size_t length = random() % 200; length > 0; --length) {
            listing += alphabet[random() % alphabet.size()];
        }
        IdTable ids;
        std::multimap<std::string, int> names;
        helper.PopulateProcessIDAndProcessNameMap(ids);
        helper.PopulateProcessNameAndProcessIDMap(names);
        const auto lines = std::count(listing.begin(), listing.end(), '\n') + 1;
        ASSERT_LE(ids.size(), static_cast<std::size_t>(lines));
        ASSERT_LE(names.size(), static_cast<std::size_t>(lines));
        for (const auto& [name, pid] : names) {
            ASSERT_EQ(name, "java");
            ASSERT_EQ(ids.count(pid), 1U);
        }
    }
}
