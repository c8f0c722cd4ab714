#include "base/ByteSize.h"
#include "page/html/Format.h"
#include "page/html/Parts.h"

namespace ctl
{

namespace
{
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
    WriteList(html, "What is missing or short", data.mProblems, "watch");
    WriteList(html, "Good to know", data.mNotes, "note");
    html.BeginTable({TextCell("File"), TextCell("Holds"), NumberCell("Size"), TextCell("")});
    for (const ListedFile& file : data.mFiles) {
        html.Row(
            {TextCell(file.mName, "command"), TextCell(file.mKind), NumberCell(FormatByteSize(file.mBytes)),
             TextCell(file.mObstacle.empty() ? "" : "not read: " + file.mObstacle)},
            file.mBytes == 0 || !file.mObstacle.empty() ? "watch" : "");
    }
    html.EndTable();
    html.EndPart();
}

} // namespace ctl
