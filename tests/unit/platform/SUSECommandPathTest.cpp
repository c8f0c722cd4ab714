#include "platform/SUSECommandPath.h"

#include "platform/ToolHost.h"

using SUSECommandPath = ToolHost;

TEST_F(SUSECommandPath, TakesNetstatFromBinEvenWhenItLiesInUsrBin)
{
    mHost.Provide("/usr/bin/netstat");
    EXPECT_EQ(CmdPath().mNetstat, "/usr/bin/netstat");
    EXPECT_EQ(SuseCmdPath().mNetstat, "/bin/netstat");
}

TEST_F(SUSECommandPath, TakesNetstatFromBinWhenItLiesNowhere)
{
    mHost.Remove("/usr/bin/netstat");
    ASSERT_FALSE(std::filesystem::exists("/usr/bin/netstat"));
    EXPECT_EQ(SuseCmdPath().mNetstat, "/bin/netstat");
}

TEST_F(SUSECommandPath, FindsEveryOtherToolAsElsewhere)
{
    mHost.Provide("/usr/bin/gstack");
    mHost.Remove("/usr/bin/vmstat");
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
