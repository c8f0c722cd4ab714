#include "platform/THUEnv.h"

#include "support/StoreDouble.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
struct Place
{
    const char* mName;
    std::string (*mGet)();
    const char* mText;
};

constexpr Place PLACES[] = {
    {"BasePath", GetTHBasePath, "/usr/tarnv"},
    {"ProductPath", GetTHPath, "/usr/tarnv/tarnhaven"},
    {"WebserverPath", GetTHWebserverPath, "/usr/tarnv/wmc/webserver"},
    {"WebserverTempPath", GetTHWebserverTempPath, "/usr/tarnv/wmc/webserver/temp"},
    {"TempPath", GetTHTempPath, "/usr/tarnv/tmp"},
    {"BinPath", GetTHBinPath, "/usr/tarnv/tarnhaven/bin"},
    {"LogPath", GetTHLogPath, "/usr/tarnv/tarnhaven/logs"},
    {"LogDirName", GetTHPerfMonLogDirName, "thsentinel"},
    {"LogFileName", GetTHPerfMonLogFileName, "root.030521_00001.log"},
    {"BinName", GetTHPerfMonBinName, "thsentinel"},
    {"SystemTempPath", GetSystemTempPath, "/tmp"},
    {"TxlogCfgPath", GetTxlogCfgPath, "/usr/tarnv/tarnhaven/bin/txlogcfg"},
    {"PerfMonLogPath", GetTHPerfMonLogPath, "/usr/tarnv/tarnhaven/logs/thsentinel"},
    {"LogFilePath", GetTHPerfMonLogFilePath, "/usr/tarnv/tarnhaven/logs/thsentinel/root.030521_00001.log"},
    {"PerfMonBinPath", GetTHPerfMonBinPath, "/usr/tarnv/tarnhaven/bin/thsentinel"},
};

class THUEnvPlaces : public testing::TestWithParam<Place>
{
protected:
    void SetUp() override { GetStore().mLocalTime = MakeLocalTime(2021, 3, 5, 23, 59, 59); }
    void TearDown() override { GetStore() = {}; }
};
} // namespace

TEST_P(THUEnvPlaces, IsTheFixedText)
{
    EXPECT_EQ(GetParam().mGet(), GetParam().mText);
}

TEST_P(THUEnvPlaces, DoesNotDependOnTheEnvironment)
{
    for (const char* const variable : {"HOME", "TMPDIR", "TMP"}) {
        ASSERT_EQ(setenv(variable, "/elsewhere", 1), 0);
    }
    EXPECT_EQ(GetParam().mGet(), GetParam().mText);
}

INSTANTIATE_TEST_SUITE_P(All, THUEnvPlaces, testing::ValuesIn(PLACES),
                         [](const auto& test) { return test.param.mName; });

namespace
{
struct Day
{
    const char* mName;
    int mYear;
    int mMonth;
    int mDay;
    const char* mFileName;
};

class THUEnvLogFileName : public testing::TestWithParam<Day>
{
protected:
    void TearDown() override { GetStore() = {}; }
};
} // namespace

TEST_P(THUEnvLogFileName, HoldsMonthDayAndYearModulo100)
{
    GetStore().mLocalTime = MakeLocalTime(GetParam().mYear, GetParam().mMonth, GetParam().mDay, 12, 0, 0);
    EXPECT_EQ(GetTHPerfMonLogFileName(), GetParam().mFileName);
    EXPECT_EQ(GetTHPerfMonLogFilePath(),
              std::string("/usr/tarnv/tarnhaven/logs/thsentinel/") + GetParam().mFileName);
}

INSTANTIATE_TEST_SUITE_P(Days, THUEnvLogFileName,
                         testing::Values(Day{"FirstOfJanuary", 2024, 1, 1, "root.010124_00001.log"},
                                         Day{"LastOfDecember", 2026, 12, 31, "root.123126_00001.log"},
                                         Day{"FifthOfMarch2026", 2026, 3, 5, "root.030526_00001.log"},
                                         Day{"Year2100", 2100, 11, 13, "root.111300_00001.log"},
                                         Day{"Year1999", 1999, 10, 9, "root.100999_00001.log"}),
                         [](const auto& test) { return test.param.mName; });

TEST(THUEnv, NamesTwoLogFilesOnTheTwoSidesOfMidnight)
{
    GetStore().mLocalTime = MakeLocalTime(2021, 3, 5, 23, 59, 59);
    EXPECT_EQ(GetTHPerfMonLogFileName(), "root.030521_00001.log");
    GetStore().mLocalTime = MakeLocalTime(2021, 3, 6, 0, 0, 0);
    EXPECT_EQ(GetTHPerfMonLogFileName(), "root.030621_00001.log");
    GetStore() = {};
}

TEST(THUEnv, AppendsOneSlashAndLooksForNone)
{
    EXPECT_EQ(AppendPaths("/a", "b"), "/a/b");
    EXPECT_EQ(AppendPaths("/a/", "b"), "/a//b");
    EXPECT_EQ(AppendPaths("/a", "/b"), "/a//b");
    EXPECT_EQ(AppendPaths("", ""), "/");
}

TEST(THUEnv, GivesProgramsNoExtension)
{
    EXPECT_EQ(AppendBinExt("txlogcfg"), "txlogcfg");
    EXPECT_EQ(AppendBinExt(""), "");
}

TEST(THUEnv, QuotesWithoutEscaping)
{
    EXPECT_EQ(GetDoubleQuatedPath("a b"), "\"a b\"");
    EXPECT_EQ(GetDoubleQuatedPath(""), "\"\"");
    EXPECT_EQ(GetDoubleQuatedPath("a\"b\\$"), "\"a\"b\\$\"");
}
