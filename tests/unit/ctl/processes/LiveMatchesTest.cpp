#include "processes/LiveMatches.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "ctl/processes/ProcFolder.h"
#include "ctl/store/StoreDouble.h"

namespace ctl
{
namespace
{

using std::string_literals::operator""s;

/** A host of its own with 64 processors and 16 GB, up for 1000 s. */
class LiveFixture : public testing::Test
{
protected:
    void Look()
    {
        mLive = FindLive(mSettings, MakeNames(), mMachine, mFolder.GetProc());
        mFindings.clear();
        CheckLive(StoreOfKeys(std::map<std::string, std::string>()), mSettings, MakeNames(), mLive,
                  mFindings);
    }

    WatchedNames MakeNames() const
    {
        return {ReadProcesses(mFolder.GetProc()), GetTableNames(GetListedNames(mSettings)), 0};
    }

    /** The messages of a severity. */
    std::string Get(Severity severity) const
    {
        std::string text;
        for (const StoreFinding& finding : mFindings) {
            text += finding.severity == severity ? finding.message + "\n" : "";
        }
        return text;
    }

    std::uint64_t GetTicks(int seconds) const
    {
        return static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK)) * static_cast<std::uint64_t>(seconds);
    }

    ProcFolder mFolder;
    Settings mSettings;
    Machine mMachine = {64, 16 << 20, 0, 1000};
    LiveMatches mLive;
    StoreFindings mFindings;
};

TEST_F(LiveFixture, ReadsEachProcessOfANameAgainstItsLimit)
{
    mFolder.AddProcess(7, "/opt/tbrd\0-x\0"s, GetTicks(640), 0, 2048);
    mFolder.AddProcess(8, "tbrd\0"s);
    mFolder.AddProcess(9, "tbrd2\0"s);
    mSettings.cpu["tbrd"] = 1;
    mSettings.memory["tbrd"] = 5;
    mSettings.memory["absent"] = 5;
    Look();
    ASSERT_EQ(mLive.counters.size(), 4U);
    EXPECT_EQ(mLive.counters[0].pid, 7);
    EXPECT_DOUBLE_EQ(mLive.counters[0].reading, 1) << "640 s of 1000 s by 64 processors";
    EXPECT_EQ(mLive.counters[2].unit, "MB");
    EXPECT_DOUBLE_EQ(mLive.counters[2].reading, 2);
    ASSERT_EQ(mLive.unmatched.size(), 1U);
    EXPECT_EQ(mLive.unmatched[0].process, "absent");
}

TEST_F(LiveFixture, PassesOverProcessesThatEndOrAreUnreadable)
{
    mFolder.AddProcess(7, "tbrd\0"s);
    mFolder.Write("proc/7/stat", "");
    mFolder.Write("proc/8/nothing", "");
    mFolder.Write("proc/9x/cmdline", "tbrd");
    mFolder.Write("proc/99999999999/cmdline", "tbrd");
    mFolder.Write("proc/10/cmdline", std::string(300'000, 'x'));
    mSettings.cpu["tbrd"] = 1;
    Look();
    EXPECT_TRUE(mLive.counters.empty());
    EXPECT_EQ(mLive.unmatched.size(), 1U);
}

TEST_F(LiveFixture, CountsAProcessOfTwoNamesForTheFirstOfThemInEachResource)
{
    mFolder.AddProcess(7, "/opt/java\0-Dthwmc\0"s);
    mFolder.AddProcess(8, "/opt/java\0-Dtarn.thx.AdminConsole\0"s);
    mSettings.cpu = {{"adminconsole", 1}, {"java", 2}, {"thwmc", 90}};
    mSettings.memory = {{"thwmc", 90}};
    Look();
    std::string rows;
    for (const LiveCounter& counter : mLive.counters) {
        rows += std::string(GetName(counter.resource)) + " " + std::to_string(counter.pid) + " " +
                counter.process + "\n";
    }
    EXPECT_EQ(rows, "cpu 8 adminconsole\ncpu 7 java\nmemory 7 thwmc\n");
    ASSERT_EQ(mLive.unmatched.size(), 1U);
    EXPECT_EQ(mLive.unmatched[0].process, "thwmc");
    EXPECT_EQ(mLive.unmatched[0].takenPid, 7);
    EXPECT_EQ(mLive.unmatched[0].takenBy, "java");
    EXPECT_EQ(Get(Severity::Warning),
              "\"thwmc\" is never watched: process 7 is already watched as \"java\"\n");
}

TEST_F(LiveFixture, FindsAProcessWhoseNameHoldsControlCharacters)
{
    mFolder.AddProcess(7, "/opt/\x1b[2Jtbrd\0"s);
    mSettings.cpu["\x1b[2Jtbrd"] = 1;
    Look();
    EXPECT_EQ(mLive.counters.size(), 1U);
}

TEST_F(LiveFixture, SaysThatTheThreadsAreTooFewForALimit)
{
    mFolder.AddProcess(7, "tbrd\0"s); // with 3 threads
    mSettings.cpu["tbrd"] = 3;
    Look();
    EXPECT_EQ(Get(Severity::Info),
              "\"tbrd\": one busy thread is 1.562 % of 64 processors; it takes 3 to exceed the "
              "limit\n");
    EXPECT_EQ(Get(Severity::Warning), "");
    mSettings.cpu["tbrd"] = 4;
    Look();
    EXPECT_EQ(Get(Severity::Warning),
              "\"tbrd\": one busy thread is 1.562 % of 64 processors; it takes 4 to exceed the "
              "limit, and it has 3 threads, so it can't be reached\n");
    mSettings.cpu["tbrd"] = 100;
    Look();
    EXPECT_EQ(Get(Severity::Warning),
              "\"tbrd\": a reading never exceeds 100 percent, so this limit is never reached\n");
}

TEST_F(LiveFixture, RecommendsALimitThatTheThreadsCanExceed)
{
    mFolder.AddProcess(7, "tbrd\0"s); // with 3 threads, 4.68 % of 64 processors, which is read as 4
    mSettings.cpu["tbrd"] = 4;
    Look();
    ASSERT_EQ(mFindings.size(), 1u);
    EXPECT_EQ(mFindings[0].remedy, "give 3 at most");
}

TEST_F(LiveFixture, SaysThatMemoryBeyondTheHostIsNeverReached)
{
    mFolder.AddProcess(7, "tbrd\0"s);
    mSettings.memory["tbrd"] = 16384;
    Look();
    EXPECT_EQ(Get(Severity::Warning),
              "\"tbrd\": 16384 MB is no less than the memory of this host, 16384 MB, so the "
              "limit can't be reached\n");
    mSettings.memory["tbrd"] = 16383;
    Look();
    EXPECT_EQ(Get(Severity::Warning), "");
    mSettings.memoryUnit = "PERCENT";
    mSettings.memory["tbrd"] = 99;
    Look();
    ASSERT_EQ(
        Get(Severity::Warning),
        "\"tbrd\": the process listing shows 99.9 percent of the memory at most, which is read as 99, so "
        "a limit of 99 is never exceeded\n");
    EXPECT_EQ(mFindings.back().remedy, "give 98 at most, or megabytes with THHS_MEMORY_UNIT = ABSOLUTE");
    mSettings.memory["tbrd"] = 98;
    Look();
    EXPECT_EQ(Get(Severity::Warning), "");
}

struct NameRow
{
    const char* name;
    const char* message;
};

class UnmatchedNameOf : public LiveFixture, public testing::WithParamInterface<NameRow>
{
};

TEST_P(UnmatchedNameOf, IsExplained)
{
    mFolder.AddProcess(7, "/usr/bin/perl\0/opt/run.pl\0"s);
    mFolder.AddProcess(8, "server: worker\0"s);
    mFolder.AddProcess(9, "/opt/exampled\0"s);
    mFolder.AddProcess(10, "/bin/sh\0-c\0sleep 1; /opt/java -Dthwmc\0"s);
    mFolder.AddProcess(11, "/opt/java\0-Dthwmc\0"s);
    mSettings.cpu[GetParam().name] = 0;
    Look();
    EXPECT_EQ(Get(Severity::Warning), GetParam().message + "\n"s);
}

INSTANTIATE_TEST_SUITE_P(
    Names, UnmatchedNameOf,
    testing::Values(
        NameRow{
            "/opt/exampled",
            "\"/opt/exampled\" can never match: it is a path, and processes are known by the last part of "
            "theirs"},
        NameRow{"a b", "\"a b\" can never match: it holds a blank, and a command is cut at its first blank"},
        NameRow{"a\\b", "\"a\\b\" can never match: its backslash is read as a part of a regular expression"},
        NameRow{"run.pl",
                "\"run.pl\" can never match: process 7 runs it as a script, and is known as \"perl\""},
        NameRow{"server", "\"server\" can never match: process 8 calls itself \"server:\", and no name in a "
                          "list can hold a colon"},
        NameRow{"exampld", "\"exampld\" matches no process now; \"exampled\" is running"},
        NameRow{"absent.sh",
                "\"absent.sh\" matches no process now; if it is a script, it never will: scripts "
                "are known by their interpreter"},
        NameRow{"absent", "\"absent\" matches no process now"},
        NameRow{"adminconsole",
                "\"adminconsole\" matches no process now: no command line holds tarn.thx.AdminConsole"},
        NameRow{"thwmc", "\"thwmc\": the first command line with Dthwmc is that of process 10, \"/bin/sh -c "
                         "sleep 1; /opt/java -Dthwmc\", which is no java process: what it starts is never "
                         "watched"}));

TEST_F(LiveFixture, FindsAnOptionInTheFilter)
{
    mSettings.cpu["-x"] = 1;
    Look();
    EXPECT_EQ(Get(Severity::Error),
              "\"-x\" comes first in the filter of the process listing, where egrep takes it "
              "for an option: no process at all is found\n");
}

} // namespace
} // namespace ctl
