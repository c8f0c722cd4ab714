#pragma once

#include "page/parse/Fields.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/**
 * A table whose columns are named by a head line, as most tools print them. Versions of a tool differ in
 * which columns there are and in their order, so values are asked for by name.
 */
class Columns
{
public:
    /** Takes the names of the columns from the head line. */
    void TakeHead(std::string_view line);

    /** Takes the next row. The views last as long as the line. */
    void TakeRow(std::string_view line);

    bool HasHead() const { return !mIndex.empty(); }
    void Forget() { mIndex.clear(); }

    bool Has(std::string_view name) const { return mIndex.find(name) != mIndex.end(); }

    /** Index of a column, or the number of columns when there is none of that name. */
    std::size_t IndexOf(std::string_view name) const;

    /** Word of the row in a column; empty when the row or the head lacks it. */
    std::string_view Text(std::string_view name) const;

    /** Number of the row in a column, `otherwise` when it is missing or no number. */
    double Number(std::string_view name, double otherwise = 0) const;

    std::size_t FieldCount() const { return mFields.size(); }

private:
    std::map<std::string, std::size_t, std::less<>> mIndex;
    std::vector<std::string_view> mFields;
};

} // namespace ctl
