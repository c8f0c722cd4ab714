#include "page/read/MemoryReader.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

constexpr Wall SET = 1794535648; // 2026-11-13 02:07:28

class MemoryReaderFixture : public testing::Test
{
protected:
    MemoryReaderFixture()
    {
        mData.mPid = 66;
        mData.mWall = SET;
    }

    /** One section of a tool with these lines. */
    void Read(MemoryReader& reader, const std::string& tool, const std::vector<std::string>& lines) const
    {
        const LineTaker take = reader.Begin(tool);
        ASSERT_TRUE(take) << tool;
        for (const std::string& line : lines) {
            take(line);
        }
        reader.End();
    }

    void ReadTop(MemoryReader& reader, const std::string& clock, const std::string& cpu) const
    {
        Read(reader, "top -b -n 1",
             {"top - " + clock + " up 1 day,  1 user,  load average: 1.50, 2.50, 3.50",
              "Tasks: 100 total,   1 running,  99 sleeping,   0 stopped,   2 zombie",
              "    PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND",
              "     66 root      20   0    1000    500    100 R  " + cpu + "   0.1   0:01.00 tbrd"});
    }

    ReportData mData;
};

TEST_F(MemoryReaderFixture, MakesOneSampleOfTheToolsOfAReading)
{
    MemoryReader reader(mData);
    ReadTop(reader, "02:07:29", "12.5");
    Read(reader, "ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
         {"    PID %MEM   RSS    VSZ    SZ  SIZE COMMAND",
          "     66  0.1   500   1000   250   300 /opt/tbrd -d"});
    Read(reader, "free",
         {"               total        used        free      shared  buff/cache   available",
          "Mem:           16000        4000        8000         100        4000       11000",
          "Swap:           2000         500        1500"});
    Read(reader, "cat /proc/meminfo", {"MemTotal:       16000 kB", "Committed_AS:    9000 kB"});
    ReadTop(reader, "02:07:34", "25.0");
    ASSERT_EQ(mData.mSamples.size(), 2U);
    const HostSample& sample = mData.mSamples[0];
    EXPECT_EQ(sample.mWall, SET + 1);
    EXPECT_EQ(sample.mLoad5, 2.5);
    EXPECT_EQ(sample.mZombies, 2);
    EXPECT_EQ(sample.mTargetCpu, 12.5);
    EXPECT_EQ(sample.mTargetResident, 500);
    EXPECT_EQ(sample.mMemoryAvailable, 11000);
    EXPECT_EQ(sample.mSwapUsed, 500);
    EXPECT_EQ(sample.mCommitted, 9000);
    EXPECT_EQ(mData.mSamples[1].mWall, SET + 6);
    EXPECT_EQ(mData.mSamples[1].mMemoryAvailable, -1) << "the second reading is cut short";
    const ProcessSummary& process = mData.mProcesses.at(66);
    EXPECT_EQ(process.mCommand, "/opt/tbrd -d");
    EXPECT_EQ(process.mHighestCpu, 25);
    EXPECT_EQ(process.GetMeanCpu(), 18.75);
}

TEST_F(MemoryReaderFixture, ReckonsWhatOldKernelsDoNotSay)
{
    MemoryReader reader(mData);
    Read(reader, "cat /proc/meminfo",
         {"MemTotal: 16000 kB", "MemFree: 8000 kB", "Buffers: 100 kB", "Cached: 300 kB"});
    EXPECT_EQ(mData.mSamples.at(0).mMemoryAvailable, 8400);
}

TEST_F(MemoryReaderFixture, TakesNothingOfOtherTools)
{
    MemoryReader reader(mData);
    for (const char* const tool : {"", "topless", "ps", "cat /etc/passwd", "iostat -xt 5 50"}) {
        EXPECT_FALSE(reader.Begin(tool)) << tool;
        reader.End();
    }
    EXPECT_TRUE(mData.mSamples.empty());
}

TEST_F(MemoryReaderFixture, OfEmptyAndBinaryOutputKnowsNothing)
{
    MemoryReader reader(mData);
    const std::vector<std::string> hostile = {"", std::string(70'000, '\0'), "\xFF\xFE\x80",
                                              "99999999999999999999999999 nan inf -1e999 x y z",
                                              std::string(200'000, '9')};
    for (const char* const tool :
         {"top -b -n 1", "ps faxeo pid,args", "free", "vmstat", "cat /proc/meminfo"}) {
        Read(reader, tool, {});
        Read(reader, tool, hostile);
    }
    ASSERT_FALSE(mData.mSamples.empty());
    EXPECT_EQ(mData.mSamples.back().mTargetResident, -1);
    EXPECT_EQ(mData.mSamples.back().mLoad1, -1);
    EXPECT_TRUE(mData.mProcesses.empty());
}

TEST_F(MemoryReaderFixture, KeepsABoundedNumberOfSamplesAndOfEachCommand)
{
    MemoryReader reader(mData);
    for (int reading = 0; reading < 20'010; ++reading) {
        Read(reader, "top -b -n 1", {});
    }
    EXPECT_EQ(mData.mSamples.size(), 20'000U);
    Read(reader, "ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
         {"    PID %MEM   RSS    VSZ    SZ  SIZE COMMAND",
          "     66  0.1   500   1000   250   300 " + std::string(5000, 'x')});
    EXPECT_EQ(mData.mProcesses.at(66).mCommand.size(), 200U);
}

} // namespace
} // namespace ctl
