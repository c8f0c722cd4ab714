#include "page/html/Html.h"

#include "base/PlainText.h"
#include "page/html/Format.h"

#include <algorithm>

namespace ctl
{

std::string EscapeHtml(std::string_view text)
{
    std::string escaped;
    for (const char character : EscapeControls(text)) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

HtmlCell NumberCell(std::string text, double bar)
{
    return {std::move(text), true, bar, {}};
}

HtmlCell TextCell(std::string text, std::string_view cssClass)
{
    return {std::move(text), false, -1, cssClass};
}

Html& Html::Markup(std::string_view markup)
{
    mText += markup;
    return *this;
}

Html& Html::Text(std::string_view text)
{
    mText += EscapeHtml(text);
    return *this;
}

Html& Html::Element(std::string_view tag, std::string_view text, std::string_view cssClass)
{
    Markup("<").Markup(tag);
    if (!cssClass.empty()) {
        Markup(" class=\"").Markup(cssClass).Markup("\"");
    }
    return Markup(">").Text(text).Markup("</").Markup(tag).Markup(">");
}

Html& Html::BeginPart(std::string_view id, std::string_view title)
{
    return Markup("\n<section id=\"").Markup(id).Markup("\">").Element("h2", title);
}

Html& Html::EndPart()
{
    return Markup("</section>");
}

Html& Html::Paragraph(std::string_view text, std::string_view cssClass)
{
    return Element("p", text, cssClass);
}

Html& Html::BeginTable(const std::vector<HtmlCell>& titles, std::string_view cssClass)
{
    Markup("\n<div class=\"scroll\"><table class=\"").Markup(cssClass).Markup("\"><thead><tr>");
    for (const HtmlCell& title : titles) {
        Cell("th", title);
    }
    return Markup("</tr></thead><tbody>");
}

Html& Html::Row(const std::vector<HtmlCell>& cells, std::string_view cssClass)
{
    Markup("\n<tr class=\"").Markup(cssClass).Markup("\">");
    for (const HtmlCell& cell : cells) {
        Cell("td", cell);
    }
    return Markup("</tr>");
}

Html& Html::EndTable()
{
    return Markup("</tbody></table></div>");
}

void Html::Cell(std::string_view tag, const HtmlCell& cell)
{
    Markup("<").Markup(tag).Markup(cell.mIsNumber ? " class=\"number " : " class=\"");
    Markup(cell.mClass).Markup("\">").Text(cell.mText);
    if (cell.mBar >= 0) {
        Markup("<svg class=\"bar\" viewBox=\"0 0 100 4\" preserveAspectRatio=\"none\" aria-hidden=\"true\">"
               "<rect height=\"4\" width=\"")
            .Markup(FormatPlain(std::min(cell.mBar, 100.0), 1))
            .Markup("\"/></svg>");
    }
    Markup("</").Markup(tag).Markup(">");
}

} // namespace ctl
