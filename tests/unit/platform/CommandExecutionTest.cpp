#include "config/ConfigurationMgr.h"
#include "platform/UnixHelperFunction.h"
#include "support/HostTest.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

using CommandExecution = HostTest;

TEST_F(CommandExecution, DeliversOutputAndTimesExitCodesBy256)
{
    UnixHelperFunction helper;
    std::string output = "old";
    EXPECT_EQ(helper.ExecuteCommandWithRc("echo out; exit 3", output), 768);
    EXPECT_EQ(output, "out\n");
}

TEST_F(CommandExecution, TracesLineOutputAndReturnCodeWhenVerbose)
{
    ConfigurationMgr::GetInstance()->mVerbose = 1;
    UnixHelperFunction helper;
    EXPECT_EQ(helper.ExecuteCommand("exit 3"), "");
    EXPECT_THAT(GetLogLines(), ElementsAre("Cmd:exit 3", "Output:", "ReturnCode:3"));
}
