#include "processes/ToolRun.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

ToolRun RunShell(const std::string& script, const std::string& input = "",
                 std::chrono::milliseconds limit = std::chrono::seconds(60))
{
    return RunTool({"/bin/sh", "-c", script}, input, limit);
}

TEST(ToolRun, HasOutputAndStatus)
{
    const ToolRun run = RunShell("echo out; echo errors >&2; exit 7");
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.output, "out\n");
    EXPECT_FALSE(run.isTooLate);
}

TEST(ToolRun, FeedsMoreThanAPipeHoldsWhileItTakesTheOutput)
{
    const std::string input(1 << 20, 'x');
    EXPECT_EQ(RunTool({"/bin/cat"}, input).output, input);
}

TEST(ToolRun, OfAToolThatReadsNothingIsNoFailure)
{
    EXPECT_EQ(RunShell("echo out", std::string(1 << 20, 'x')).output, "out\n");
}

TEST(ToolRun, OfAToolThatIsNotThereHasNoStatus)
{
    EXPECT_EQ(RunTool({"/nowhere/tool"}).status, -1);
    EXPECT_EQ(RunTool({"/etc/passwd"}).status, -1);
}

TEST(ToolRun, OfAToolThatASignalEndedHasNoStatus)
{
    EXPECT_EQ(RunShell("kill -9 $$").status, -1);
}

TEST(ToolRun, EndsAToolThatDoesNot)
{
    const ToolRun run = RunTool({"/bin/sleep", "1000"}, "", std::chrono::milliseconds(50));
    EXPECT_TRUE(run.isTooLate);
    EXPECT_EQ(run.status, -1);
}

TEST(ToolRun, CutsOutputWithoutAnEnd)
{
    const ToolRun run = RunShell("head -c 20000000 /dev/zero");
    EXPECT_TRUE(run.isCut);
    EXPECT_LT(run.output.size(), std::size_t{17} << 20U);
    EXPECT_EQ(run.status, 0);
}

TEST(ToolRun, GivesWordsThatNoShellReads)
{
    EXPECT_EQ(RunTool({"/bin/echo", "$(id); *", "a b"}).output, "$(id); * a b\n");
}

} // namespace
} // namespace ctl
