#pragma once

#include "page/html/Html.h"
#include "page/read/ReportData.h"

namespace ctl
{

/** The parts of a report in the order of the page. Each says so where there is nothing to show. */
void WriteBreach(Html& html, const ReportData& data);
void WriteTimeline(Html& html, const ReportData& data);
void WriteHost(Html& html, const ReportData& data);
void WriteProcesses(Html& html, const ReportData& data);
void WriteMappings(Html& html, const ReportData& data);
void WriteDisks(Html& html, const ReportData& data);
void WriteNetwork(Html& html, const ReportData& data);
void WriteThreads(Html& html, const ReportData& data);
void WriteJava(Html& html, const ReportData& data);
void WriteFiles(Html& html, const ReportData& data);

/** Rows that a table shows. */
constexpr std::size_t MOST_ROWS = 15;

/** Leaves out what comes after the first `most`. */
template <typename Row>
void KeepFirst(std::vector<Row>& rows, std::size_t most)
{
    if (rows.size() > most) {
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(most), rows.end());
    }
}

/** Frames of one group of threads, as a list that opens; the first groups stand open. */
void WriteStackGroups(Html& html, const std::vector<StackGroup>& groups);

/** The breach in one sentence, without the process: "used 95.00 % of …; its limit is 10 %". */
std::string DescribeBreach(const ReportData& data);

} // namespace ctl
