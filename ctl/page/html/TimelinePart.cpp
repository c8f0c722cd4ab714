#include "page/html/Chart.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"
#include "page/parse/Fields.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr std::size_t MOST_EVENT_ROWS = 60;
constexpr Wall FOLDED_WITHIN = 2; ///< seconds in which equal lines are one row

struct EventText
{
    LogEventKind mKind;
    const char* mClass;
    const char* mText; ///< {n} name, {d} detail, {c} number, {r} reading, {t} limit, {s} resource
};

constexpr EventText EVENT_TEXTS[] = {
    {LogEventKind::Breach, "bad", "Limit exceeded: {r}, limit {t}"},
    {LogEventKind::Forced, "watch", "Evidence taken whatever the limit: reading {r}"},
    {LogEventKind::CounterAdded, "", "The daemon begins to watch it"},
    {LogEventKind::Capture, "", "Evidence set {c}{s} begins"},
    {LogEventKind::Exhausted, "watch", "No more sets for {n}: all {c} are taken"},
    {LogEventKind::CoreWritten, "", "The core tool ended well (see the files for whether the core is whole)"},
    {LogEventKind::CoreFailed, "bad", "The core could not be taken"},
    {LogEventKind::CoreToolMissing, "bad", "No core: there is no {d}"},
    {LogEventKind::CaptureStarted, "", "Capture begins: {d}"},
    {LogEventKind::CaptureDone, "", "Capture ended: {d}"},
    {LogEventKind::JavaDumpDone, "", "A Java dump reached the evidence"},
    {LogEventKind::JavaDumpFailed, "bad", "A Java dump failed: {d}"},
    {LogEventKind::LevelSaved, "", "Log level of {n} before: {c}"},
    {LogEventKind::LevelRaised, "", "Log levels of {n} raised to 6"},
    {LogEventKind::LevelRestored, "", "Log levels of {n} put back"},
    {LogEventKind::Started, "", "The daemon started"},
    {LogEventKind::Stopped, "watch", "The daemon stopped"},
    {LogEventKind::Failure, "bad", "Error: {d}"},
};

std::string ValueOf(const TimelineEvent& event, char place)
{
    switch (place) {
    case 'n':
        return event.process;
    case 'd':
        return std::string(TrimBlanks(event.detail));
    case 'c':
        return FormatPlain(event.number, 0);
    case 'r':
        return FormatPlain(event.reading, 2) + (event.unit == "MB" ? " MB" : " %");
    case 's':
        return event.resource.empty() ? "" : event.resource == "cpu" ? " (processor time)" : " (memory)";
    default:
        return FormatPlain(event.limit, 0) + (event.unit == "MB" ? " MB" : " %");
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

/** A row of the timeline. */
struct EventRow
{
    Wall mWall = 0;
    std::string mText;
    const char* mClass = "";
    int mTimes = 1;
};

/** Adds an event to the rows; one that says what a row of just before says is counted there. */
void AddEvent(std::vector<EventRow>& rows, const TimelineEvent& event)
{
    const auto kind = std::find_if(std::begin(EVENT_TEXTS), std::end(EVENT_TEXTS),
                                   [&](const EventText& text) { return text.mKind == event.kind; });
    if (kind == std::end(EVENT_TEXTS)) {
        return;
    }
    EventRow added = {event.mWall, TextOf(event, kind->mText), kind->mClass};
    for (auto row = rows.rbegin(); row != rows.rend() && event.mWall - row->mWall <= FOLDED_WITHIN; ++row) {
        if (row->mText == added.mText) {
            ++row->mTimes;
            return;
        }
    }
    rows.push_back(std::move(added));
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
    std::vector<EventRow> rows;
    for (std::size_t index = first; index < last; ++index) {
        AddEvent(rows, data.mEvents[index]);
    }
    const Wall from = data.mBreach ? data.mBreach->mWall : data.mWall;
    for (const EventRow& row : rows) {
        const std::string times = row.mTimes > 1 ? " (" + FormatPlain(row.mTimes, 0) + " times)" : "";
        html.Row({TextCell(FormatWall(row.mWall), "time"), NumberCell(FormatOffset(row.mWall, from)),
                  TextCell(row.mText + times)},
                 row.mClass);
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
        !data.mReadings.empty() && data.mReadings.front().unit == "MB" ? ChartUnit::Megabytes
                                                                       : ChartUnit::Percent,
        {},
        {{data.mProcess, {}}},
        -1,
        data.mBreach ? static_cast<double>(data.mBreach->limit) : -1,
        data.mBreach ? data.mBreach->mWall : data.mWall};
    for (const TimelineEvent& reading : data.mReadings) {
        chart.mTimes.push_back(reading.mWall);
        chart.mSeries[0].mValues.push_back(reading.reading);
    }
    WriteChart(html, std::move(chart));
}
} // namespace

void WriteTimeline(Html& html, const ReportData& data)
{
    html.BeginPart("timeline", "Timeline");
    if (!data.mHasLog) {
        html.Paragraph(
            (data.mLogFailure.empty() ? "There is no diagnostic log of that day" : data.mLogFailure) +
            ", so there is no timeline. Give the folder of the logs with --log DIR.");
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
