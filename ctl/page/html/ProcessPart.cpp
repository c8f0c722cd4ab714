#include "evidence/HidingStream.h"
#include "page/html/Findings.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>
#include <functional>

namespace ctl
{

namespace
{
constexpr double LEAST_GROWTH = 1024; ///< kilobytes

using Key = std::function<double(const ProcessSummary&)>;

/**
 * The processes with the highest keys above a bound, highest first; in the order of their ids where equal.
 */
std::vector<const ProcessSummary*> GetHighest(const ReportData& data, double bound, const Key& key)
{
    std::vector<const ProcessSummary*> processes;
    for (const auto& [pid, summary] : data.mProcesses) {
        if (key(summary) > bound) {
            processes.push_back(&summary);
        }
    }
    std::stable_sort(
        processes.begin(), processes.end(),
        [&](const ProcessSummary* left, const ProcessSummary* right) { return key(*left) > key(*right); });
    KeepFirst(processes, MOST_ROWS);
    return processes;
}

double GrowthOf(const ProcessSummary& process)
{
    return process.mFirstResident < 0 ? 0 : process.mLastResident - process.mFirstResident;
}

/** Share of the first row's, for the bar below a number. */
double BarOf(double value, double highest)
{
    return highest > 0 && value >= 0 ? 100 * value / highest : -1;
}

void WriteRows(Html& html, const ReportData& data, const std::vector<const ProcessSummary*>& processes,
               bool isByCpu)
{
    if (processes.empty()) {
        html.Paragraph("No process used a share that the tools show.");
        return;
    }
    html.BeginTable({NumberCell("Id"), TextCell("Process"), NumberCell("Processor, highest"),
                     NumberCell("Mean"), NumberCell("Memory, highest"), NumberCell("Growth")});
    const ProcessSummary* const first = processes.front();
    const Redaction redaction; // a page is passed on, as a bundle is
    for (const ProcessSummary* process : processes) {
        const double cpuBar = isByCpu ? BarOf(process->mHighestCpu, first->mHighestCpu) : -1;
        const double memoryBar = isByCpu ? -1 : BarOf(process->mHighestResident, first->mHighestResident);
        html.Row({NumberCell(FormatPlain(process->mPid, 0)),
                  TextCell(HideValues(redaction, process->mCommand), "command"),
                  NumberCell(FormatPercent(process->mHighestCpu), cpuBar),
                  NumberCell(FormatPercent(process->GetMeanCpu())),
                  NumberCell(FormatKilobytes(process->mHighestResident), memoryBar),
                  NumberCell(FormatGrowth(GrowthOf(*process)))},
                 process->mPid == data.mPid ? "target" : "");
    }
    html.EndTable();
}
} // namespace

void WriteProcesses(Html& html, const ReportData& data)
{
    html.BeginPart("processes", "Top processes");
    if (data.mProcesses.empty()) {
        html.Paragraph("The set has no process listing.").EndPart();
        return;
    }
    html.Paragraph(
        "Processor time in percent of one processor; memory is what is resident, pages shared with others "
        "included.",
        "aside");
    html.Element("h3", "By processor time");
    WriteRows(html, data,
              GetHighest(data, 0, [](const ProcessSummary& process) { return process.mHighestCpu; }), true);
    html.Element("h3", "By memory");
    WriteRows(html, data,
              GetHighest(data, 0, [](const ProcessSummary& process) { return process.mHighestResident; }),
              false);
    const auto growing =
        GetHighest(data, LEAST_GROWTH, [](const ProcessSummary& process) { return GrowthOf(process); });
    if (!growing.empty()) {
        html.Element("h3", "Growing while the samples were taken");
        WriteRows(html, data, growing, false);
    }
    html.Paragraph(
        "Process ids seen in all: " + FormatPlain(static_cast<double>(data.mProcesses.size()), 0) + ".",
        "aside");
    html.EndPart();
}

} // namespace ctl
