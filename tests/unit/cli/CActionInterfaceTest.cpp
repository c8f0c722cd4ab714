#include "cli/CActionInterface.h"

#include "support/LogFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
class SilentActions : public CActionInterface
{
public:
    bool InstallAction() override { return false; }
    bool UninstallAction() override { return false; }
    bool StartAction() override { return false; }
    bool StopAction() override { return false; }
    bool RunAction() override { return false; }
    bool ListConfig() override { return false; }
};

std::string GetHelp(std::string programName)
{
    return GetConsole([&] { EXPECT_TRUE(SilentActions().PrintHelp(programName.data())); });
}

const std::string OPTIONS = " [-install] [-uninstall] [-start] [-terminate] [-version] [-help]\n"
                            "\n"
                            "-install:               This will configure the daemon.\n"
                            "-uninstall:             This will unconfigure the daemon.\n"
                            "-start:                 This will start the daemon.\n"
                            "-terminate:             This will terminate the daemon.\n"
                            "-version:               This will display the version information of binary.\n"
                            "-help:                  This will display the help options.\n"
                            "\n"
                            "default:                This will start the daemon.\n";
} // namespace

TEST(CActionInterface, PrintsTheHelpAfterTwoLineFeedsAndTheName)
{
    EXPECT_EQ(GetHelp("thsentinel"), "\n\nthsentinel" + OPTIONS);
}

TEST(CActionInterface, PrintsTheHelpOfAProgramWithoutName)
{
    EXPECT_EQ(GetHelp(""), "\n\n" + OPTIONS);
}

TEST(CActionInterface, TakesANameThatLooksLikeAFormatAsItStands)
{
    EXPECT_EQ(GetHelp("%s%n"), "\n\n%s%n" + OPTIONS);
}

TEST(CActionInterface, PrintsTheVersionWithoutTheMarkBeforeIt)
{
    EXPECT_EQ(GetConsole([] { EXPECT_TRUE(SilentActions().PrintVersion()); }), "Tarnhaven_9.1.0.1\n");
}

TEST(CActionInterface, PrintsNothingOnStandardError)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    char name[] = "thsentinel";
    (void)SilentActions().PrintHelp(name);
    (void)SilentActions().PrintVersion();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}
