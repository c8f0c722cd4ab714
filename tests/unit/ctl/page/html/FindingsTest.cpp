#include "page/html/Findings.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

ReportData MakeQuiet()
{
    ReportData data;
    data.mProcess = "tbrd";
    data.mProcessors = 4;
    for (int number = 0; number < 3; ++number) {
        HostSample& sample = data.mSamples.emplace_back();
        sample.mMemoryTotal = 1000000;
        sample.mMemoryAvailable = 500000;
        sample.mSwapUsed = 10;
        sample.mLoad1 = 2;
        sample.mTargetResident = 5000;
    }
    return data;
}

std::string TextOf(const ReportData& data)
{
    std::string text;
    for (const Finding& finding : FindWhatStandsOut(data)) {
        text += finding.mText + "\n";
    }
    return text;
}

TEST(Findings, OfAQuietHostAreNone)
{
    EXPECT_EQ(TextOf(MakeQuiet()), "");
    EXPECT_EQ(TextOf(ReportData()), "");
}

TEST(Findings, NameShortMemoryAndSwapping)
{
    ReportData data = MakeQuiet();
    data.mSamples[1].mMemoryAvailable = 30000;
    data.mSamples[2].mSwapUsed = 10 + 128 * 1024;
    EXPECT_EQ(
        TextOf(data),
        "The machine ran short of memory: only 29.3 MiB of 976.6 MiB (3.0 %) were available at the lowest.\n"
        "The machine was swapping out: 128.0 MiB more swap in use at the last sample than at the first.\n");
}

TEST(Findings, SayThatACaptureIsStillAtWork)
{
    ReportData data = MakeQuiet();
    data.mSetId = "tbrd/66/Evidence1/cpu-20261113T020728";
    data.mState = "in-progress";
    data.mProblems = {"Netstat: is missing"};
    EXPECT_EQ(TextOf(data),
              "A capture is still at work. So far: Netstat: is missing. See thsentinelctl verify "
              "tbrd/66/Evidence1/cpu-20261113T020728.\n");
    data.mProblems.emplace_back("ProcessData: is missing");
    EXPECT_EQ(TextOf(data), "A capture is still at work. So far: Netstat: is missing, and 1 more. See "
                            "thsentinelctl verify tbrd/66/Evidence1/cpu-20261113T020728.\n");
    data.mState = "incomplete";
    EXPECT_EQ(TextOf(data), "The evidence is not whole: 2 problems.\n");
    data.mState = "unknown";
    EXPECT_EQ(TextOf(data), "It isn't known whether the evidence is whole.\n");
}

TEST(Findings, NameTheWorstFirst)
{
    ReportData data = MakeQuiet();
    data.mSamples[1].mLoad1 = 9;
    data.mJava.mDeadlocks.emplace_back("x");
    const auto findings = FindWhatStandsOut(data);
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_EQ(findings[0].mText, "Java threads are deadlocked: they wait for each other for ever.");
    EXPECT_EQ(findings[1].mText, "The load reached 9.0 on 4 processors.");
}

TEST(Findings, NameGrowthBusyDisksAndForgottenSockets)
{
    ReportData data = MakeQuiet();
    data.mSamples[2].mTargetResident = 5000 + 20 * 1024;
    data.mDisks["sda"].push_back({1, {"sda", 1, 1, 1, 1, 80, 1, 95}});
    data.mSockets.mCloseWait = {{"10.0.0.1", "", 3, 0}, {"10.0.0.9", "66/tbrd", 20, 0}};
    EXPECT_EQ(TextOf(data), "tbrd grew by 20.0 MiB while the samples were taken.\n"
                            "Disk sda was busy 95.0 % of the time, and a request took 80 ms on average.\n"
                            "23 sockets in CLOSE_WAIT: the other side has closed and the program has not. "
                            "Most of them with 10.0.0.9, "
                            "held by 66/tbrd.\n");
}

TEST(Ranges, LeaveOutWhatIsNotKnown)
{
    std::vector<HostSample> samples(3);
    samples[1].mLoad1 = 2;
    samples[2].mLoad1 = 4;
    const Range range = RangeOf(samples, &HostSample::mLoad1);
    EXPECT_EQ(range.mFirst, 2);
    EXPECT_EQ(range.mLowest, 2);
    EXPECT_EQ(range.mHighest, 4);
    EXPECT_EQ(range.mMean, 3);
    EXPECT_EQ(RangeOf({}, &HostSample::mLoad1).mHighest, -1);
}

} // namespace
} // namespace ctl
