#include "page/html/Findings.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr std::size_t WINDOW = 5;

/** "95.00 % of this machine's processors" */
std::string DescribeAmount(const TimelineEvent& breach, double amount, int digits)
{
    if (breach.unit == "MB") {
        return FormatPlain(amount, digits) + " MB of memory";
    }
    return FormatPlain(amount, digits) + " % of this machine's " +
           (breach.resource == "cpu" ? "processors" : "memory");
}

std::string DescribeExcess(const TimelineEvent& breach)
{
    const double excess = breach.reading - breach.limit;
    std::string text =
        FormatPlain(excess, 2) + (breach.unit == "MB" ? " MB" : " percentage points") + " above it";
    if (breach.limit > 0) {
        text = FormatPlain(breach.reading / breach.limit, 1) + " times the limit, " + text;
    }
    return text;
}

/** The last readings before the breach, which are its window; empty when the log doesn't have them. */
std::vector<TimelineEvent> WindowOf(const ReportData& data)
{
    std::vector<TimelineEvent> window;
    for (const TimelineEvent& reading : data.mReadings) {
        if (reading.mWall <= data.mBreach->mWall) {
            window.push_back(reading);
        }
    }
    window.erase(window.begin(), window.end() - static_cast<std::ptrdiff_t>(std::min(WINDOW, window.size())));
    return window;
}

void WriteWindow(Html& html, const ReportData& data)
{
    const auto window = WindowOf(data);
    if (window.empty()) {
        return;
    }
    std::string values;
    double sum = 0;
    for (const TimelineEvent& reading : window) {
        values += (values.empty() ? "" : ", ") + FormatPlain(reading.reading, 2);
        sum += reading.reading;
    }
    html.Markup("<dt>Readings of the window</dt><dd>").Text(values + ". Their average is ");
    html.Text(FormatPlain(sum / static_cast<double>(window.size()), 2) + ".").Markup("</dd>");
}

void WriteFacts(Html& html, const ReportData& data)
{
    html.Markup("<dl class=\"facts\">");
    if (data.mBreach) {
        html.Markup("<dt>When</dt><dd>")
            .Text(FormatWall(data.mBreach->mWall))
            .Markup(", local time of the host</dd>");
        if (data.mBreach->kind == LogEventKind::Breach) {
            html.Markup("<dt>By how much</dt><dd>").Text(DescribeExcess(*data.mBreach) + ".").Markup("</dd>");
        }
        WriteWindow(html, data);
    } else {
        html.Markup("<dt>When</dt><dd>")
            .Text(FormatWall(data.mWall))
            .Markup(", from the names of the files</dd>");
    }
    html.Markup("<dt>Host</dt><dd>").Text(data.mHost.empty() ? "not known" : data.mHost);
    if (data.mProcessors > 0) {
        html.Text(", " + FormatCount(data.mProcessors, "processor"));
    }
    const double memory = RangeOf(data.mSamples, &HostSample::mMemoryTotal).mHighest;
    html.Text(memory > 0 ? ", " + FormatKilobytes(memory) + " of memory" : "");
    html.Text(data.mKernel.empty() ? "" : ", " + data.mKernel).Markup("</dd>");
    html.Markup("<dt>Evidence</dt><dd>").Element("code", data.mPath).Markup("</dd></dl>");
}

void WriteFindings(Html& html, const ReportData& data)
{
    html.Element("h3", "What stands out");
    const auto findings = FindWhatStandsOut(data);
    if (findings.empty()) {
        html.Paragraph("Besides the breach itself nothing in the evidence is out of the ordinary.");
        return;
    }
    constexpr const char* CLASSES[] = {"note", "watch", "bad"};
    html.Markup("<ul class=\"findings\">");
    for (const Finding& finding : findings) {
        html.Markup("<li class=\"").Markup(CLASSES[static_cast<int>(finding.mWeight)]).Markup("\">");
        html.Text(finding.mText).Markup(" <a href=\"#").Markup(finding.mPart).Markup("\">Show</a></li>");
    }
    html.Markup("</ul>");
}

/** Why it isn't known by how much a limit was exceeded. */
const char* DescribeMissingBreach(const ReportData& data)
{
    if (data.mHasLog) {
        return "; the log does not say by how much";
    }
    return data.mLogFailure.empty() ? "; the log that says by how much is not there"
                                    : "; the log that says by how much can't be read";
}
} // namespace

std::string DescribeBreach(const ReportData& data)
{
    if (!data.mBreach && data.mResource.empty()) {
        return "breached a limit; no file and no log says which";
    }
    if (!data.mBreach) {
        return "breached its limit of " + std::string(data.mResource == "cpu" ? "processor time" : "memory") +
               DescribeMissingBreach(data);
    }
    const TimelineEvent& breach = *data.mBreach;
    const std::string used = "used " + DescribeAmount(breach, breach.reading, 2);
    if (breach.kind == LogEventKind::Forced) {
        return used + "; the settings take evidence whatever the limit";
    }
    return used + "; its limit is " + FormatPlain(breach.limit, 0) + (breach.unit == "MB" ? " MB" : " %");
}

void WriteBreach(Html& html, const ReportData& data)
{
    html.Markup("\n<header id=\"breach\"><p class=\"kicker\">")
        .Text(data.mResource == "cpu"      ? "Processor time"
              : data.mResource == "memory" ? "Memory"
                                           : "Evidence")
        .Markup(" breach, evidence set ")
        .Text(FormatPlain(data.mNumber, 0))
        .Markup("</p><h1><b>")
        .Text(data.mProcess)
        .Markup("</b> (process ")
        .Text(FormatPlain(data.mPid, 0))
        .Markup(") ")
        .Text(DescribeBreach(data) + ".")
        .Markup("</h1>");
    WriteFacts(html, data);
    if (data.mBreach && data.mBreach->resource == "cpu") {
        html.Paragraph(
            "The reading is the average over the whole life of the process. What it uses at the moment "
            "may be more or less: see the processes below.",
            "aside");
    }
    WriteFindings(html, data);
    html.Markup("</header>");
}

} // namespace ctl
