// Tests of all kinds of ends, for the test of the runner itself. They aren't part of any suite.

#include "runner/NeedOfHost.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include <sys/stat.h>
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

    /** Leaves files, and expects none of an earlier test. */
    static void LeaveFiles()
    {
        for (const std::string folder : {"/tmp/of-a-test", "/run/of-a-test", "/usr/tarnv/of-a-test"}) {
            EXPECT_EQ(mkdir(folder.c_str(), S_IRWXU), 0) << folder;
            std::ofstream(folder + "/left") << "left";
        }
        EXPECT_NE(access("/etc/redhat-release", F_OK), 0);
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
    LeaveFiles();
}

TEST_F(OnHost, FindsNothingOfTheFirst)
{
    LeaveFiles();
}

TEST_F(OnHost, Fails)
{
    FAIL();
}

TEST_F(OnHost, GoesOnAfterAFailure)
{
    LeaveFiles();
}
