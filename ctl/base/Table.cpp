#include "base/Table.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "base/PlainText.h"

namespace ctl
{

namespace
{

using Widths = std::vector<std::size_t>;

std::string MakeLine(const std::vector<Cell>& cells, const std::vector<Table::Column>& columns,
                     const Widths& widths)
{
    std::string line;
    std::size_t pending = 0; // blanks that are written only if something follows
    for (std::size_t place = 0; place < cells.size(); ++place) {
        const std::size_t fill = widths[place] - CountColumns(cells[place].text);
        const bool isRight = columns[place].side == Table::Side::Right;
        pending += isRight ? fill : 0;
        if (!cells[place].text.empty()) {
            line.append(pending, ' ').append(Paint(cells[place].text, cells[place].colour));
            pending = 0;
        }
        pending += (isRight ? 0 : fill) + 2;
    }
    return line;
}

} // namespace

Table::Table(std::vector<Column> columns) : mColumns(std::move(columns)) {}

void Table::Add(std::vector<Cell> cells)
{
    cells.resize(mColumns.size());
    for (Cell& cell : cells) {
        cell.text = EscapeControls(cell.text);
    }
    mRows.push_back(std::move(cells));
}

void Table::Print(std::ostream& output, std::size_t indent) const
{
    std::vector<Cell> titles;
    Widths widths;
    for (const Column& column : mColumns) {
        titles.push_back({column.title, Colour::Faint});
        widths.push_back(CountColumns(column.title));
    }
    for (const std::vector<Cell>& row : mRows) {
        for (std::size_t place = 0; place < row.size(); ++place) {
            widths[place] = std::max(widths[place], CountColumns(row[place].text));
        }
    }
    const std::string margin(indent, ' ');
    output << margin << MakeLine(titles, mColumns, widths) << '\n';
    for (const std::vector<Cell>& row : mRows) {
        output << margin << MakeLine(row, mColumns, widths) << '\n';
    }
}

} // namespace ctl
