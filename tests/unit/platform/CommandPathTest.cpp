#include "platform/CommandPath.h"

#include "platform/ToolHost.h"

namespace
{
struct Tool
{
    std::string CmdPath::*mField;
    std::string mName;
    std::string mFallback;
};

const Tool TOOLS[] = {
    {&CmdPath::mAwk, "awk", "/bin/awk"},
    {&CmdPath::mCat, "cat", "/bin/cat"},
    {&CmdPath::mEcho, "echo", "/bin/echo"},
    {&CmdPath::mEgrep, "egrep", "/bin/egrep"},
    {&CmdPath::mFree, "free", "/bin/free"},
    {&CmdPath::mGcore, "gcore", "/usr/bin/gcore"}, // the one without a second place
    {&CmdPath::mGrep, "grep", "/bin/grep"},
    {&CmdPath::mGstack, "gstack", "/bin/gstack"},
    {&CmdPath::mIostat, "iostat", "/bin/iostat"},
    {&CmdPath::mLs, "ls", "/bin/ls"},
    {&CmdPath::mMpstat, "mpstat", "/bin/mpstat"},
    {&CmdPath::mNetstat, "netstat", "/bin/netstat"},
    {&CmdPath::mPmap, "pmap", "/bin/pmap"},
    {&CmdPath::mPs, "ps", "/bin/ps"},
    {&CmdPath::mSed, "sed", "/bin/sed"},
    {&CmdPath::mTop, "top", "/bin/top"},
    {&CmdPath::mVmstat, "vmstat", "/bin/vmstat"},
    {&CmdPath::mWc, "wc", "/bin/wc"},
    {&CmdPath::mWhich, "which", "/bin/which"},
};

/** A host on which /bin is a folder of its own and neither it nor /usr/bin holds any of the tools. */
class CommandPath : public ToolHost
{
protected:
    void SetUp() override
    {
        ToolHost::SetUp();
        if (IsSkipped()) {
            return;
        }
        for (const Tool& tool : TOOLS) {
            mHost.Remove("/usr/bin/" + tool.mName);
        }
        mHost.Remove("/bin"); // a link to /usr/bin on some
        std::filesystem::create_directory("/bin");
    }
};

struct Presence
{
    const char* mName;
    bool mInUsrBin;
    bool mInBin;
};

class CommandPathPresence : public CommandPath, public testing::WithParamInterface<Presence>
{
};
} // namespace

TEST_P(CommandPathPresence, DecidesByTheFirstPlaceAlone)
{
    for (const Tool& tool : TOOLS) {
        if (GetParam().mInUsrBin) {
            mHost.Provide("/usr/bin/" + tool.mName);
        }
        if (GetParam().mInBin) {
            mHost.Provide("/bin/" + tool.mName);
        }
    }
    const CmdPath tools;
    for (const Tool& tool : TOOLS) {
        EXPECT_EQ(tools.*tool.mField, GetParam().mInUsrBin ? "/usr/bin/" + tool.mName : tool.mFallback);
    }
}

INSTANTIATE_TEST_SUITE_P(OfAllTools, CommandPathPresence,
                         testing::Values(Presence{"InBothPlaces", true, true},
                                         Presence{"InUsrBinOnly", true, false},
                                         Presence{"InBinOnly", false, true},
                                         Presence{"Nowhere", false, false}),
                         [](const auto& test) { return test.param.mName; });

TEST_F(CommandPath, IsFoundForEachToolOnItsOwn)
{
    mHost.Provide("/usr/bin/ps");
    mHost.Provide("/bin/grep");
    const CmdPath tools;
    EXPECT_EQ(tools.mPs, "/usr/bin/ps");
    EXPECT_EQ(tools.mGrep, "/bin/grep");
    EXPECT_EQ(tools.mPmap, "/bin/pmap");
}

TEST_F(CommandPath, AcceptsWhateverExists)
{
    mHost.Provide("/usr/bin/ps", "", 0);
    std::filesystem::create_directory("/usr/bin/top");
    std::filesystem::create_symlink("/usr/bin/ps", "/usr/bin/awk");
    const CmdPath tools;
    EXPECT_EQ(tools.mPs, "/usr/bin/ps");
    EXPECT_EQ(tools.mTop, "/usr/bin/top");
    EXPECT_EQ(tools.mAwk, "/usr/bin/awk");
}

TEST_F(CommandPath, PassesOverALinkThatLeadsNowhere)
{
    std::filesystem::create_symlink("/no/such/ps", "/usr/bin/ps");
    EXPECT_EQ(CmdPath().mPs, "/bin/ps");
}

TEST_F(CommandPath, StaysAsItWasWhenTheObjectWasBuilt)
{
    const CmdPath before;
    mHost.Provide("/usr/bin/ps");
    EXPECT_EQ(before.mPs, "/bin/ps");
    EXPECT_EQ(CmdPath().mPs, "/usr/bin/ps");
}

TEST(CommandPathText, HasOneMoreBlankAtItsEnd)
{
    EXPECT_EQ(CmdPath::AppendSpace("/usr/bin/ps"), "/usr/bin/ps ");
    EXPECT_EQ(CmdPath::AppendSpace("/usr/bin/ps "), "/usr/bin/ps  ");
    EXPECT_EQ(CmdPath::AppendSpace(""), " ");
}

TEST(CommandPathText, IsAFileWhenSomethingLiesThere)
{
    CmdPath tools;
    EXPECT_TRUE(tools.IsFileExist("/"));
    EXPECT_TRUE(tools.IsFileExist("/proc/self/exe"));
    EXPECT_FALSE(tools.IsFileExist("/no/such/file"));
    EXPECT_FALSE(tools.IsFileExist(""));
}
