#include "base/ByteSize.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

namespace ctl
{

namespace
{
struct KindText
{
    std::string_view mKind; ///< as the name of the file ends
    std::string_view mText;
};

constexpr KindText KIND_TEXTS[] = {
    {"core", "core image of the process"},
    {"MemoryPerf", "memory, load and processes, sample by sample"},
    {"Netstat", "sockets and counters of the network"},
    {"DiskPerf_iostat", "disks, sample by sample"},
    {"DiskPerf_mpstat", "processors, sample by sample"},
    {"ProcessData", "mappings, status and stacks of the process"},
    {"hprof", "heap of the Java process"},
    {"ThreadDump", "threads of the Java process"},
    {"CustomScript", "output of the script of this host"},
};

std::string DescribeKind(const std::string& kind)
{
    for (const KindText& row : KIND_TEXTS) {
        if (row.mKind == kind) {
            return std::string(row.mText);
        }
    }
    return kind;
}

void WriteList(Html& html, const char* title, const std::vector<std::string>& texts, const char* cssClass)
{
    if (texts.empty()) {
        return;
    }
    html.Element("h3", title).Markup("<ul class=\"findings\">");
    for (const std::string& text : texts) {
        html.Element("li", text, cssClass);
    }
    html.Markup("</ul>");
}
} // namespace

void WriteFiles(Html& html, const ReportData& data)
{
    html.BeginPart("files", "Is the evidence complete?");
    const bool isComplete = data.mState == "complete";
    html.Markup("<p><span class=\"badge ").Markup(isComplete ? "good" : "watch").Markup("\">");
    html.Text(data.mState.empty() ? "not checked" : data.mState).Markup("</span></p>");
    const bool isUnknown = data.mState == "unknown";
    WriteList(html, isUnknown ? "What is not known" : "What is missing or short", data.mProblems, "watch");
    WriteList(html, "Good to know", data.mNotes, "note");
    html.BeginTable({TextCell("File"), TextCell("Holds"), NumberCell("Size"), TextCell("")});
    for (const ListedFile& file : data.mFiles) {
        html.Row({TextCell(file.mName, "command"), TextCell(DescribeKind(file.mKind)),
                  NumberCell(FormatByteSize(file.mBytes)),
                  TextCell(file.mObstacle.empty() ? "" : "not read: " + file.mObstacle)},
                 file.mBytes == 0 || !file.mObstacle.empty() ? "watch" : "");
    }
    html.EndTable();
    html.EndPart();
}

} // namespace ctl
