// Tests of all kinds of ends, for the test of the runner itself. They aren't part of any suite.

#include "runner/NeedOfHost.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include <unistd.h>

namespace
{
int gRuns = 0;

class OnHost : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!IsOnIsolatedHost()) {
            AskForHost();
            GTEST_SKIP() << "needs a host";
        }
    }

    /** Leaves a file, and expects none of an earlier test. */
    static void LeaveFile()
    {
        EXPECT_NE(access("/tmp/left", F_OK), 0);
        EXPECT_NE(access("/etc/redhat-release", F_OK), 0);
        std::ofstream("/tmp/left") << "left";
        std::ofstream("/etc/redhat-release") << "left";
    }
};
} // namespace

TEST(State, IsFreshInTheFirst)
{
    EXPECT_EQ(++gRuns, 1);
}

TEST(State, IsFreshInTheSecond)
{
    EXPECT_EQ(++gRuns, 1);
}

TEST(Folder, IsTheTestsOwn)
{
    std::ofstream(std::string(std::getenv("TMPDIR")) + "/left") << "left";
    std::cout << "TMPDIR=" << std::getenv("TMPDIR") << std::endl;
    FAIL() << "so that the output is shown";
}

TEST(Bad, Fails)
{
    EXPECT_EQ(1, 2);
}

TEST(Bad, Aborts)
{
    abort();
}

TEST(Bad, EndsWithSuccess)
{
    exit(0);
}

TEST(Bad, WritesAnything)
{
    std::cout << std::string("\0\xff<&\"]]>\x1b", 9) << std::string(5000000, 'x') << std::endl;
    FAIL();
}

TEST(Machine, IsReadOnly)
{
    const char* const left = "/usr/bin/left-by-a-unit-test";
    const bool isWritten = std::ofstream(left).put('x').good();
    (void)unlink(left);
    EXPECT_FALSE(isWritten);
}

TEST(Skipped, SaysWhy)
{
    GTEST_SKIP() << "because";
}

TEST(Orphan, IsLeft)
{
    const pid_t child = fork();
    if (child == 0) {
        (void)setsid();
        for (;;) {
            (void)pause();
        }
    }
    std::cout << "orphan " << child << std::endl;
    FAIL() << "so that the output is shown";
}

TEST_F(OnHost, FindsNothingOfTheSecond)
{
    LeaveFile();
}

TEST_F(OnHost, FindsNothingOfTheFirst)
{
    LeaveFile();
}

TEST_F(OnHost, Fails)
{
    FAIL();
}

TEST_F(OnHost, GoesOnAfterAFailure)
{
    LeaveFile();
}
