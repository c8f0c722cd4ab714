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

std::vector<Cell> Escape(std::vector<Cell> cells)
{
    for (Cell& cell : cells) {
        cell.text = EscapeControls(cell.text);
    }
    return cells;
}

} // namespace

Table::Table(std::vector<Column> columns) : mColumns(std::move(columns)) {}

void Table::Add(std::vector<Cell> cells)
{
    mRows.push_back(std::move(cells));
}

void Table::Print(std::ostream& output, std::size_t indent) const
{
    PrintTable(
        output, mColumns, mRows.size(), [this](std::size_t row) { return mRows[row]; }, indent);
}

void PrintTable(std::ostream& output, const std::vector<Table::Column>& columns, std::size_t rows,
                const std::function<std::vector<Cell>(std::size_t row)>& makeRow, std::size_t indent)
{
    std::vector<Cell> titles;
    Widths widths;
    for (const Table::Column& column : columns) {
        titles.push_back({column.title, Colour::Faint});
        widths.push_back(CountColumns(column.title));
    }
    for (std::size_t row = 0; row < rows; ++row) {
        const std::vector<Cell> cells = Escape(makeRow(row));
        for (std::size_t place = 0; place < cells.size(); ++place) {
            widths[place] = std::max(widths[place], CountColumns(cells[place].text));
        }
    }
    const std::string margin(indent, ' ');
    output << margin << MakeLine(titles, columns, widths) << '\n';
    for (std::size_t row = 0; row < rows; ++row) {
        output << margin << MakeLine(Escape(makeRow(row)), columns, widths) << '\n';
    }
}

} // namespace ctl
