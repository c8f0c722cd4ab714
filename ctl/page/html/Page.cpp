#include "page/html/Page.h"

#include "evidence/Sha256.h"
#include "page/html/Assets.h"
#include "page/html/Format.h"
#include "page/html/Html.h"
#include "page/html/Parts.h"

namespace ctl
{

namespace
{
struct PartLink
{
    const char* mId;
    const char* mTitle;
};

constexpr PartLink LINKS[] = {
    {"breach", "Breach"},       {"timeline", "Timeline"},   {"host", "Memory and load"},
    {"processes", "Processes"}, {"mappings", "Its memory"}, {"disks", "Disks"},
    {"network", "Network"},     {"threads", "Threads"},     {"java", "Java"},
    {"files", "Completeness"},
};

/** The library without the line that names its source map: nothing asks for another file. */
std::string_view WithoutMapLine(std::string_view text)
{
    return text.substr(0, text.rfind("\n//# sourceMappingURL="));
}

std::string GetStyle()
{
    const auto library = DYGRAPH_MIN_CSS.substr(0, DYGRAPH_MIN_CSS.rfind("\n/*# sourceMappingURL="));
    return std::string(library) + "\n" + std::string(REPORT_CSS);
}

void WriteHead(Html& html, const ReportData& data, const std::string& style, std::string_view library)
{
    html.Markup("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
                "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
                "style-src '")
        .Markup(HashForPolicy(style) + "'; script-src '" + HashForPolicy(library) + "' '" +
                HashForPolicy(REPORT_JS))
        .Markup("'; base-uri 'none'; form-action 'none'\">\n"
                "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                "<meta name=\"color-scheme\" content=\"light dark\"><meta name=\"referrer\" "
                "content=\"no-referrer\">\n"
                "<title>")
        .Text(data.mProcess + " (" + FormatPlain(data.mPid, 0) + "), " + data.mResource + " breach of " +
              FormatWall(data.mWall))
        .Markup("</title>\n<style>")
        .Markup(style)
        .Markup("</style></head>\n<body>");
}

void WriteNavigation(Html& html, const ReportData& data)
{
    html.Markup("<nav aria-label=\"Parts of the report\">");
    for (const PartLink& link : LINKS) {
        if (data.mJava.mHasHead || std::string_view(link.mId) != "java") {
            html.Markup("<a href=\"#").Markup(link.mId).Markup("\">").Text(link.mTitle).Markup("</a>");
        }
    }
    html.Markup("</nav><main>");
}

void WriteEnd(Html& html, const ReportData& data, std::string_view library)
{
    html.Markup("</main>\n<footer>Made by thsentinelctl at ").Text(FormatWall(data.mMadeAt));
    html.Markup(" from the set ").Element("code", data.mSetId);
    html.Markup(
        ". Times are local times of the host. This file needs nothing but itself.</footer>\n<script>");
    html.Markup(library).Markup("</script>\n<script>").Markup(REPORT_JS).Markup("</script></body></html>\n");
}
} // namespace

std::string HashForPolicy(std::string_view text)
{
    Sha256 digest;
    digest.Take(text);
    return "sha256-" + FormatBase64(digest.Finish());
}

std::string WritePage(const ReportData& data)
{
    const std::string style = GetStyle();
    const auto library = WithoutMapLine(DYGRAPH_MIN_JS);
    Html html;
    WriteHead(html, data, style, library);
    WriteNavigation(html, data);
    for (const auto write : {WriteBreach, WriteTimeline, WriteHost, WriteProcesses, WriteMappings, WriteDisks,
                             WriteNetwork, WriteThreads, WriteJava, WriteFiles}) {
        write(html, data);
    }
    WriteEnd(html, data, library);
    return html.Get();
}

} // namespace ctl
