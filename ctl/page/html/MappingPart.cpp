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
    {"State", "State of its first thread"},
    {"Threads", "Threads"},
    {"VmPeak", "Address space, peak"},
    {"VmHWM", "Resident, peak"},
    {"VmRSS", "Resident"},
    {"VmSwap", "Swapped out"},
    {"FDSize", "Size of the descriptor table"},
    {"voluntary_ctxt_switches", "Voluntary context switches"},
    {"nonvoluntary_ctxt_switches", "Involuntary context switches"},
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

bool IsGrowthKnown(const ReportData& data)
{
    return data.mEarlier && data.mMappings.mHasResident && data.mEarlier->mMappings.mHasResident;
}

/** What a row of the mappings shows beside the mapping itself. */
struct MappingRow
{
    HtmlCell mName;
    double mGrowth = 0; ///< kilobytes
    double mBar = -1;   ///< percent; none below 0
    std::string_view mClass = {};
};

void WriteMapping(Html& html, const ReportData& data, const Mapping& mapping, const MappingRow& row)
{
    const auto format = [&data](double kilobytes) {
        return data.mMappings.mHasResident ? FormatKilobytes(kilobytes) : "not known";
    };
    std::vector<HtmlCell> cells = {row.mName,
                                   NumberCell(format(mapping.mResident), row.mBar),
                                   NumberCell(format(mapping.mPrivate)),
                                   NumberCell(format(mapping.mSwap)),
                                   NumberCell(FormatKilobytes(mapping.mSize)),
                                   NumberCell(FormatPlain(mapping.mCount, 0))};
    if (IsGrowthKnown(data)) {
        cells.push_back(NumberCell(FormatGrowth(row.mGrowth)));
    }
    html.Row(cells, row.mClass);
}

void WriteByName(Html& html, const ReportData& data)
{
    const MappingReport& report = data.mMappings;
    auto mappings = GetSorted(report);
    const double highest = mappings.empty() ? 0 : SizeOf(report, *mappings.front());
    const std::size_t count = mappings.size();
    KeepFirst(mappings, MOST_ROWS);
    std::vector<HtmlCell> titles = {TextCell("Mapped"),          NumberCell("Resident"),
                                    NumberCell("Its own"),       NumberCell("Swapped out"),
                                    NumberCell("Address space"), NumberCell("Mappings")};
    if (IsGrowthKnown(data)) {
        titles.push_back(NumberCell("Growth"));
    }
    html.BeginTable(titles);
    for (const Mapping* mapping : mappings) {
        const double bar = highest > 0 ? 100 * SizeOf(report, *mapping) / highest : -1;
        WriteMapping(html, data, *mapping,
                     {TextCell(mapping->mName, "command"), GrowthOf(data, *mapping), bar});
    }
    const Mapping& total = report.mTotal;
    const double growth = data.mEarlier ? total.mResident - data.mEarlier->mMappings.mTotal.mResident : 0;
    WriteMapping(html, data, total,
                 {TextCell("All " + FormatPlain(static_cast<double>(count), 0)), growth, -1, "total"});
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
    if (IsGrowthKnown(data)) {
        WriteGrowth(html, data);
    } else {
        html.Paragraph("Growth is not known: there is no earlier set of this process id with a memory map.",
                       "aside");
    }
    html.EndPart();
}

} // namespace ctl
