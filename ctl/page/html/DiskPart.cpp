#include "page/html/Chart.h"
#include "page/html/Findings.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>

namespace ctl
{

namespace
{
using Disk = std::pair<const std::string, std::vector<DiskPoint>>;

/** The disks, busiest first. */
std::vector<const Disk*> GetBusiest(const ReportData& data)
{
    std::vector<const Disk*> disks;
    for (const Disk& disk : data.mDisks) {
        disks.push_back(&disk);
    }
    std::stable_sort(disks.begin(), disks.end(), [](const Disk* left, const Disk* right) {
        return RangeOf(left->second, &DiskRow::mUtilisation).mMean >
               RangeOf(right->second, &DiskRow::mUtilisation).mMean;
    });
    return disks;
}

/** A chart of one column, a line a disk, over the times of the busiest one. */
Chart MakeChart(const ReportData& data, const std::vector<const Disk*>& disks, double DiskRow::*member)
{
    Chart chart;
    chart.mMark = data.mBreach ? data.mBreach->mWall : data.mWall;
    for (const DiskPoint& point : disks.front()->second) {
        chart.mTimes.push_back(point.mWall);
    }
    for (const Disk* disk : disks) {
        ChartSeries& series = chart.mSeries.emplace_back(ChartSeries{disk->first, {}});
        for (const DiskPoint& point : disk->second) {
            series.mValues.push_back(point.mRow.*member);
        }
        series.mValues.resize(chart.mTimes.size(), -1); // a disk that came or went in between
    }
    return chart;
}

void WriteCharts(Html& html, const ReportData& data, std::vector<const Disk*> disks)
{
    KeepFirst(disks, MOST_SERIES);
    Chart busy = MakeChart(data, disks, &DiskRow::mUtilisation);
    busy.mId = "disk-use";
    busy.mTitle = "Time with a request under way";
    busy.mUnit = ChartUnit::Percent;
    busy.mCeiling = 100;
    WriteChart(html, std::move(busy));
    Chart latency = MakeChart(data, disks, &DiskRow::mLatency);
    latency.mId = "disk-wait";
    latency.mTitle = "Time that a request takes";
    latency.mUnit = ChartUnit::Milliseconds;
    WriteChart(html, std::move(latency));
}

void WriteDisk(Html& html, const Disk& disk)
{
    const auto& points = disk.second;
    const Range busy = RangeOf(points, &DiskRow::mUtilisation);
    const Range latency = RangeOf(points, &DiskRow::mLatency);
    html.Row({TextCell(disk.first, "command"), NumberCell(FormatPercent(busy.mMean), busy.mMean),
              NumberCell(FormatPercent(busy.mHighest)), NumberCell(FormatMilliseconds(latency.mMean)),
              NumberCell(FormatMilliseconds(latency.mHighest)),
              NumberCell(FormatKilobytes(RangeOf(points, &DiskRow::mReadKilobytes).mMean) + "/s"),
              NumberCell(FormatKilobytes(RangeOf(points, &DiskRow::mWriteKilobytes).mMean) + "/s"),
              NumberCell(FormatNumber(RangeOf(points, &DiskRow::mQueue).mHighest, 1))});
}
} // namespace

void WriteDisks(Html& html, const ReportData& data)
{
    html.BeginPart("disks", "Disks");
    const auto disks = GetBusiest(data);
    if (disks.empty()) {
        html.Paragraph("The set has no disk samples of the time of the breach.").EndPart();
        return;
    }
    WriteCharts(html, data, disks);
    html.BeginTable({TextCell("Disk"), NumberCell("Busy, mean"), NumberCell("Highest"),
                     NumberCell("Mean time of a request"), NumberCell("Highest"), NumberCell("Read"),
                     NumberCell("Written"), NumberCell("Queue, highest")});
    for (std::size_t index = 0; index < std::min(disks.size(), MOST_ROWS); ++index) {
        WriteDisk(html, *disks[index]);
    }
    html.EndTable();
    if (disks.size() > MOST_ROWS) {
        html.Paragraph("The busiest of " + FormatCount(static_cast<double>(disks.size()), "disk") + ".",
                       "aside");
    }
    html.EndPart();
}

} // namespace ctl
