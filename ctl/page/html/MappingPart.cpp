#include "page/html/Findings.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

#include <algorithm>
#include <cmath>

namespace ctl
{

namespace
{
constexpr double LEAST_CHANGE = 64; ///< kilobytes

struct StatusRow
{
    const char* mKey;
    const char* mName;
};

constexpr StatusRow STATUS_ROWS[] = {
    {"State", "State"},
    {"Threads", "Threads"},
    {"VmPeak", "Addresses, highest ever"},
    {"VmHWM", "Resident, highest ever"},
    {"VmRSS", "Resident"},
    {"VmSwap", "Swapped out"},
    {"FDSize", "Descriptor table"},
    {"voluntary_ctxt_switches", "Waits"},
    {"nonvoluntary_ctxt_switches", "Times put off the processor"},
};

double SizeOf(const MappingReport& report, const Mapping& mapping)
{
    return report.mHasResident ? mapping.mResident : mapping.mSize;
}

std::vector<const Mapping*> GetSorted(const MappingReport& report)
{
    std::vector<const Mapping*> mappings;
    for (const auto& [name, mapping] : report.mByName) {
        mappings.push_back(&mapping);
    }
    std::stable_sort(mappings.begin(), mappings.end(), [&](const Mapping* left, const Mapping* right) {
        return SizeOf(report, *left) > SizeOf(report, *right);
    });
    return mappings;
}

void WriteStatus(Html& html, const NamedValues& status)
{
    html.Markup("<dl class=\"facts\">");
    for (const StatusRow& row : STATUS_ROWS) {
        const auto text = status.Text(row.mKey);
        if (!text.empty()) {
            const bool isAmount = text.ends_with(" kB");
            html.Element("dt", row.mName)
                .Element("dd", isAmount ? FormatKilobytes(status.Number(row.mKey)) : std::string(text));
        }
    }
    html.Markup("</dl>");
}

void WriteByName(Html& html, const ReportData& data)
{
    const MappingReport& report = data.mMappings;
    auto mappings = GetSorted(report);
    const double highest = mappings.empty() ? 0 : SizeOf(report, *mappings.front());
    const std::size_t count = mappings.size();
    KeepFirst(mappings, MOST_ROWS);
    html.BeginTable({TextCell("Mapped"), NumberCell("Resident"), NumberCell("Its own"),
                     NumberCell("Swapped out"), NumberCell("Addresses"), NumberCell("Mappings"),
                     NumberCell("Growth")});
    for (const Mapping* mapping : mappings) {
        html.Row({TextCell(mapping->mName, "command"),
                  NumberCell(report.mHasResident ? FormatKilobytes(mapping->mResident) : "not known",
                             highest > 0 ? 100 * SizeOf(report, *mapping) / highest : -1),
                  NumberCell(report.mHasResident ? FormatKilobytes(mapping->mPrivate) : "not known"),
                  NumberCell(report.mHasResident ? FormatKilobytes(mapping->mSwap) : "not known"),
                  NumberCell(FormatKilobytes(mapping->mSize)), NumberCell(FormatPlain(mapping->mCount, 0)),
                  NumberCell(data.mEarlier ? FormatGrowth(GrowthOf(data, *mapping)) : "")});
    }
    const Mapping& total = report.mTotal;
    html.Row(
        {TextCell("All " + FormatPlain(static_cast<double>(count), 0)),
         NumberCell(report.mHasResident ? FormatKilobytes(total.mResident) : "not known"),
         NumberCell(report.mHasResident ? FormatKilobytes(total.mPrivate) : "not known"),
         NumberCell(report.mHasResident ? FormatKilobytes(total.mSwap) : "not known"),
         NumberCell(FormatKilobytes(total.mSize)), NumberCell(FormatPlain(total.mCount, 0)),
         NumberCell(data.mEarlier ? FormatGrowth(total.mResident - data.mEarlier->mMappings.mTotal.mResident)
                                  : "")},
        "total");
    html.EndTable();
}

void WriteLargest(Html& html, const MappingReport& report)
{
    html.Markup("<details><summary>Largest single mappings</summary>");
    html.BeginTable({TextCell("Addresses"), TextCell("Access"), TextCell("Mapped"), NumberCell("Size"),
                     NumberCell("Resident")});
    for (const Mapping& mapping : report.mLargest) {
        html.Row({TextCell(mapping.mRange, "command"), TextCell(mapping.mAccess, "command"),
                  TextCell(mapping.mName, "command"), NumberCell(FormatKilobytes(mapping.mSize)),
                  NumberCell(report.mHasResident ? FormatKilobytes(mapping.mResident) : "not known")});
    }
    html.EndTable().Markup("</details>");
}

/** What changed most since the earlier set, whatever its size. */
void WriteGrowth(Html& html, const ReportData& data)
{
    auto mappings = GetSorted(data.mMappings);
    std::erase_if(mappings,
                  [&](const Mapping* mapping) { return std::abs(GrowthOf(data, *mapping)) < LEAST_CHANGE; });
    std::stable_sort(mappings.begin(), mappings.end(), [&](const Mapping* left, const Mapping* right) {
        return GrowthOf(data, *left) > GrowthOf(data, *right);
    });
    KeepFirst(mappings, MOST_ROWS);
    html.Element("h3", "Growth since the set of " + FormatWall(data.mEarlier->mWall));
    if (mappings.empty()) {
        html.Paragraph("No mapping changed by more than " + FormatKilobytes(LEAST_CHANGE) + ".");
        return;
    }
    html.BeginTable({TextCell("Mapped"), NumberCell("Then"), NumberCell("Now"), NumberCell("Growth")});
    for (const Mapping* mapping : mappings) {
        const double growth = GrowthOf(data, *mapping);
        html.Row({TextCell(mapping->mName, "command"),
                  NumberCell(FormatKilobytes(mapping->mResident - growth)),
                  NumberCell(FormatKilobytes(mapping->mResident)), NumberCell(FormatGrowth(growth))});
    }
    html.EndTable();
}
} // namespace

void WriteMappings(Html& html, const ReportData& data)
{
    html.BeginPart("mappings", "Memory of " + data.mProcess);
    if (!data.mStatus.IsEmpty()) {
        WriteStatus(html, data.mStatus);
    }
    if (data.mMappings.mTotal.mCount == 0) {
        html.Paragraph(
                "The set has no memory map of the process: it had ended, or the tools could not read it.")
            .EndPart();
        return;
    }
    if (!data.mMappings.mHasResident) {
        html.Paragraph(
            "Only pmap could be read, which knows the sizes of the addresses and not what is resident.",
            "aside");
    }
    WriteByName(html, data);
    WriteLargest(html, data.mMappings);
    if (data.mEarlier && data.mMappings.mHasResident && data.mEarlier->mMappings.mHasResident) {
        WriteGrowth(html, data);
    } else {
        html.Paragraph("Growth is not known: there is no earlier set of this process id with a memory map.",
                       "aside");
    }
    html.EndPart();
}

} // namespace ctl
