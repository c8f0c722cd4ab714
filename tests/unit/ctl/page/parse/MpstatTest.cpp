#include "page/parse/Mpstat.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

std::vector<ProcessorSample> ReadMpstat(std::string_view text)
{
    MpstatParser parser;
    Feed(parser, text);
    return parser.Get();
}

TEST(Mpstat, ReadsAnIntervalALineAndNotTheAverage)
{
    const auto samples =
        ReadMpstat(R"(Linux 6.1.0-28-amd64 (alpha) 	11/21/26 	_x86_64_	(2 CPU)

20:41:04     CPU    %usr   %nice    %sys %iowait    %irq   %soft  %steal  %guest  %gnice   %idle
20:41:05     all   45.50   45.00    9.00    0.25    0.10    0.15    0.00    0.00    0.00    0.00
20:41:06     all   41.71   49.75    8.54    0.00    0.00    0.00    0.00    0.00    0.00    0.00
Average:     all   43.61   47.62    8.77    0.00    0.00    0.00    0.00    0.00    0.00    0.00
)");
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[0].mClock, 20 * 3600 + 41 * 60 + 5);
    EXPECT_EQ(samples[0].mUser, 45.5);
    EXPECT_EQ(samples[0].mNice, 45);
    EXPECT_EQ(samples[0].mSystem, 9);
    EXPECT_EQ(samples[0].mWait, 0.25);
    EXPECT_DOUBLE_EQ(samples[0].mInterrupts, 0.25);
}

TEST(Mpstat, ReadsAClockWithTwoHalves)
{
    const auto samples =
        ReadMpstat(R"(Linux 3.10.0-1160.el7.x86_64 (beta) 	11/21/2026 	_x86_64_	(4 CPU)

08:32:40 PM  CPU    %usr   %nice    %sys %iowait    %irq   %soft  %steal  %guest  %gnice   %idle
08:32:45 PM  all    5.50    0.00    1.00   10.00    0.00    0.00    2.00    0.00    0.00   81.50
Average:     all    5.50    0.00    1.00   10.00    0.00    0.00    2.00    0.00    0.00   81.50
)");
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0].mClock, 73965);
    EXPECT_EQ(samples[0].mWait, 10);
    EXPECT_EQ(samples[0].mSteal, 2);
    EXPECT_EQ(samples[0].mIdle, 81.5);
}

TEST(Mpstat, ReadsTheNamesOfOlderColumns)
{
    const auto samples = ReadMpstat(R"(
20:32:40     CPU   %user   %nice    %sys %iowait    %irq   %soft  %steal   %idle    intr/s
20:32:45     all    5.50    0.00    1.00   10.00    0.00    0.00    0.00   83.50    510.20
)");
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0].mUser, 5.5);
    EXPECT_EQ(samples[0].mIdle, 83.5);
}

TEST(Mpstat, HasNoNumbersOutOfHostileText)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        for (const ProcessorSample& sample : ReadMpstat(text)) {
            EXPECT_EQ(sample.mUser, -1) << text.substr(0, 40);
        }
    }
}

} // namespace
} // namespace ctl
