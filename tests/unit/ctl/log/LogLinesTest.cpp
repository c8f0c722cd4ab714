#include "log/LogLines.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/SafeFile.h"

namespace
{

/** A log in memory. */
class LogLinesFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("TZ", "UTC", 1);
        tzset();
        mFile = ctl::Descriptor(memfd_create("log", 0));
    }
    void Write(const std::string& text) const
    {
        ASSERT_EQ(write(mFile.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    std::vector<std::string> Read(std::uint64_t offset = 0)
    {
        std::vector<std::string> texts;
        mEnd = ctl::ReadLogLines(mFile.Get(), offset, mStamps, [&texts](const ctl::LogLineRead& line) {
                   texts.emplace_back(line.text);
                   return true;
               }).offset;
        return texts;
    }

    ctl::Descriptor mFile;
    ctl::StampReader mStamps;
    std::uint64_t mEnd = 0;
};

const std::string STAMP = "2026-11-13 02:07:28:045 - ";

} // namespace

TEST_F(LogLinesFixture, PassesOverLinesWithoutAStamp)
{
    Write(STAMP + "one\noutput of a tool\n2026-11-13 02:07 - no stamp\n" + STAMP + "two\n");
    EXPECT_EQ(Read(), (std::vector<std::string>{"one", "two"}));
}

TEST_F(LogLinesFixture, VisitsOnlyStampedLinesWhoseTextIsWanted)
{
    Write(STAMP + "one\n" + STAMP + "\n" + std::string(STAMP.size(), 'x') + "two\n" + STAMP + "two\n");
    std::vector<std::uint64_t> begins;
    const auto take = [&begins](const ctl::LogLineRead& line) {
        begins.push_back(line.begin);
        return true;
    };
    const auto wants = [](std::string_view text) { return text == "two"; };
    (void)ctl::ReadLogLines(mFile.Get(), 0, mStamps, take, wants);
    EXPECT_EQ(begins, (std::vector<std::uint64_t>{3 * STAMP.size() + 9}));
}

TEST_F(LogLinesFixture, WaitsForTheEndOfALineThatIsBeingWritten)
{
    Write(STAMP + "one\n" + STAMP + "tw");
    EXPECT_EQ(Read(), (std::vector<std::string>{"one"}));
    Write("o\n");
    EXPECT_EQ(Read(mEnd), (std::vector<std::string>{"two"}));
}

TEST_F(LogLinesFixture, DropsTheRestOfALineThatIsLongerThanItsBuffer)
{
    Write(std::string(3'000'000, 'x') + "\n" + STAMP + "after\n");
    EXPECT_EQ(Read(), (std::vector<std::string>{"after"}));
    EXPECT_EQ(mEnd, 3'000'001 + STAMP.size() + 6);
}

TEST_F(LogLinesFixture, CutsALongTextAndGoesOnAfterIt)
{
    Write(STAMP + std::string(100'000, 'y') + "\n" + STAMP + "after\n");
    const std::vector<std::string> texts = Read();
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0].size(), 65536U);
    EXPECT_EQ(texts[1], "after");
}

TEST_F(LogLinesFixture, MeetsNulBytesAndAnEmptyFile)
{
    EXPECT_TRUE(Read().empty());
    Write(STAMP + std::string("a\0b\n", 4));
    EXPECT_EQ(Read(), (std::vector<std::string>{std::string("a\0b", 3)}));
}

TEST_F(LogLinesFixture, SaysThatItCannotBeReadToTheEnd)
{
    const ctl::Descriptor folder(open("/", O_RDONLY | O_DIRECTORY));
    const auto never = [](const ctl::LogLineRead&) { return true; };
    EXPECT_EQ(ctl::ReadLogLines(folder.Get(), 0, mStamps, never).error, EISDIR);
}

TEST_F(LogLinesFixture, AreFoundByTheirTimeInALongLog)
{
    std::string text;
    for (int minute = 0; minute < 24 * 60; ++minute) {
        char stamp[64];
        (void)snprintf(stamp, sizeof stamp, "2026-11-13 %02d:%02d:00:000 - ", minute / 60, minute % 60);
        text += stamp + std::string(2000, 'x') + "\nOutput without a stamp\n";
    }
    Write(text);
    constexpr std::int64_t WALL = 1794535648; // 2026-11-13 02:07:28
    const std::uint64_t offset = ctl::FindLogOffset(mFile.Get(), text.size(), WALL);
    const std::uint64_t exact = text.find("2026-11-13 02:08:00:000");
    EXPECT_LE(offset, exact);
    EXPECT_GE(offset + 2 * 262144, exact);
    EXPECT_GT(text.size(), 4 * exact) << "else reading all of it would do as well";
}

TEST(LogStamp, OfAnotherZoneIsTheWallTimeAllTheSame)
{
    setenv("TZ", "XXX-5", 1);
    tzset();
    ctl::StampReader stamps;
    ctl::LogLineRead line;
    ASSERT_TRUE(stamps.Read("2026-11-13 02:07:28:045 - text", line));
    EXPECT_EQ(line.wall, 1794535648);
    EXPECT_EQ(line.time, 1794535648 - 5 * 3600);
}

TEST(LogStamp, IsLocalTimeWithMilliseconds)
{
    setenv("TZ", "UTC", 1);
    tzset();
    ctl::StampReader stamps;
    ctl::LogLineRead line;
    ASSERT_TRUE(stamps.Read("2026-11-13 02:07:28:045 - text", line));
    EXPECT_EQ(line.time, 1794535648);
    EXPECT_EQ(line.wall, 1794535648);
    EXPECT_EQ(line.milliseconds, 45);
    EXPECT_EQ(line.text, "text");
    EXPECT_FALSE(stamps.Read("2026-11-13 02:07:28.045 - text", line));
}
