#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** Text from outside as it may stand in an element or in an attribute in double quotes. */
std::string EscapeHtml(std::string_view text);

/** A cell of a table, and whether it is a number (to the right) or marked. */
struct HtmlCell
{
    std::string mText; ///< from outside: escaped when it is written
    bool mIsNumber = false;
    double mBar = -1;        ///< percent of a bar below the text; none below 0
    std::string_view mClass; ///< of ours, added to the cell
};

/** A number or a text as a cell. */
HtmlCell NumberCell(std::string text, double bar = -1);
HtmlCell TextCell(std::string text, std::string_view cssClass = {});

/** Builds a page. Markup is what this program wrote itself, and text is anything. */
class Html
{
public:
    /** Adds markup as it stands. */
    Html& Markup(std::string_view markup);

    /** Adds text, escaped. */
    Html& Text(std::string_view text);

    /** Adds <tag class="cssClass">text</tag>. */
    Html& Element(std::string_view tag, std::string_view text, std::string_view cssClass = {});

    /** Begins a part of the page with its heading; `id` is the target of links. */
    Html& BeginPart(std::string_view id, std::string_view title);
    Html& EndPart();

    /** A paragraph of text. */
    Html& Paragraph(std::string_view text, std::string_view cssClass = {});

    /** Begins a table that scrolls sideways where the page is narrow. Numbers' titles stand to the right. */
    Html& BeginTable(const std::vector<HtmlCell>& titles, std::string_view cssClass = {});
    Html& Row(const std::vector<HtmlCell>& cells, std::string_view cssClass = {});
    Html& EndTable();

    const std::string& Get() const { return mText; }

private:
    void Cell(std::string_view tag, const HtmlCell& cell);

    std::string mText;
};

} // namespace ctl
