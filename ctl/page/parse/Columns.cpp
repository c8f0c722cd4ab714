#include "page/parse/Columns.h"

namespace ctl
{

namespace
{
/** No tool prints more; a hostile line could. */
constexpr std::size_t MOST_COLUMNS = 64;
} // namespace

void Columns::TakeHead(std::string_view line)
{
    mIndex.clear();
    SplitFields(line, mFields);
    for (std::size_t index = 0; index < mFields.size() && index < MOST_COLUMNS; ++index) {
        mIndex.emplace(mFields[index], index);
    }
    mFields.clear();
}

void Columns::TakeRow(std::string_view line)
{
    SplitFields(line, mFields);
}

std::size_t Columns::IndexOf(std::string_view name) const
{
    const auto found = mIndex.find(name);
    return found == mIndex.end() ? mIndex.size() : found->second;
}

std::string_view Columns::Text(std::string_view name) const
{
    const auto found = mIndex.find(name);
    return found == mIndex.end() || found->second >= mFields.size() ? std::string_view()
                                                                    : mFields[found->second];
}

double Columns::Number(std::string_view name, double otherwise) const
{
    return ReadNumber(Text(name)).value_or(otherwise);
}

} // namespace ctl
