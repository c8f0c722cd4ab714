#include "cli/THPerfMon.h"

#include "ActionHost.h"
#include "LockHolder.h"
#include "cli/THDaemonInfra.h"
#include "support/HelperSeam.h"

#include <gmock/gmock.h>

#include <filesystem>

using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{
eCommandActions Parse(std::vector<std::string> words)
{
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return GetActionFromArg(static_cast<int>(words.size()), arguments.data());
}

const std::string USAGE = " [-install] [-uninstall] [-start] [-terminate] [-version] [-help]\n\n";
const std::string FIRST_OPTION = "-install:               This will configure the daemon.\n";
const std::string LAST_OPTION = "default:                This will start the daemon.\n";
} // namespace

class OptionWords : public testing::TestWithParam<std::pair<const char*, eCommandActions>>
{
};

TEST_P(OptionWords, AreTakenInAnyCaseAndSilently)
{
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Parse({"program", GetParam().first}), GetParam().second); }), "");
    EXPECT_STREQ(THHS_NAME, "program");
}

INSTANTIATE_TEST_SUITE_P(
    THPerfMon, OptionWords,
    testing::Values(std::pair("-install", eActionInstall), std::pair("-uninstall", eActionUninstall),
                    std::pair("-start", eActionStart), std::pair("-START", eActionStart),
                    std::pair("-terminate", eActionStop), std::pair("-Terminate", eActionStop),
                    std::pair("-list_config", eActionListConfig),
                    std::pair("-List_Config", eActionListConfig), std::pair("-help", eActionHelp),
                    std::pair("-version", eActionVersion), std::pair("-VERSION", eActionVersion),
                    std::pair("-inSTALL", eActionInstall), std::pair("-UNinstall", eActionUninstall)));

class WrongArguments : public testing::TestWithParam<std::vector<std::string>>
{
};

TEST_P(WrongArguments, GetTheHelpAfterTheComplaint)
{
    const std::string console = GetConsole([] {
        std::vector<std::string> words = {"program"};
        words.insert(words.end(), GetParam().begin(), GetParam().end());
        EXPECT_EQ(Parse(words), eActionInvalid);
    });
    EXPECT_THAT(console, StartsWith("Error: Invalid arguments\n\nprogram" + USAGE + FIRST_OPTION));
    EXPECT_THAT(console, EndsWith(LAST_OPTION));
}

INSTANTIATE_TEST_SUITE_P(
    THPerfMon, WrongArguments,
    testing::Values(std::vector<std::string>{"-wrong"}, std::vector<std::string>{""},
                    std::vector<std::string>{"-"}, std::vector<std::string>{"start"},
                    std::vector<std::string>{"--start"}, std::vector<std::string>{"-star"},
                    std::vector<std::string>{"-starts"}, std::vector<std::string>{"-start "},
                    std::vector<std::string>{" -start"}, std::vector<std::string>{"-stop"},
                    std::vector<std::string>{"-run"}, std::vector<std::string>{"-list-config"},
                    std::vector<std::string>{"-\xff\x01"}, std::vector<std::string>{"-start", "-start"},
                    std::vector<std::string>{"-help", "extra"}, std::vector<std::string>{"-version", ""},
                    std::vector<std::string>{"-start", "-terminate", "-help"}));

TEST(THPerfMon, RefusesAnEndlessWord)
{
    const std::string console = GetConsole([] {
        EXPECT_EQ(Parse({std::string(100000, 'p'), std::string(100000, '-')}), eActionInvalid);
    });
    EXPECT_THAT(console, StartsWith("Error: Invalid arguments\n\nppppppppppppppp" + USAGE));
}

TEST(THPerfMon, RunsWithoutArgumentsAndTakesNoName)
{
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Parse({"program"}), eActionRun); }), "");
    EXPECT_STREQ(THHS_NAME, "");
}

TEST(THPerfMon, CutsItsNameTo15Characters)
{
    (void)Parse({"123456789012345", "-help"});
    EXPECT_STREQ(THHS_NAME, "123456789012345");
    (void)Parse({"/a/long/path/to/the/program", "-help"});
    EXPECT_STREQ(THHS_NAME, "/a/long/path/to");
    static_assert(sizeof THHS_NAME == 16);
}

TEST(THPerfMon, PutsTheLabelIntoTheBanners)
{
    EXPECT_EQ(GetConsole([] { printActionStartMessage("run"); }), "Performing the run operation\n\n");
    EXPECT_EQ(GetConsole([] { printActionCompleteMessage("run", 0); }),
              "\nPerformed the run operation successfully.\n");
    for (const int status : {1, 10, -1, 1001}) {
        EXPECT_EQ(GetConsole([status] { printActionCompleteMessage("stop", status); }),
                  "\nThe stop operation failed.\n");
    }
}

class PerformingActions : public ActionHost
{
protected:
    void SetUp() override
    {
        ActionHost::SetUp();
        ScriptHelpers();
    }
};

/** An action with its outcome. */
struct BannerCase
{
    eCommandActions mAction;
    const char* mLabel;
    const char* mBetween; ///< the banners
    int mStatus;
};

void PrintTo(const BannerCase& shown, std::ostream* out)
{
    *out << shown.mLabel;
}

std::string GetBannered(const BannerCase& expected)
{
    const std::string label = expected.mLabel;
    return "Performing the " + label + " operation\n\n" + expected.mBetween +
           (expected.mStatus == 0 ? "\nPerformed the " + label + " operation successfully.\n"
                                  : "\nThe " + label + " operation failed.\n");
}

class ActionThatFails : public PerformingActions, public testing::WithParamInterface<BannerCase>
{
};

// A run in progress holds the run lock, a daemon the child lock, and the checks of the helper fail.
TEST_P(ActionThatFails, EndsWithItsOwnStatus)
{
    WriteRunFile("1234");
    const LockHolder other({THHS_RUN_LOCK_NAME, THHS_CHILD_LOCK_NAME});
    mScript.mPreCheck = 101;
    mScript.mPostCheck = 1;
    int status = 0;
    EXPECT_EQ(GetConsole([&] { status = PerformAction(GetParam().mAction); }), GetBannered(GetParam()));
    EXPECT_EQ(status, GetParam().mStatus);
    EXPECT_EQ(mScript.mMade, 1);
    EXPECT_EQ(mScript.mDeleted, 1);
}

INSTANTIATE_TEST_SUITE_P(
    THPerfMon, ActionThatFails,
    testing::Values(BannerCase{eActionInstall, "install", "", 6},
                    BannerCase{eActionUninstall, "uninstall",
                               "Error: Another instance of action in progressing state\n", 7},
                    BannerCase{eActionStart, "start", "", 8},
                    BannerCase{eActionStop, "stop",
                               "Error: Another instance of action in progressing state\n", 9},
                    BannerCase{eActionRun, "run", "", 10}));

class ActionThatSucceeds : public PerformingActions, public testing::WithParamInterface<BannerCase>
{
};

// A daemon runs, and no other action.
TEST_P(ActionThatSucceeds, EndsWithStatus0)
{
    WriteRunFile("1234");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    GetSeams().mKill = [](pid_t, int) { return 0; };
    GetSeams().mFork = [] { return pid_t(1234); };
    GetSeams().mSleep = [](unsigned) { return 0U; };
    int status = -1;
    EXPECT_EQ(GetConsole([&] { status = PerformAction(GetParam().mAction); }), GetBannered(GetParam()));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(mScript.mMade, 1);
    EXPECT_EQ(mScript.mDeleted, 1);
}

INSTANTIATE_TEST_SUITE_P(THPerfMon, ActionThatSucceeds,
                         testing::Values(BannerCase{eActionInstall, "install", "", 0},
                                         BannerCase{eActionUninstall, "uninstall",
                                                    "Info: stopped the daemon process\n", 0},
                                         BannerCase{eActionStart, "start", "Info: Daemon is running\n", 0},
                                         BannerCase{eActionStop, "stop", "", 0},
                                         BannerCase{eActionRun, "run", "Info: Daemon is running\n", 0},
                                         BannerCase{eActionListConfig, "List configuration", "", 0}));

TEST_F(PerformingActions, PrintsTheHelpWithoutBanners)
{
    (void)Parse({"program", "-help"});
    const std::string console = GetConsole([] { EXPECT_EQ(PerformAction(eActionHelp), 0); });
    EXPECT_THAT(console, StartsWith("\n\nprogram" + USAGE + FIRST_OPTION));
    EXPECT_THAT(console, EndsWith(LAST_OPTION));
    EXPECT_EQ(mScript.mMade, 1);
    EXPECT_EQ(mScript.mDeleted, 1);
}

TEST_F(PerformingActions, PrintsTheVersionWithoutBanners)
{
    const std::string release = "Tarnhaven_" THSENTINEL_VERSION "\n";
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(PerformAction(eActionVersion), 0); }), release);
}

TEST_F(PerformingActions, ReturnsStatus5SilentlyForAnyOtherValue)
{
    for (const int value : {0, 9, 10, -1, 1000}) {
        const auto action = static_cast<eCommandActions>(value);
        EXPECT_EQ(GetConsole([action] { EXPECT_EQ(PerformAction(action), 5); }), "") << value;
    }
    EXPECT_EQ(mScript.mMade, 5);
    EXPECT_EQ(mScript.mDeleted, 5);
}

TEST_F(PerformingActions, NeedsNeitherLockNorConfigurationToInstallTwice)
{
    GetHelperSeam().mMake = nullptr;
    const BannerCase expected = {
        eActionInstall, "install",
        "Info: THHS_EVIDENCE_PATH is a mandatory setting to start the thsentinel.\n"
        "Please set the THHS_EVIDENCE_PATH value in Tarnhaven configuration and perform "
        "'thsentinel -start' to start the process.\n",
        0};
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(GetConsole([] { EXPECT_EQ(PerformAction(eActionInstall), 0); }), GetBannered(expected));
    }
    EXPECT_THAT(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(GetLockFile(THHS_RUN_LOCK_NAME)));
    EXPECT_EQ(GetStore().mValues.size(), 0U);
}
