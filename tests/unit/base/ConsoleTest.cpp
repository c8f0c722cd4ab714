#include "base/Console.h"

#include "support/ChildProcess.h"
#include "support/LogFixture.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <unistd.h>

namespace
{
std::set<std::string> GetDescriptors()
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        names.insert(entry.path().filename());
    }
    return names;
}
} // namespace

TEST(Console, PrintsAsItStandsOrWithALineEnd)
{
    EXPECT_EQ(GetConsole([] { ConsolePrint("%s-%d", "text", 7); }), "text-7");
    EXPECT_EQ(GetConsole([] { ConsolePrint("no end"); }), "no end");
    EXPECT_EQ(GetConsole([] { ConsolePuts("text"); }), "text\n");
    EXPECT_EQ(GetConsole([] { ConsolePuts(""); }), "\n");
    EXPECT_EQ(GetConsole([] { ConsolePuts("%s%n"); }), "%s%n\n");
}

TEST(Console, PrintsTextOfAnyLength)
{
    static const std::string text(1000000, 'x');
    EXPECT_EQ(GetConsole([] { ConsolePuts(text.c_str()); }), text + "\n");
}

TEST(Console, WritesNothingToStandardError)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ConsolePrint("text");
    ConsolePuts("text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "texttext\n");
}

TEST(Console, WritesWhatIsBufferedWhenItIsClosedAndDropsWhatComesLater)
{
    ChildProcess process([] {
        ConsolePuts("before");
        CloseStandardStreams();
        ConsolePuts("after");
        ConsolePrint("%d", 7);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            if (fcntl(descriptor, F_GETFD) != -1) {
                return 1;
            }
        }
        return 0;
    });
    EXPECT_EQ(process.Wait(), 0);
    EXPECT_EQ(process.GetOutput(), "before\n");
}

TEST(Console, OccupiesNothingWhereNothingIsFree)
{
    const std::set<std::string> before = GetDescriptors();
    OccupyFreeStandardDescriptors();
    EXPECT_EQ(GetDescriptors(), before);
}

class FreeDescriptors : public testing::TestWithParam<std::set<int>>
{
};

TEST_P(FreeDescriptors, AreOccupiedByWhatCanNeitherBeReadNorWritten)
{
    ChildProcess process([] {
        const std::set<std::string> before = GetDescriptors();
        for (const int descriptor : GetParam()) {
            (void)close(descriptor);
        }
        OccupyFreeStandardDescriptors();
        for (const int descriptor : GetParam()) {
            char byte = 0;
            if (read(descriptor, &byte, 1) != -1 || errno != EBADF || write(descriptor, &byte, 1) != -1 ||
                errno != EBADF || (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0) {
                return 1;
            }
        }
        return GetDescriptors() == before ? 0 : 2; // and no other descriptor is lost or left
    });
    EXPECT_EQ(process.Wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(Console, FreeDescriptors,
                         testing::Values(std::set{0}, std::set{1}, std::set{2}, std::set{0, 1},
                                         std::set{0, 2}, std::set{1, 2}, std::set{0, 1, 2}));
