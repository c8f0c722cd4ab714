#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

ReportData MakeMemoryBreach(const char* unit, double reading, int limit)
{
    ReportData data;
    data.mProcess = "tbrd";
    data.mResource = "memory";
    data.mBreach = MakeEvent(LogEventKind::Breach, 1000);
    data.mBreach->resource = "memory";
    data.mBreach->unit = unit;
    data.mBreach->reading = reading;
    data.mBreach->limit = limit;
    return data;
}

TEST(BreachPart, NamesAmountLimitAndExcessInTheirUnit)
{
    const std::string inMegabytes = ReadPart(WriteBreach, MakeMemoryBreach("MB", 3000, 2000));
    EXPECT_THAT(inMegabytes, HasSubstr("used 3000.00 MB of memory; its limit is 2000 MB."));
    EXPECT_THAT(inMegabytes, HasSubstr("|1.5 times the limit, 1000.00 MB above it.|"));
    const std::string inPercent = ReadPart(WriteBreach, MakeMemoryBreach("Percent", 30, 0));
    EXPECT_THAT(inPercent, HasSubstr("used 30.00 % of this machine&#39;s memory; its limit is 0 %."));
    EXPECT_THAT(inPercent, HasSubstr("|30.00 percentage points above it.|")) << "nothing is a multiple of 0";
}

TEST(BreachPart, ShowsTheWindowThatEndsWithTheBreach)
{
    ReportData data = MakeMemoryBreach("MB", 60, 10);
    for (int minute = 0; minute < 8; ++minute) {
        data.mReadings.push_back(MakeEvent(LogEventKind::Usage, 1000 + 60 * (minute - 6)));
        data.mReadings.back().reading = 10 * minute;
    }
    EXPECT_THAT(
        ReadPart(WriteBreach, data),
        HasSubstr("|Readings of the window|20.00, 30.00, 40.00, 50.00, 60.00. Their average is 40.00.|"));
}

TEST(BreachPart, NamesNoResourceWhereNoFileDoes)
{
    ReportData data;
    data.mProcess = "tbrd";
    EXPECT_EQ(DescribeBreach(data), "breached a limit; no file and no log says which");
    data.mResource = "memory";
    EXPECT_EQ(DescribeBreach(data),
              "breached its limit of memory; the log that says by how much is not there");
    data.mLogFailure = "The log can't be read: Permission denied";
    EXPECT_EQ(DescribeBreach(data),
              "breached its limit of memory; the log that says by how much can't be read");
    data.mHasLog = true;
    EXPECT_EQ(DescribeBreach(data), "breached its limit of memory; the log does not say by how much");
}

TEST(BreachPart, SaysWhenTheSettingsTakeEvidenceWhateverTheLimit)
{
    ReportData data = MakeMemoryBreach("MB", 60, 10);
    data.mBreach->kind = LogEventKind::Forced;
    const std::string text = ReadPart(WriteBreach, data);
    EXPECT_THAT(text, HasSubstr("used 60.00 MB of memory; the settings take evidence whatever the limit."));
    EXPECT_THAT(text, Not(HasSubstr("By how much")));
}

} // namespace
} // namespace ctl
