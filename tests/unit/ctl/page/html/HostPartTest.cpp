#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

HostSample MakeSample(Wall wall, double load, double available)
{
    HostSample sample;
    sample.mWall = wall;
    sample.mLoad1 = load;
    sample.mMemoryAvailable = available;
    return sample;
}

TEST(HostPart, WithoutSamplesSaysSo)
{
    const std::string text = ReadPart(WriteHost, {});
    EXPECT_THAT(text, HasSubstr("|The set has no memory statistics.|"));
    EXPECT_THAT(text, Not(HasSubstr("All samples")));
}

TEST(HostPart, ShowsTheRangeOfWhatWasSampled)
{
    ReportData data;
    data.mProcess = "tbrd";
    data.mSamples = {MakeSample(10, 1, 2048), MakeSample(15, 4, 1024), MakeSample(20, 2.5, 4096)};
    const std::string text = ReadPart(WriteHost, data);
    EXPECT_THAT(text, HasSubstr("|3 samples from 00:00:10 to 00:00:20.|"));
    EXPECT_THAT(text, HasSubstr("|Load, 1 minute|1.0|1.0|2.5|4.0|2.5|"));
    EXPECT_THAT(text, HasSubstr("|Memory available|2.00 MiB|1.00 MiB|2.33 MiB|4.00 MiB|4.00 MiB|"));
    EXPECT_THAT(text, HasSubstr("|All samples|"));
    EXPECT_THAT(text, HasSubstr("|00:00:15|4.00|1.00 MiB|"));
}

TEST(HostPart, ShowsCountsAsWholeNumbersAndEachLoadOfTheChart)
{
    ReportData data;
    data.mSamples = {MakeSample(10, 1, -1), MakeSample(15, 2, -1)};
    data.mSamples[0].mTasks = 18;
    data.mSamples[1].mTasks = 19;
    data.mSamples[0].mLoad5 = data.mSamples[0].mLoad15 = 1;
    const std::string text = ReadPart(WriteHost, data);
    EXPECT_THAT(text, HasSubstr("|Load, 5 minutes|1.0|1.0|1.0|1.0|1.0|Load, 15 minutes|1.0|"));
    EXPECT_THAT(text, HasSubstr("|Processes in all|18|18|18.5|19|19|"));
    for (const char* const series : {"1 minute", "5 minutes", "15 minutes"}) {
        EXPECT_THAT(text, HasSubstr("|" + std::string(series) + "|")) << "in the legend of the chart";
    }
}

TEST(HostPart, LeavesOutWhatNoToolSaid)
{
    ReportData data;
    data.mSamples = {MakeSample(10, 1, -1)};
    const std::string text = ReadPart(WriteHost, data);
    EXPECT_THAT(text, HasSubstr("|1 sample from 00:00:10.|"));
    EXPECT_THAT(text, Not(HasSubstr("|Memory available|1")));
    EXPECT_THAT(text, Not(HasSubstr("|Swap in use|-")));
}

TEST(HostPart, ShowsNoMoreRowsThanAReaderLooksAt)
{
    ReportData data;
    for (Wall wall = 0; wall < 600; ++wall) {
        data.mSamples.push_back(MakeSample(wall, 1, 1024));
    }
    const std::string text = ReadPart(WriteHost, data);
    EXPECT_THAT(text, HasSubstr("|00:08:19|1.00|"));
    EXPECT_THAT(text, Not(HasSubstr("|00:08:20|1.00|")));
}

TEST(HostPart, EscapesTheNameOfTheProcess)
{
    ReportData data;
    data.mProcess = "<script>alert(1)</script>";
    data.mSamples = {MakeSample(10, 1, 1024)};
    Html html;
    WriteHost(html, data);
    EXPECT_THAT(html.Get(), HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt; memory"));
    EXPECT_THAT(html.Get(), Not(HasSubstr("<script>alert")));
}

} // namespace
} // namespace ctl
