#include "page/parse/StackGroups.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

TEST(StackGroups, HoldThreadsOfOneStackAndState)
{
    StackGroups groups;
    EXPECT_TRUE(groups.Add("a", "", {"wait", "main"}));
    EXPECT_TRUE(groups.Add("b", "", {"spin", "main"}));
    EXPECT_TRUE(groups.Add("c", "", {"spin", "main"}));
    EXPECT_TRUE(groups.Add("d", "BLOCKED", {"spin", "main"}));
    const auto taken = groups.Take();
    ASSERT_EQ(taken.size(), 3U);
    EXPECT_EQ(taken[0].mThreads, (std::vector<std::string>{"b", "c"})) << "the largest comes first";
    EXPECT_EQ(taken[1].mThreads, (std::vector<std::string>{"a"}));
    EXPECT_EQ(taken[2].mState, "BLOCKED");
    EXPECT_TRUE(groups.Take().empty());
}

TEST(StackGroups, CountThreadsBeyondTheNamesThatTheyKeep)
{
    StackGroups groups;
    for (std::size_t thread = 0; thread < MOST_THREAD_NAMES + 5; ++thread) {
        groups.Add(std::to_string(thread), "", {"wait"});
    }
    const auto taken = groups.Take();
    ASSERT_EQ(taken.size(), 1U);
    EXPECT_EQ(taken[0].mThreads.size(), MOST_THREAD_NAMES);
    EXPECT_EQ(taken[0].mThreadCount, MOST_THREAD_NAMES + 5);
}

TEST(StackGroups, LeaveOutStacksBeyondTheirLimit)
{
    StackGroups groups;
    for (std::size_t stack = 0; stack < MOST_STACKS; ++stack) {
        EXPECT_TRUE(groups.Add("t", "", {std::to_string(stack)}));
    }
    EXPECT_FALSE(groups.Add("t", "", {"one more"}));
    EXPECT_TRUE(groups.Add("t", "", {"0"})) << "a known stack is no new one";
}

TEST(InnermostKnown, PassesOverFunctionsWithoutAName)
{
    EXPECT_EQ(GetInnermostKnown({"?? (libc.so.6)", "clock_nanosleep (libc.so.6)", "main"}),
              "clock_nanosleep (libc.so.6)");
    EXPECT_EQ(GetInnermostKnown({"main"}), "main");
    EXPECT_EQ(GetInnermostKnown({"?? (libx.so)", "??"}), "?? (libx.so)");
    EXPECT_EQ(GetInnermostKnown({}), "");
}

} // namespace
} // namespace ctl
