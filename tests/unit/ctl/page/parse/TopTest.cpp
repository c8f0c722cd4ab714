#include "page/parse/Top.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

TopReading ReadTop(std::string_view text)
{
    TopParser parser;
    Feed(parser, text);
    return parser.Get();
}

// Debian 12 and 13, Red Hat 8 and 9.
constexpr const char* IN_MEBIBYTES = R"(top - 20:32:45 up 12 min,  0 user,  load average: 4.80, 2.80, 1.39
Tasks: 178 total,  10 running, 168 sleeping,   0 stopped,   1 zombie
%Cpu(s): 75.0 us,  1.5 sy, 20.0 ni,  0.5 id,  3.0 wa,  0.0 hi,  0.0 si,  0.2 st 
MiB Mem :  24152.1 total,  20391.8 free,   1077.6 used,   2975.4 buff/cache     
MiB Swap:   2048.0 total,   1948.0 free,    100.0 used.  23074.5 avail Mem 

  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND
 5398 root      20   0   96444  69696  19400 R  27.8   0.3   0:00.32 cc1plus
 5322 root      30  10    1.5g   2.5g  21332 R 316.7   0.3   0:00.42 Web Content
)";

// Red Hat 6, SUSE 11.
constexpr const char* WITH_LETTERS =
    R"(top - 14:32:01 up 10 days,  3:02,  2 users,  load average: 0.00, 0.01, 0.05
Tasks: 120 total,   1 running, 119 sleeping,   0 stopped,   0 zombie
Cpu(s):  0.3%us,  0.2%sy,  0.0%ni, 99.4%id,  0.1%wa,  0.0%hi,  0.0%si,  0.0%st
Mem:   8058780k total,  7915392k used,   143388k free,   170608k buffers
Swap:  2097144k total,    12344k used,  2084800k free,  5021208k cached

  PID USER      PR  NI  VIRT  RES  SHR S %CPU %MEM    TIME+  COMMAND
 2101 root      20   0  187m  31m 5100 S  2.0  0.4  12:01.07 tbrd
)";

// Red Hat 7, SUSE 12.
constexpr const char* IN_KIBIBYTES = R"(top - 09:15:59 up 100 days, 1 user,  load average: 12,50, 10,25, 9,00
Tasks: 311 total,   2 running, 309 sleeping,   0 stopped,   0 zombie
%Cpu(s):  5,9 us,  0,2 sy,  0,0 ni, 93,6 id,  0,3 wa,  0,0 hi,  0,0 si,  0,0 st
KiB Mem :  8009452 total,   160320 free,  4011120 used,  3838012 buff/cache
KiB Swap:  2097148 total,  2097148 free,        0 used.  3641024 avail Mem

  PID USER      PR  NI    VIRT    RES    SHR S  %CPU %MEM     TIME+ COMMAND
    1 root      20   0  193844   6960   4192 S   0,0  0,1   3:04.33 systemd
)";

TEST(Top, ReadsAHeadInMebibytes)
{
    const TopReading reading = ReadTop(IN_MEBIBYTES);
    EXPECT_EQ(reading.mClock, 73965);
    EXPECT_EQ(reading.mLoad, (std::array<double, 3>{4.80, 2.80, 1.39}));
    EXPECT_EQ(reading.mTasks, 178);
    EXPECT_EQ(reading.mRunning, 10);
    EXPECT_EQ(reading.mZombies, 1);
    EXPECT_EQ(reading.mUser, 75);
    EXPECT_EQ(reading.mIdle, 0.5);
    EXPECT_EQ(reading.mWait, 3);
    EXPECT_EQ(reading.mSteal, 0.2);
    EXPECT_DOUBLE_EQ(reading.mMemoryTotal, 24152.1 * 1024);
    EXPECT_DOUBLE_EQ(reading.mMemoryAvailable, 23074.5 * 1024);
    EXPECT_DOUBLE_EQ(reading.mSwapUsed, 100.0 * 1024);
}

TEST(Top, ReadsProcessesWithUnitLettersAndNamesWithBlanks)
{
    const TopReading reading = ReadTop(IN_MEBIBYTES);
    ASSERT_EQ(reading.mProcesses.size(), 2u);
    EXPECT_EQ(reading.mProcesses[0].mPid, 5398);
    EXPECT_EQ(reading.mProcesses[0].mCpu, 27.8);
    EXPECT_EQ(reading.mProcesses[0].mResident, 69696);
    EXPECT_EQ(reading.mProcesses[1].mResident, 2.5 * 1024 * 1024);
    EXPECT_EQ(reading.mProcesses[1].mCommand, "Web Content");
}

TEST(Top, ReadsAHeadWithUnitLetters)
{
    const TopReading reading = ReadTop(WITH_LETTERS);
    EXPECT_EQ(reading.mClock, 14 * 3600 + 32 * 60 + 1);
    EXPECT_EQ(reading.mLoad, (std::array<double, 3>{0.00, 0.01, 0.05}));
    EXPECT_EQ(reading.mUser, 0.3);
    EXPECT_EQ(reading.mIdle, 99.4);
    EXPECT_EQ(reading.mMemoryTotal, 8058780);
    EXPECT_EQ(reading.mMemoryFree, 143388);
    EXPECT_EQ(reading.mMemoryAvailable, -1);
    EXPECT_EQ(reading.mSwapUsed, 12344);
    ASSERT_EQ(reading.mProcesses.size(), 1u);
    EXPECT_EQ(reading.mProcesses[0].mResident, 31 * 1024);
}

TEST(Top, ReadsDecimalCommas)
{
    const TopReading reading = ReadTop(IN_KIBIBYTES);
    EXPECT_EQ(reading.mLoad, (std::array<double, 3>{12.5, 10.25, 9.0}));
    EXPECT_EQ(reading.mUser, 5.9);
    EXPECT_EQ(reading.mMemoryTotal, 8009452);
    EXPECT_EQ(reading.mMemoryAvailable, 3641024);
    ASSERT_EQ(reading.mProcesses.size(), 1u);
    EXPECT_EQ(reading.mProcesses[0].mCpu, 0.0);
}

TEST(Top, CutAnywhereGivesWhatWasThere)
{
    const std::string_view whole = IN_MEBIBYTES;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_LE(ReadTop(whole.substr(0, length)).mProcesses.size(), 2u);
    }
    EXPECT_EQ(ReadTop(whole.substr(0, 80)).mMemoryTotal, -1);
}

TEST(Top, KeepsNoMoreRowsThanItsLimit)
{
    TopParser parser;
    parser.TakeLine("PID USER RES %CPU %MEM COMMAND");
    for (std::size_t row = 0; row < MOST_PROCESS_ROWS + 7; ++row) {
        parser.TakeLine("1 root 1 0.0 0.0 sh");
    }
    EXPECT_EQ(parser.Get().mProcesses.size(), MOST_PROCESS_ROWS);
    EXPECT_EQ(parser.Get().mRowsLeftOut, 7u);
}

TEST(Top, HasNoProcessOutOfHostileText)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        EXPECT_TRUE(ReadTop(text).mProcesses.empty()) << text.substr(0, 40);
    }
}

} // namespace
} // namespace ctl
