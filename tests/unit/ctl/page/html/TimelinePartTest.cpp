#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

ReportData MakeTimeline()
{
    ReportData data;
    data.mHasLog = true;
    data.mWall = 1000;
    data.mBreach = MakeEvent(LogEventKind::Breach, 1000);
    return data;
}

TEST(TimelinePart, ShowsBreachCapturesAndLevelsWithTheirDistance)
{
    ReportData data = MakeTimeline();
    data.mEvents = {MakeEvent(LogEventKind::Started, 400), *data.mBreach,
                    MakeEvent(LogEventKind::CaptureDone, 1262), MakeEvent(LogEventKind::LevelRaised, 1003)};
    data.mEvents[2].detail = "Memory Performance";
    const std::string text = ReadPart(WriteTimeline, data);
    EXPECT_THAT(text, HasSubstr("|1970-01-01 00:06:40|\u221210 min|The daemon started|"));
    EXPECT_THAT(text, HasSubstr("|+0 s|Limit exceeded: 48.50 %, limit 25 %|"));
    EXPECT_THAT(text, HasSubstr("|+4 min 22 s|Capture ended: Memory Performance|"));
    EXPECT_THAT(text, HasSubstr("|+3 s|Log levels of tbrd raised to 6|"));
}

TEST(TimelinePart, ShowsEqualLinesOfAMomentOnce)
{
    ReportData data = MakeTimeline();
    data.mEvents = {MakeEvent(LogEventKind::Stopped, 1300), MakeEvent(LogEventKind::Failure, 1300),
                    MakeEvent(LogEventKind::Stopped, 1301), MakeEvent(LogEventKind::Stopped, 1302),
                    MakeEvent(LogEventKind::Stopped, 1400)};
    data.mEvents[1].detail = "the settings are bad";
    EXPECT_THAT(ReadPart(WriteTimeline, data),
                HasSubstr("|1970-01-01 00:21:40|+5 min|The daemon stopped (3 times)|"
                          "1970-01-01 00:21:40|+5 min|Error: the settings are bad|"
                          "1970-01-01 00:23:20|+6 min 40 s|The daemon stopped|"));
}

TEST(TimelinePart, NamesTheResourceOfEachSet)
{
    ReportData data = MakeTimeline();
    data.mEvents = {MakeEvent(LogEventKind::Capture, 1000), MakeEvent(LogEventKind::Capture, 1001),
                    MakeEvent(LogEventKind::Capture, 1002)};
    data.mEvents[1].resource = "memory";
    data.mEvents[2].resource = "";
    const std::string text = ReadPart(WriteTimeline, data);
    EXPECT_THAT(text, HasSubstr("|Evidence set 0 (processor time) begins|"));
    EXPECT_THAT(text, HasSubstr("|Evidence set 0 (memory) begins|"));
    EXPECT_THAT(text, HasSubstr("|Evidence set 0 begins|"));
}

TEST(TimelinePart, KeepsTheEventsAroundTheBreachWhereThereAreMany)
{
    ReportData data = MakeTimeline();
    for (int second = 0; second < 2000; ++second) {
        data.mEvents.push_back(MakeEvent(LogEventKind::Failure, second));
        data.mEvents.back().detail = " number " + std::to_string(second) + ".";
    }
    const std::string text = ReadPart(WriteTimeline, data);
    EXPECT_THAT(text, HasSubstr("Error: number 1000.|"));
    EXPECT_THAT(text, Not(HasSubstr("Error: number 900.|")));
    EXPECT_THAT(text,
                HasSubstr("The log has 2000 events of that time; the ones around the breach are shown."));
}

} // namespace
} // namespace ctl
