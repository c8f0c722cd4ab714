#include "platform/RhelHelperFunction.h"

#include "config/ConfigurationMgr.h"
#include "platform/ToolHost.h"

namespace
{
class RhelHelper : public ScriptedPsHost
{
protected:
    void SetUp() override
    {
        ScriptedPsHost::SetUp();
        if (!IsSkipped()) {
            mConfig->mMonitoredProcessNames = {"java", "exampled"};
        }
    }

    RhelHelperFunction mHelper;
};
} // namespace

TEST_F(RhelHelper, AsksPsForTheOneProcess)
{
    SetListing(" 4711 12.5 /opt/jre/bin/java -Dthwmc\n");
    EXPECT_EQ(mHelper.GetCPUUsageForProcessInPercent("java", 4711), 12.5);
    EXPECT_EQ(GetPsArguments(), "-q 4711 -o pid,%cpu,command\n");
}

TEST_F(RhelHelper, ReadsZeroForAnEndedProcess)
{
    SetListing("  PID %CPU COMMAND\n");
    EXPECT_EQ(mHelper.GetCPUUsageForProcessInPercent("java", 4711), 0.0);
}

TEST_F(RhelHelper, ReadsZeroForAProcessThatTheFilterDoesNotLetPass)
{
    SetListing(" 4711 12.5 /opt/other\n");
    EXPECT_EQ(mHelper.GetCPUUsageForProcessInPercent("other", 4711), 0.0);
}

TEST_F(RhelHelper, AsksForTheMemoryInTheGeneralForm)
{
    SetListing(" 4711 2048 java\n");
    EXPECT_EQ(mHelper.GetMemoryUsageForProcessInMB("java", 4711), 2.0);
    EXPECT_EQ(GetPsArguments(), "-eo pid,rss,command\n");
    EXPECT_EQ(mHelper.GetMemoryUsageForProcessInPercent("java", 4711), 2048.0);
    EXPECT_EQ(GetPsArguments(), "-eo pid,%mem,command\n");
}

TEST_F(RhelHelper, IsAskedForTheProcessorUseThroughABaseToo)
{
    UnixHelperFunction& base = mHelper;
    SetListing(" 4711 12.5 java\n");
    EXPECT_EQ(base.GetCPUUsageForProcessInPercent("java", 4711), 12.5);
    EXPECT_EQ(GetPsArguments(), "-q 4711 -o pid,%cpu,command\n");
}
