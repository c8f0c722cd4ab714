#include "Verbs.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

namespace
{
struct Said
{
    int status;
    std::string output;
    std::string errors;
};

Said CallProgram(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "thsentinelctl");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = ctl::RunProgram(static_cast<int>(arguments.size()), arguments.data());
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}
} // namespace

TEST(Program, NamesAVerbThatItDoesNotKnow)
{
    const Said said = CallProgram({"stauts\x1b"});
    EXPECT_EQ(said.status, 64);
    EXPECT_EQ(said.errors, "thsentinelctl: there is no verb stauts\\x1B; thsentinelctl --help lists them\n");
}

TEST(Program, AsksForAVerbWhenThereIsNone)
{
    const Said said = CallProgram({});
    EXPECT_EQ(said.status, 64);
    EXPECT_EQ(said.errors, "thsentinelctl: a verb is required; thsentinelctl --help lists them\n");
}

TEST(Program, ListsAllVerbsInItsHelp)
{
    const Said said = CallProgram({"--help"});
    EXPECT_EQ(said.status, 0);
    for (const ctl::VerbRegistration& verb : ctl::GetVerbs()) {
        EXPECT_NE(said.output.find("\n  " + std::string(verb.name) + " "), std::string::npos) << verb.name;
    }
}

TEST(Program, KnowsTheVerbAmongWordsThatAreVerbsToo)
{
    const Said said = CallProgram({"--store", "check", "wait"});
    EXPECT_EQ(said.status, 64);
    EXPECT_EQ(said.errors, "--running or --stopped is required\nRun with --help for more information.\n");
}

TEST(Program, SaysVerbInItsHelpWhereItMeansAVerb)
{
    const Said said = CallProgram({"--help"});
    EXPECT_NE(said.output.find("Usage: thsentinelctl [OPTIONS] VERB\n"), std::string::npos) << said.output;
    EXPECT_NE(said.output.find("\nVerbs:\n"), std::string::npos) << said.output;
    for (const char* const word : {"ubcommand", "SUBCOMMAND"}) {
        EXPECT_EQ(said.output.find(word), std::string::npos) << word;
    }
}

TEST(Program, NumbersItsExamplesAsManyAsThereAre)
{
    EXPECT_NE(CallProgram({"preflight", "--help"}).output.find("\nExample:\n"), std::string::npos);
    EXPECT_NE(CallProgram({"check", "--help"}).output.find("\nExamples:\n"), std::string::npos);
}

TEST(Program, ShowsNeitherGroupsNorRangesOfTheParserInAHelp)
{
    EXPECT_NE(CallProgram({"wait", "--help"}).output.find("\n  --running SECONDS "), std::string::npos);
    EXPECT_NE(CallProgram({"rehearse", "--help"}).output.find("\n  --readings N=1 "), std::string::npos);
}

TEST(Program, RefusesNumbersOutOfRangeInPlainWords)
{
    for (const char* const value : {"0", "x", "86401", "nan", ""}) {
        const Said said = CallProgram({"status", "--interval", value});
        EXPECT_EQ(said.status, 64) << value;
        EXPECT_EQ(said.errors, "--interval: must be a number from 0.1 to 86400\n"
                               "Run with --help for more information.\n")
            << value;
    }
    EXPECT_EQ(CallProgram({"wait", "--running", "0", "--stopped", "0"}).status, 64);
    EXPECT_EQ(CallProgram({"rehearse", "tbrd", "--readings", "1.5"}).status, 64);
}

TEST(Program, AsksForWhatIsMissingByTheNameThatItsHelpShows)
{
    const Said said = CallProgram({"explain"});
    EXPECT_EQ(said.status, 64);
    EXPECT_EQ(said.errors, "TARGET is required\nRun with --help for more information.\n");
}

TEST(Program, ReportsThatItsOutputCantBeWritten)
{
    std::cout.setstate(std::ios::badbit);
    const Said said = CallProgram({"--version"});
    std::cout.clear();
    EXPECT_EQ(said.status, 3);
    EXPECT_EQ(said.errors, "thsentinelctl: standard output can't be written\n");
}

TEST(Program, ExplainsNoTimeThatIsStillToCome)
{
    const Said said = CallProgram({"explain", "x", "--at", "2200-01-01"});
    EXPECT_EQ(said.status, 64);
    EXPECT_NE(said.errors.find("--at: that time is still to come: 2200-01-01 00:00:00"), std::string::npos)
        << said.errors;
}

TEST(Program, SaysItsRelease)
{
    const Said said = CallProgram({"--version"});
    EXPECT_EQ(said.status, 0);
    EXPECT_EQ(said.output.find("thsentinelctl "), 0U);
    EXPECT_GT(said.output.size(), sizeof "thsentinelctl \n" - 1);
}
