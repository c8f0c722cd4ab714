#include "page/html/Chart.h"
#include "page/html/Findings.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>

namespace ctl
{

namespace
{
struct HostRow
{
    const char* mName;
    double HostSample::*mMember;
    ChartUnit mUnit;
    int mDigits = 1; ///< of a plain number
};

constexpr HostRow SUMMARY_ROWS[] = {
    {"Memory available", &HostSample::mMemoryAvailable, ChartUnit::Kilobytes},
    {"Memory used, without cache", &HostSample::mMemoryUsed, ChartUnit::Kilobytes},
    {"Buffers and cache", &HostSample::mCache, ChartUnit::Kilobytes},
    {"Swap in use", &HostSample::mSwapUsed, ChartUnit::Kilobytes},
    {"Committed memory", &HostSample::mCommitted, ChartUnit::Kilobytes},
    {"Load, 1 minute", &HostSample::mLoad1, ChartUnit::Number},
    {"Load, 5 minutes", &HostSample::mLoad5, ChartUnit::Number},
    {"Load, 15 minutes", &HostSample::mLoad15, ChartUnit::Number},
    {"Processes that want to run", &HostSample::mRunnable, ChartUnit::Number, 0},
    {"Processes blocked by disks", &HostSample::mBlocked, ChartUnit::Number, 0},
    {"Processes in all", &HostSample::mTasks, ChartUnit::Number, 0},
};

struct ProcessorRow
{
    const char* mName;
    double ProcessorSample::*mMember;
};

constexpr ProcessorRow PROCESSOR_ROWS[] = {
    {"programs", &ProcessorSample::mUser},          {"kernel", &ProcessorSample::mSystem},
    {"waiting for disks", &ProcessorSample::mWait}, {"low priority", &ProcessorSample::mNice},
    {"interrupts", &ProcessorSample::mInterrupts},  {"kept by the hypervisor", &ProcessorSample::mSteal},
};

std::string FormatBy(const HostRow& row, double value)
{
    return row.mUnit == ChartUnit::Kilobytes ? FormatKilobytes(value) : FormatNumber(value, row.mDigits);
}

/** The mean of counts may have a fraction, which no count has. */
std::string FormatMean(const HostRow& row, double mean)
{
    return row.mUnit == ChartUnit::Kilobytes ? FormatKilobytes(mean) : FormatNumber(mean, 1);
}

std::vector<double> ValuesOf(const ReportData& data, double HostSample::*member)
{
    std::vector<double> values;
    for (const HostSample& sample : data.mSamples) {
        values.push_back(sample.*member);
    }
    return values;
}

Chart MakeChart(const ReportData& data, const char* id, const char* title, ChartUnit unit)
{
    Chart chart{id, title, unit, {}, {}, -1, -1, data.mBreach ? data.mBreach->mWall : data.mWall};
    for (const HostSample& sample : data.mSamples) {
        chart.mTimes.push_back(sample.mWall);
    }
    return chart;
}

void WriteMemoryChart(Html& html, const ReportData& data)
{
    Chart chart = MakeChart(data, "memory", "Memory of the machine", ChartUnit::Kilobytes);
    chart.mSeries = {{"available", ValuesOf(data, &HostSample::mMemoryAvailable)},
                     {"used, without cache", ValuesOf(data, &HostSample::mMemoryUsed)},
                     {"swap in use", ValuesOf(data, &HostSample::mSwapUsed)}};
    chart.mCeiling = RangeOf(data.mSamples, &HostSample::mMemoryTotal).mHighest;
    WriteChart(html, std::move(chart));
}

void WriteLoadChart(Html& html, const ReportData& data)
{
    Chart chart = MakeChart(data, "load", "Load of the machine", ChartUnit::Number);
    chart.mSeries = {{"1 minute", ValuesOf(data, &HostSample::mLoad1)},
                     {"5 minutes", ValuesOf(data, &HostSample::mLoad5)},
                     {"15 minutes", ValuesOf(data, &HostSample::mLoad15)},
                     {"blocked by disks", ValuesOf(data, &HostSample::mBlocked)}};
    chart.mCeiling = data.mProcessors;
    WriteChart(html, std::move(chart));
}

void WriteTargetChart(Html& html, const ReportData& data)
{
    Chart memory = MakeChart(data, "target-memory", "", ChartUnit::Kilobytes);
    memory.mTitle = "Memory that " + data.mProcess + " holds";
    memory.mSeries = {{"resident", ValuesOf(data, &HostSample::mTargetResident)}};
    WriteChart(html, std::move(memory));
    Chart processor = MakeChart(data, "target-cpu", "", ChartUnit::Percent);
    processor.mTitle = "Processor time of " + data.mProcess + " (100 % is one processor)";
    processor.mSeries = {{"of one processor", ValuesOf(data, &HostSample::mTargetCpu)}};
    WriteChart(html, std::move(processor));
}

void WriteProcessorChart(Html& html, const ReportData& data)
{
    Chart chart = MakeChart(data, "processors", "Time of all processors", ChartUnit::Percent);
    chart.mTimes.clear();
    for (const ProcessorPoint& point : data.mProcessorPoints) {
        chart.mTimes.push_back(point.mWall);
    }
    for (const ProcessorRow& row : PROCESSOR_ROWS) {
        ChartSeries& series = chart.mSeries.emplace_back(ChartSeries{row.mName, {}});
        for (const ProcessorPoint& point : data.mProcessorPoints) {
            series.mValues.push_back(point.mSample.*row.mMember);
        }
    }
    // What was never above half a percent only crowds the picture.
    std::erase_if(chart.mSeries, [](const ChartSeries& series) {
        return series.mValues.empty() ||
               *std::max_element(series.mValues.begin(), series.mValues.end()) < 0.5;
    });
    chart.mCeiling = 100;
    WriteChart(html, std::move(chart));
}

void WriteSummary(Html& html, const ReportData& data)
{
    html.BeginTable({TextCell(""), NumberCell("First"), NumberCell("Lowest"), NumberCell("Mean"),
                     NumberCell("Highest"), NumberCell("Last")});
    for (const HostRow& row : SUMMARY_ROWS) {
        const Range range = RangeOf(data.mSamples, row.mMember);
        if (range.mHighest >= 0) {
            html.Row({TextCell(row.mName), NumberCell(FormatBy(row, range.mFirst)),
                      NumberCell(FormatBy(row, range.mLowest)), NumberCell(FormatMean(row, range.mMean)),
                      NumberCell(FormatBy(row, range.mHighest)), NumberCell(FormatBy(row, range.mLast))});
        }
    }
    html.EndTable();
}

void WriteSamples(Html& html, const ReportData& data)
{
    html.Markup("<details><summary>All samples</summary>");
    html.BeginTable({TextCell("Time"), NumberCell("Load 1 min"), NumberCell("Memory available"),
                     NumberCell("Swap in use"), NumberCell("Want to run"), NumberCell("Blocked"),
                     NumberCell(data.mProcess + " memory"), NumberCell(data.mProcess + " processor")});
    constexpr std::size_t MOST_SAMPLE_ROWS = 500;
    for (std::size_t index = 0; index < std::min(MOST_SAMPLE_ROWS, data.mSamples.size()); ++index) {
        const HostSample& sample = data.mSamples[index];
        html.Row({TextCell(FormatWallClock(sample.mWall), "time"), NumberCell(FormatNumber(sample.mLoad1, 2)),
                  NumberCell(FormatKilobytes(sample.mMemoryAvailable)),
                  NumberCell(FormatKilobytes(sample.mSwapUsed)),
                  NumberCell(FormatNumber(sample.mRunnable, 0)), NumberCell(FormatNumber(sample.mBlocked, 0)),
                  NumberCell(FormatKilobytes(sample.mTargetResident)),
                  NumberCell(FormatPercent(sample.mTargetCpu))});
    }
    html.EndTable().Markup("</details>");
}
} // namespace

void WriteHost(Html& html, const ReportData& data)
{
    html.BeginPart("host", "Memory and load");
    if (data.mSamples.empty()) {
        html.Paragraph("The set has no memory statistics.");
    } else {
        const Wall span = data.mSamples.back().mWall - data.mSamples.front().mWall;
        html.Paragraph(FormatCount(static_cast<double>(data.mSamples.size()), "sample") + " from " +
                       FormatWallClock(data.mSamples.front().mWall) +
                       (span > 0 ? " to " + FormatWallClock(data.mSamples.back().mWall) : "") + ".");
        WriteMemoryChart(html, data);
        WriteLoadChart(html, data);
    }
    WriteProcessorChart(html, data);
    if (!data.mSamples.empty()) {
        WriteTargetChart(html, data);
        WriteSummary(html, data);
        WriteSamples(html, data);
    }
    html.EndPart();
}

} // namespace ctl
