#include "page/read/SetReader.h"

#include "ctl/evidence/EvidenceFolder.h"
#include "page/read/WallClock.h"

#include <gtest/gtest.h>

#include <fcntl.h>

namespace ctl
{
namespace
{

std::string Head(const std::string& command)
{
    const std::string rule(82, '-');
    return "\n\n" + rule + "\nCommand: " + command + "\n" + rule + "\n";
}

std::string TopAt(const char* clock, const char* resident, const char* cpu)
{
    return Head("/usr/bin/top -b -n 1") + "top - " + clock +
           " up 1 day, 1 user,  load average: 1.50, 1.00, 0.50\n\n" +
           "  PID USER RES %CPU %MEM COMMAND\n 4321 root " + resident + " " + cpu +
           " 1.0 tbrd\n    7 root 5 0.5 0.0 sh\n";
}

std::string ListingOf(const char* resident)
{
    return Head("/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120") +
           "  PID %MEM   RSS    VSZ    SZ  SIZE COMMAND\n 4321  1.0 " + resident +
           " 9 9 9  \\_ /bin/tbrd -d\n";
}

/** The sets of a tree with one file of the first process, as the page reads them. */
class SetFixture : public testing::Test
{
protected:
    void Write(const std::string& suffix, const std::string& text,
               const std::string& stamp = "13-11_02.10.28", int number = 1)
    {
        mFolder.Write("tbrd/4321/Evidence" + std::to_string(number) + "/4321_" + stamp + "_CPU." + suffix,
                      text);
    }

    ReportData Read()
    {
        const auto [tree, sets] = FindSets(mFolder.GetPath());
        EXPECT_FALSE(sets.empty());
        return sets.empty()
                   ? ReportData()
                   : ReadSet(tree, sets.back(), 1794535648, [this](std::uint64_t bytes) { mRead += bytes; });
    }

    EvidenceFolder mFolder;
    std::uint64_t mRead = 0; ///< bytes of sections, as the progress learned of them
};

TEST_F(SetFixture, ShowsHowFarItHasCome)
{
    const std::string listing = ListingOf("1000");
    Write("MemoryPerf", listing + listing);
    (void)Read(); // the progress alone is looked at
    EXPECT_EQ(mRead, 2 * (listing.size() -
                          Head("/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120").size()));
}

TEST_F(SetFixture, SamplesOfTheHostBeginWithTop)
{
    Write("MemoryPerf", TopAt("02:10:28", "1000", "90.0") + ListingOf("1000") + Head("/usr/bin/free ") +
                            "   total used free shared buff/cache available\nMem: 8000 100 200 0 300 4000\n"
                            "Swap: 50 5 45\n" +
                            TopAt("02:10:33", "1500", "30.0") + ListingOf("1500"));
    const ReportData data = Read();
    ASSERT_EQ(data.mSamples.size(), 2u);
    EXPECT_EQ(data.mSamples[0].mLoad1, 1.5);
    EXPECT_EQ(data.mSamples[0].mMemoryAvailable, 4000);
    EXPECT_EQ(data.mSamples[0].mTargetResident, 1000);
    EXPECT_EQ(data.mSamples[0].mTargetCpu, 90);
    EXPECT_EQ(data.mSamples[1].mWall - data.mSamples[0].mWall, 5);
    EXPECT_EQ(data.mSamples[1].mMemoryAvailable, -1);
    const ProcessSummary& target = data.mProcesses.at(4321);
    EXPECT_EQ(target.mCommand, "/bin/tbrd -d");
    EXPECT_EQ(target.mHighestCpu, 90);
    EXPECT_EQ(target.GetMeanCpu(), 60);
    EXPECT_EQ(target.mLastResident - target.mFirstResident, 500);
    EXPECT_EQ(data.mProcesses.at(7).mCommand, "sh");
}

TEST_F(SetFixture, DisksLeaveOutTheReportSinceTheStartOfTheMachine)
{
    const std::string host = "Linux 6.1.0 (alpha) \t11/13/26 \t_x86_64_\t(4 CPU)\n\n";
    const auto report = [](const char* clock, const char* busy) {
        return std::string("11/13/26 ") + clock + "\nDevice r/s w/s %util\nsda 1 1 " + busy + "\n\n";
    };
    Write("DiskPerf_iostat",
          Head("/usr/bin/iostat -xt 5 2") + host + report("02:10:28", "1") + report("02:10:33", "99"));
    const ReportData data = Read();
    EXPECT_EQ(data.mHost, "alpha");
    EXPECT_EQ(data.mProcessors, 4);
    ASSERT_EQ(data.mDisks.at("sda").size(), 1u);
    EXPECT_EQ(data.mDisks.at("sda")[0].mRow.mUtilisation, 99);
}

TEST_F(SetFixture, OneReportOfDisksIsNoneAndIsSaid)
{
    Write("DiskPerf_iostat", Head("/usr/bin/iostat -xt 5 1") + "11/13/26 02:10:28\nDevice %util\nsda 5\n");
    const ReportData data = Read();
    EXPECT_TRUE(data.mDisks.empty());
    ASSERT_EQ(data.mNotes.size(), 1u);
    EXPECT_EQ(data.mNotes[0],
              "iostat took one sample alone, which covers the time since the machine's start: there are "
              "no disk figures of the breach.");
}

TEST_F(SetFixture, SocketsComeFromTheWholeListAndNotFromAFilteredOne)
{
    Write("Netstat", Head("/bin/netstat -na | grep CLOSE_WAIT") + "tcp 1 0 a:1 b:2 CLOSE_WAIT\n" +
                         Head("/bin/netstat -nalp") +
                         "tcp 1 0 a:1 b:2 CLOSE_WAIT 4321/tbrd\ntcp 0 0 c:1 d:2 LISTEN -\n" +
                         Head("/bin/netstat -anop | /bin/grep 4321") +
                         "tcp 1 0 a:1 b:2 CLOSE_WAIT 4321/tbrd\n");
    const ReportData data = Read();
    EXPECT_EQ(data.mSockets.mSocketCount, 2);
    ASSERT_EQ(data.mSockets.mCloseWait.size(), 1u);
    EXPECT_EQ(data.mSockets.mCloseWait[0].mProgram, "4321/tbrd");
}

TEST_F(SetFixture, GrowthIsHeldAgainstTheSetBeforeOfTheSameProcess)
{
    const auto smaps = [](const char* resident) {
        return Head("/bin/cat /proc/4321/smaps") + "1000-2000 rw-p 0 0:0 0 [heap]\nRss: " + resident +
               " kB\n";
    };
    Write("ProcessData", smaps("100"), "13-11_01.10.28");
    Write("ProcessData", smaps("900"), "13-11_02.10.28", 2);
    const ReportData data = Read();
    ASSERT_TRUE(data.mEarlier);
    EXPECT_EQ(data.mEarlier->mSetId, "tbrd/4321/Evidence1/cpu-20261113T011028");
    EXPECT_EQ(data.mEarlier->mMappings.mTotal.mResident, 100);
    EXPECT_EQ(data.mMappings.mTotal.mResident, 900);
}

TEST_F(SetFixture, PmapServesWhereTheMapOfTheProcessIsEmpty)
{
    Write("ProcessData", Head("/bin/cat /proc/4321/smaps") + Head("/bin/pmap 4321") +
                             "0000000000001000 8K rw--- [ anon ]\n");
    const ReportData data = Read();
    EXPECT_FALSE(data.mMappings.mHasResident);
    EXPECT_EQ(data.mMappings.mTotal.mSize, 8);
}

TEST_F(SetFixture, ACoreThatIsNoneHasNoThreadsAndThatIsSaid)
{
    mFolder.Write("tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.4321", std::string(5000, 'x'));
    const ReportData data = Read();
    EXPECT_EQ(data.mStacks.mThreadCount, 0u);
    EXPECT_EQ(data.mStackFailure,
              "The program that the core is of is not on this host, so its threads can't be shown.");
}

TEST_F(SetFixture, AThreadDumpThatEndsEarlyIsSaid)
{
    Write("ThreadDump", "Full thread dump X:\n\n\"a\" #1 tid=0x1\n");
    EXPECT_EQ(Read().mNotes.at(0),
              "The thread dump ends before its end: threads and deadlocks may be missing.");
}

TEST_F(SetFixture, DamagedFilesOfEachKindAreReadAsFarAsTheyGo)
{
    for (const char* suffix :
         {"MemoryPerf", "Netstat", "DiskPerf_iostat", "DiskPerf_mpstat", "ProcessData", "ThreadDump"}) {
        Write(suffix, std::string(4096, '\0') + Head("/usr/bin/top -b -n 1") + "top - \xff\xfe\n" +
                          std::string(100000, 'x'));
    }
    const ReportData data = Read();
    EXPECT_EQ(data.mFiles.size(), 6u);
    EXPECT_TRUE(data.mProcesses.empty());
}

TEST(WallClock, GoesOnOverMidnight)
{
    WallClock clock(SECONDS_OF_DAY - 5);
    EXPECT_EQ(clock.At(86398), SECONDS_OF_DAY - 2);
    EXPECT_EQ(clock.At(3), SECONDS_OF_DAY + 3);
    EXPECT_EQ(clock.At(std::nullopt), SECONDS_OF_DAY + 3);
}

} // namespace
} // namespace ctl
