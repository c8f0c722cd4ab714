#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "base/Terminal.h"

namespace ctl
{

/** A cell: text from anywhere, escaped when it is printed. */
struct Cell
{
    std::string text;
    Colour colour = Colour::Plain;
};

/** Rows with aligned columns, two blanks apart. */
class Table
{
public:
    enum class Side
    {
        Left,
        Right
    };

    struct Column
    {
        std::string title;
        Side side = Side::Left;
    };

    explicit Table(std::vector<Column> columns);

    /** Adds a row. Cells that are missing are empty; there are no more cells than columns. */
    void Add(std::vector<Cell> cells);

    bool IsEmpty() const noexcept { return mRows.empty(); }

    /** Prints the titles and the rows, each with `indent` blanks before it and none at its end. */
    void Print(std::ostream& output, std::size_t indent = 0) const;

private:
    std::vector<Column> mColumns;
    std::vector<std::vector<Cell>> mRows;
};

/**
 * Prints a table whose rows are made when they are needed, twice each, so that only one is in memory: a table
 * of any length. `makeRow` gives the cells of a row, of no more than `columns`, and the same in both turns.
 */
void PrintTable(std::ostream& output, const std::vector<Table::Column>& columns, std::size_t rows,
                const std::function<std::vector<Cell>(std::size_t row)>& makeRow, std::size_t indent = 0);

} // namespace ctl
