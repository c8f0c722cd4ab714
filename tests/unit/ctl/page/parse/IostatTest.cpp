#include "page/parse/Iostat.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

std::vector<DiskSample> ReadIostat(std::string_view text)
{
    IostatParser parser;
    Feed(parser, text);
    return parser.Get();
}

// sysstat 12: Debian 12 and 13, Red Hat 9, SUSE 15.
constexpr const char* SYSSTAT_12 =
    "Linux 6.1.0-28-amd64 (alpha) \t11/21/26 \t_x86_64_\t(2 CPU)\n"
    "\n"
    "11/21/26 20:41:02\n"
    "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
    "          35.40   25.58   16.98    0.71    0.09   21.24\n"
    "\n"
    "Device            r/s     rkB/s   rrqm/s  %rrqm r_await rareq-sz     w/s     wkB/s   wrqm/s  %wrqm "
    "w_await wareq-sz     d/s     dkB/s   drqm/s  %drqm d_await dareq-sz     f/s f_await  aqu-sz  %util\n"
    "vda             25.34   1063.77     4.68  15.60    0.92    41.98  112.34   5454.52    31.32  21.80    "
    "0.65    48.56   20.46   2761.56     0.08   0.38    0.20   134.95   23.02    0.65    0.12   3.87\n"
    "\n"
    "\n"
    "11/21/26 20:41:07\n"
    "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
    "          42.79   44.78   11.94    7.50    0.50    0.00\n"
    "\n"
    "Device            r/s     rkB/s   rrqm/s  %rrqm r_await rareq-sz     w/s     wkB/s   wrqm/s  %wrqm "
    "w_await wareq-sz     d/s     dkB/s   drqm/s  %drqm d_await dareq-sz     f/s f_await  aqu-sz  %util\n"
    "vda             30.00    300.00     0.00   0.00    2.00    10.00   10.00   7544.00     4.00  30.77   "
    "10.00   838.22    0.00      0.00     0.00   0.00    0.00     0.00    0.00    0.00    1.03  98.50\n"
    "dm-0             0.00      0.00     0.00   0.00    0.00     0.00    0.00      0.00     0.00   0.00    "
    "0.00     0.00    0.00      0.00     0.00   0.00    0.00     0.00    0.00    0.00    0.00   0.00\n"
    "\n"
    "\n";

// sysstat 10: Red Hat 7.
constexpr const char* SYSSTAT_10 = "Linux 3.10.0-1160.el7.x86_64 (beta) \t11/21/2026 \t_x86_64_\t(4 CPU)\n"
                                   "\n"
                                   "11/21/2026 08:32:45 PM\n"
                                   "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
                                   "           1.50    0.00    0.98   12.71    0.00   84.81\n"
                                   "\n"
                                   "Device:         rrqm/s   wrqm/s     r/s     w/s    rkB/s    wkB/s "
                                   "avgrq-sz avgqu-sz   await r_await w_await  svctm  %util\n"
                                   "sda               0.00     1.20    5.00   15.00   100.00   400.00    "
                                   "50.00     2.50   25.50   10.00   30.00   4.00  80.25\n"
                                   "\n";

// sysstat 9: Red Hat 6, SUSE 11.
constexpr const char* SYSSTAT_9 = "Linux 2.6.32-754.el6.x86_64 (gamma) \t11/21/2026 \t_x86_64_\t(4 CPU)\n"
                                  "\n"
                                  "Time: 08:32:45 PM\n"
                                  "avg-cpu:  %user   %nice %system %iowait  %steal   %idle\n"
                                  "           1,50    0,00    0,98   12,71    0,00   84,81\n"
                                  "\n"
                                  "Device:         rrqm/s   wrqm/s     r/s     w/s   rsec/s   wsec/s "
                                  "avgrq-sz avgqu-sz   await  svctm  %util\n"
                                  "sda               0,00     1,20    5,00   15,00   200,00   800,00    "
                                  "50,00     2,50   25,50   4,00  80,25\n";

TEST(Iostat, ReadsAReportAMoment)
{
    const auto samples = ReadIostat(SYSSTAT_12);
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[0].mClock, 20 * 3600 + 41 * 60 + 2);
    EXPECT_EQ(samples[0].mDevices.size(), 1u);
    EXPECT_EQ(samples[1].mClock, 20 * 3600 + 41 * 60 + 7);
    EXPECT_EQ(samples[1].mIoWait, 7.5);
    ASSERT_EQ(samples[1].mDevices.size(), 2u);
    const DiskRow& disk = samples[1].mDevices[0];
    EXPECT_EQ(disk.mDevice, "vda");
    EXPECT_EQ(disk.mReadKilobytes, 300);
    EXPECT_EQ(disk.mWriteKilobytes, 7544);
    EXPECT_EQ(disk.mQueue, 1.03);
    EXPECT_EQ(disk.mUtilisation, 98.5);
}

TEST(Iostat, WeighsTheTwoWaitsByTheirRequests)
{
    const auto samples = ReadIostat(SYSSTAT_12);
    EXPECT_DOUBLE_EQ(samples.at(1).mDevices.at(0).mLatency, (30 * 2.0 + 10 * 10.0) / 40);
    EXPECT_EQ(samples.at(1).mDevices.at(1).mLatency, 0);
}

TEST(Iostat, ReadsTheOneWaitOfOlderVersions)
{
    const auto samples = ReadIostat(SYSSTAT_10);
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0].mClock, 73965);
    EXPECT_EQ(samples[0].mDevices.at(0).mLatency, 25.5);
    EXPECT_EQ(samples[0].mDevices.at(0).mWriteKilobytes, 400);
    EXPECT_EQ(samples[0].mDevices.at(0).mQueue, 2.5);
}

TEST(Iostat, ReadsSectorsAndDecimalCommas)
{
    const auto samples = ReadIostat(SYSSTAT_9);
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0].mClock, 73965);
    EXPECT_EQ(samples[0].mIoWait, 12.71);
    EXPECT_EQ(samples[0].mDevices.at(0).mReadKilobytes, 100);
    EXPECT_EQ(samples[0].mDevices.at(0).mUtilisation, 80.25);
}

TEST(Iostat, CutAnywhereGivesWhatWasThere)
{
    const std::string_view whole = SYSSTAT_12;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_LE(ReadIostat(whole.substr(0, length)).size(), 2u);
    }
}

TEST(Iostat, HasNoBusyDeviceOutOfHostileText)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        for (const DiskSample& sample : ReadIostat(text)) {
            for (const DiskRow& disk : sample.mDevices) {
                EXPECT_EQ(disk.mUtilisation, -1) << text.substr(0, 40);
            }
        }
    }
}

} // namespace
} // namespace ctl
