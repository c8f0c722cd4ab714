#include "platform/SUSECommandPath.h"

#include "platform/ToolHost.h"

using SUSECommandPath = HostTest;

TEST_F(SUSECommandPath, TakesNetstatFromBinEvenWhenItLiesInUsrBin)
{
    ProvideTool("/usr/bin/netstat");
    EXPECT_EQ(CmdPath().mNetstat, "/usr/bin/netstat");
    EXPECT_EQ(SuseCmdPath().mNetstat, "/bin/netstat");
}

TEST_F(SUSECommandPath, TakesNetstatFromBinWhenItLiesNowhere)
{
    std::filesystem::remove("/usr/bin/netstat");
    std::filesystem::remove("/bin/netstat");
    EXPECT_EQ(SuseCmdPath().mNetstat, "/bin/netstat");
}

TEST_F(SUSECommandPath, FindsEveryOtherToolAsElsewhere)
{
    ProvideTool("/usr/bin/gstack");
    std::filesystem::remove("/usr/bin/vmstat");
    const CmdPath usual;
    const SuseCmdPath suse;
    for (std::string CmdPath::*const tool :
         {&CmdPath::mAwk, &CmdPath::mCat, &CmdPath::mEcho, &CmdPath::mEgrep, &CmdPath::mFree,
          &CmdPath::mGcore, &CmdPath::mGrep, &CmdPath::mGstack, &CmdPath::mIostat, &CmdPath::mLs,
          &CmdPath::mMpstat, &CmdPath::mPmap, &CmdPath::mPs, &CmdPath::mSed, &CmdPath::mTop,
          &CmdPath::mVmstat, &CmdPath::mWc, &CmdPath::mWhich}) {
        EXPECT_EQ(suse.*tool, usual.*tool);
    }
    EXPECT_EQ(suse.mGstack, "/usr/bin/gstack");
    EXPECT_EQ(suse.mVmstat, "/bin/vmstat");
}
