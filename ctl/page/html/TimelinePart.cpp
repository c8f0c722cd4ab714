#include "page/html/Chart.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr std::size_t MOST_EVENT_ROWS = 60;

struct EventText
{
    TimelineKind mKind;
    const char* mClass;
    const char* mText; ///< {n} name, {d} detail, {c} number, {r} reading, {t} limit
};

constexpr EventText EVENT_TEXTS[] = {
    {TimelineKind::Breach, "bad", "Limit exceeded: {r}, limit {t}"},
    {TimelineKind::CaptureWithoutLimit, "watch", "Evidence taken whatever the limit: reading {r}"},
    {TimelineKind::SetTaken, "", "Evidence set {c} begins"},
    {TimelineKind::SetsUsedUp, "watch", "No more sets for {n}: all {c} are taken"},
    {TimelineKind::CoreDone, "", "The core tool ended well (see the files for whether the core is whole)"},
    {TimelineKind::CoreFailed, "bad", "The core could not be taken"},
    {TimelineKind::CoreToolMissing, "bad", "No core: there is no{d}"},
    {TimelineKind::CaptureStarted, "", "Capture begins: {d}"},
    {TimelineKind::CaptureDone, "", "Capture ended: {d}"},
    {TimelineKind::JavaDumpDone, "", "A Java dump reached the evidence"},
    {TimelineKind::JavaDumpFailed, "bad", "A Java dump failed: {d}"},
    {TimelineKind::LevelRead, "", "Log level of {n} before: {c}"},
    {TimelineKind::LevelRaised, "", "Log levels of {n} raised to 6"},
    {TimelineKind::LevelReset, "", "Log levels of {n} put back"},
    {TimelineKind::ServiceStarted, "", "The daemon started"},
    {TimelineKind::ServiceStopped, "watch", "The daemon stopped"},
    {TimelineKind::Error, "bad", "Error:{d}"},
};

std::string ValueOf(const TimelineEvent& event, char place)
{
    switch (place) {
    case 'n':
        return event.mName;
    case 'd':
        return event.mDetail;
    case 'c':
        return FormatPlain(static_cast<double>(event.mNumber), 0);
    case 'r':
        return FormatPlain(event.mReading, 2) + (event.mUnit == "MB" ? " MB" : " %");
    default:
        return FormatPlain(event.mLimit, 0) + (event.mUnit == "MB" ? " MB" : " %");
    }
}

std::string TextOf(const TimelineEvent& event, std::string_view pattern)
{
    std::string text;
    for (auto open = pattern.find('{'); open != std::string_view::npos; open = pattern.find('{')) {
        text.append(pattern.substr(0, open)).append(ValueOf(event, pattern[open + 1]));
        pattern.remove_prefix(open + 3);
    }
    return text.append(pattern);
}

void WriteEvent(Html& html, const ReportData& data, const TimelineEvent& event)
{
    const auto row = std::find_if(std::begin(EVENT_TEXTS), std::end(EVENT_TEXTS),
                                  [&](const EventText& text) { return text.mKind == event.mKind; });
    if (row == std::end(EVENT_TEXTS)) {
        return;
    }
    const Wall from = data.mBreach ? data.mBreach->mWall : data.mWall;
    html.Row({TextCell(FormatWall(event.mWall), "time"), NumberCell(FormatOffset(event.mWall, from)),
              TextCell(TextOf(event, row->mText))},
             row->mClass);
}

/** The events nearest to the breach, when there are more than a table shows. */
void WriteEvents(Html& html, const ReportData& data)
{
    const auto isBefore = [&](const TimelineEvent& event) { return event.mWall < data.mWall - 1; };
    const auto begin =
        static_cast<std::size_t>(std::count_if(data.mEvents.begin(), data.mEvents.end(), isBefore));
    const std::size_t first = begin > MOST_EVENT_ROWS / 4 ? begin - MOST_EVENT_ROWS / 4 : 0;
    const std::size_t last = std::min(first + MOST_EVENT_ROWS, data.mEvents.size());
    html.BeginTable({TextCell("Time"), NumberCell("From the breach"), TextCell("What happened")}, "events");
    for (std::size_t index = first; index < last; ++index) {
        WriteEvent(html, data, data.mEvents[index]);
    }
    html.EndTable();
    if (last - first < data.mEvents.size()) {
        html.Paragraph("The log has " + FormatCount(static_cast<double>(data.mEvents.size()), "event") +
                           " of that time; the ones around the breach are shown.",
                       "aside");
    }
}

void WriteReadings(Html& html, const ReportData& data)
{
    Chart chart{
        "readings",
        data.mResource == "cpu" ? "Readings of the daemon, processor time" : "Readings of the daemon, memory",
        data.mBreach && data.mBreach->mUnit == "MB" ? ChartUnit::Number : ChartUnit::Percent,
        {},
        {{data.mProcess, {}}},
        -1,
        data.mBreach ? data.mBreach->mLimit : -1,
        data.mBreach ? data.mBreach->mWall : data.mWall};
    for (const TimelineEvent& reading : data.mReadings) {
        chart.mTimes.push_back(reading.mWall);
        chart.mSeries[0].mValues.push_back(reading.mReading);
    }
    WriteChart(html, std::move(chart));
}
} // namespace

void WriteTimeline(Html& html, const ReportData& data)
{
    html.BeginPart("timeline", "Timeline");
    if (!data.mHasLog) {
        html.Paragraph(
            "There is no diagnostic log of that day, so there is no timeline. Give the folder of the "
            "logs with --log DIR.");
    } else if (data.mReadings.empty()) {
        html.Paragraph("The log has no single readings: the daemon writes them only with THHS_VERBOSE = 1.",
                       "aside");
    }
    WriteReadings(html, data);
    if (!data.mEvents.empty()) {
        WriteEvents(html, data);
    }
    html.EndPart();
}

} // namespace ctl
