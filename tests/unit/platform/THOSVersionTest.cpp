#include "platform/THOSVersion.h"

#include "platform/ToolHost.h"

namespace
{
struct Release
{
    const char* mName;
    std::vector<std::string> mFiles;
    int mType;
};

const Release RELEASES[] = {
    {"None", {}, 2},
    {"RedHat", {REDHAT_RELEASE}, 0},
    {"Oracle", {ORACLE_RELEASE}, 0},
    {"Suse", {SUSE_RELEASE}, 1},
    {"OracleWithBothItsFiles", {REDHAT_RELEASE, ORACLE_RELEASE}, 0},
    {"RedHatBeforeSuse", {REDHAT_RELEASE, SUSE_RELEASE}, 0},
    {"OracleBeforeSuse", {ORACLE_RELEASE, SUSE_RELEASE}, 0},
    {"AllThree", {REDHAT_RELEASE, ORACLE_RELEASE, SUSE_RELEASE}, 0},
    {"AnotherDistribution", {"/etc/os-release", "/etc/suse-release", "/etc/SuSE-release.old"}, 2},
};

class THOSVersionRelease : public ToolHost, public testing::WithParamInterface<Release>
{
};

using THOSVersion = ToolHost;
} // namespace

TEST_P(THOSVersionRelease, IsChosenByTheFirstFileThatExists)
{
    for (const std::string& file : GetParam().mFiles) {
        mHost.Provide(file);
    }
    EXPECT_EQ(GetOSType(), GetParam().mType);
}

INSTANTIATE_TEST_SUITE_P(All, THOSVersionRelease, testing::ValuesIn(RELEASES),
                         [](const auto& test) { return test.param.mName; });

TEST_F(THOSVersion, DoesNotReadTheFile)
{
    mHost.Provide(REDHAT_RELEASE, "SUSE Linux Enterprise Server\n", 0);
    EXPECT_EQ(GetOSType(), 0);
}

TEST_F(THOSVersion, TakesAnythingThatExistsForTheFile)
{
    mHost.Remove(SUSE_RELEASE);
    std::filesystem::create_directory(SUSE_RELEASE);
    EXPECT_EQ(GetOSType(), 1);
}

TEST_F(THOSVersion, IgnoresALinkThatLeadsNowhere)
{
    mHost.Remove(REDHAT_RELEASE);
    std::filesystem::create_symlink("/no/such/file", REDHAT_RELEASE);
    EXPECT_EQ(GetOSType(), 2);
}

TEST_F(THOSVersion, LooksAnewAtEveryCall)
{
    EXPECT_EQ(GetOSType(), 2);
    mHost.Provide(SUSE_RELEASE);
    EXPECT_EQ(GetOSType(), 1);
    mHost.Provide(ORACLE_RELEASE);
    EXPECT_EQ(GetOSType(), 0);
    mHost.Remove(ORACLE_RELEASE);
    mHost.Remove(SUSE_RELEASE);
    EXPECT_EQ(GetOSType(), 2);
}

TEST(THOSVersionFile, ExistsWhenSomethingLiesThere)
{
    EXPECT_TRUE(IsFileExists("/"));
    EXPECT_TRUE(IsFileExists("/proc/self/exe"));
    EXPECT_FALSE(IsFileExists("/no/such/file"));
    EXPECT_FALSE(IsFileExists(""));
}
