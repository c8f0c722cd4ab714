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
    EXPECT_EQ(CallProgram({}).status, 64);
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
    EXPECT_NE(said.errors.find("--running,--stopped"), std::string::npos) << said.errors;
}

TEST(Program, ReportsThatItsOutputCantBeWritten)
{
    std::cout.setstate(std::ios::badbit);
    const Said said = CallProgram({"--version"});
    std::cout.clear();
    EXPECT_EQ(said.status, 3);
    EXPECT_EQ(said.errors, "thsentinelctl: standard output can't be written\n");
}

TEST(Program, SaysItsRelease)
{
    const Said said = CallProgram({"--version"});
    EXPECT_EQ(said.status, 0);
    EXPECT_EQ(said.output.find("thsentinelctl "), 0U);
    EXPECT_GT(said.output.size(), sizeof "thsentinelctl \n" - 1);
}
