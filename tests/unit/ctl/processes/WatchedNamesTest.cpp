#include "processes/WatchedNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ctl::NameMatch;
using ctl::Process;
using ctl::WatchedNames;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

NameMatch Find(const std::string& name, std::vector<Process> processes, int ownPid = 0)
{
    return WatchedNames(std::move(processes), ctl::GetTableNames({name}), ownPid).Find(name);
}

} // namespace

TEST(ProcessName, IsTheLastPartOfTheFirstWord)
{
    EXPECT_EQ((Process{1, "/opt/bin/exampled -d /x"}).GetName(), "exampled");
    EXPECT_EQ((Process{1, "exampled"}).GetName(), "exampled");
    EXPECT_EQ((Process{1, "/opt/with blank/exampled"}).GetName(), "with");
    EXPECT_EQ((Process{1, "nginx: master"}).GetName(), "nginx:");
    EXPECT_EQ((Process{1, "/opt/dir/ x"}).GetName(), "dir");
    EXPECT_EQ((Process{1, "/"}).GetName(), "/");
    EXPECT_EQ((Process{1, ""}).GetName(), "");
}

TEST(WatchedNames, MatchEveryProcessOfTheName)
{
    EXPECT_THAT(Find("exampled", {{5, "/opt/exampled"}, {6, "exampled -x"}, {7, "/opt/other exampled"}}).pids,
                ElementsAre(5, 6));
}

TEST(WatchedNames, LeaveTheDaemonOut)
{
    EXPECT_THAT(Find("thsentinel", {{5, "thsentinel -start"}, {6, "thsentinel"}}, 5).pids, ElementsAre(6));
}

TEST(JavaNames, MatchTheFirstJavaProcessWithTheMarker)
{
    EXPECT_THAT(
        Find("thwmc", {{5, "/opt/java -cp x"}, {6, "/opt/java -Dthwmc"}, {7, "/opt/java -Dthwmc"}}).pids,
        ElementsAre(6));
    EXPECT_THAT(Find("adminconsole", {{5, "java tarn/thx.AdminConsole"}}).pids, ElementsAre(5))
        << "a dot stands for any character";
    EXPECT_THAT(Find("thwmc", {{5, "/opt/thwmc"}}).pids, IsEmpty());
}

TEST(JavaNames, AreHiddenByAWrapperThatComesFirst)
{
    const NameMatch match = Find("thwmc", {{5, "sh -c java -Dthwmc"}, {6, "java -Dthwmc"}});
    EXPECT_THAT(match.pids, IsEmpty());
    EXPECT_EQ(match.wrapper, 5);
}

TEST(JavaNames, AreNotHiddenByASearchForThem)
{
    EXPECT_THAT(Find("thwmc", {{5, "/usr/bin/grep -e Dthwmc java"}, {6, "java -Dthwmc"}}).pids,
                ElementsAre(6));
}

TEST(JavaNames, AreHiddenOnlyByLinesThatTheListingShows)
{
    EXPECT_THAT(Find("thwmc", {{5, "vi Dthwmc.txt"}, {6, "java -Dthwmc"}}).pids, ElementsAre(6));
}
