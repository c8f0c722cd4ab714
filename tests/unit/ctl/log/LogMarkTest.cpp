#include "log/LogMark.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/SafeFile.h"

namespace ctl
{
namespace
{

Descriptor MakeLog(const std::string& text)
{
    Descriptor log(memfd_create("log", 0));
    EXPECT_EQ(write(log.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return log;
}

std::string MakeText(char first, char middle, char last)
{
    return first + std::string(3000, middle) + last;
}

struct MarkRow
{
    std::string text;
    bool isSame;
};

class MarkOfALog : public testing::TestWithParam<MarkRow>
{
};

TEST_P(MarkOfALog, ChangesWithItsBeginAndWithWhatStandsBeforeThePlace)
{
    const std::string text = MakeText('a', 'b', 'c');
    const auto mark = ComputeMark(MakeLog(text + "after").Get(), text.size());
    ASSERT_TRUE(mark);
    EXPECT_EQ(ComputeMark(MakeLog(GetParam().text).Get(), text.size()) == mark, GetParam().isSame);
}

INSTANTIATE_TEST_SUITE_P(Texts, MarkOfALog,
                         testing::Values(MarkRow{MakeText('a', 'b', 'c'), true},
                                         MarkRow{MakeText('a', 'b', 'c') + "something else", true},
                                         MarkRow{MakeText('x', 'b', 'c'), false},
                                         MarkRow{MakeText('a', 'b', 'x'), false},
                                         MarkRow{MakeText('a', 'b', 'c').substr(1) + "x", false}));

TEST(LogMark, IsNoneOfALogThatIsShorterOrCannotBeRead)
{
    EXPECT_TRUE(ComputeMark(MakeLog("").Get(), 0));
    EXPECT_FALSE(ComputeMark(MakeLog("short").Get(), 6));
    EXPECT_EQ(errno, 0);
    const Descriptor folder(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_FALSE(ComputeMark(folder.Get(), 1));
    EXPECT_EQ(errno, EISDIR);
}

TEST(LogMark, SaysWhetherAShorterLogMayBeTheBeginOfACopy)
{
    const std::string text = MakeText('a', 'b', 'c');
    const LogMark mark = ComputeMark(MakeLog(text).Get(), text.size()).value();
    const auto mayBecome = [&](const std::string& begin) {
        return MayBecome(mark, text.size(), MakeLog(begin).Get(), begin.size());
    };
    EXPECT_TRUE(mayBecome(""));
    EXPECT_TRUE(mayBecome("x")) << "too short to say";
    EXPECT_TRUE(mayBecome(text.substr(0, 100)));
    EXPECT_FALSE(mayBecome("x" + text.substr(1, 100)));
}

} // namespace
} // namespace ctl
