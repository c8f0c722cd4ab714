#include "store/Keys.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "config/KeyTable.h"

namespace ctl
{

namespace
{

KeyKind GetKind(const ::KeyRow& row)
{
    if (row.mKind == ::KeyKind::List) {
        return KeyKind::List;
    }
    if (row.mKind != ::KeyKind::Integer && row.mKind != ::KeyKind::Switch) {
        return KeyKind::Text;
    }
    switch (row.mWhenBad) {
    case WhenBad::StopsService:
        return KeyKind::Stopping;
    case WhenBad::RevertsToDefault:
        return KeyKind::Integer;
    case WhenBad::StaysAsItWas:
        break;
    }
    return KeyKind::Free;
}

std::vector<KeyRow> MakeKeys()
{
    std::vector<KeyRow> keys;
    for (const ::KeyRow& row : KEY_TABLE) {
        const KeyKind kind = GetKind(row);
        const bool isNumber = kind != KeyKind::List && kind != KeyKind::Text;
        keys.push_back({row.mName, kind, row.mLowest, row.mHighest, isNumber ? GetDefaultNumber(row) : 0,
                        row.mMessage, row.mAfterword});
    }
    return keys;
}

std::string ToLower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

/** The distance, or the limit where the lengths alone make it as much: a store may hold a million keys. */
std::size_t GetDistanceBelow(std::string_view one, std::string_view other, std::size_t limit)
{
    const std::size_t difference = std::max(one.size(), other.size()) - std::min(one.size(), other.size());
    return difference >= limit ? limit : GetDistance(one, other);
}

} // namespace

std::span<const KeyRow> GetKeys()
{
    static const std::vector<KeyRow> keys = MakeKeys();
    return keys;
}

const KeyRow* FindKey(std::string_view name)
{
    const std::span<const KeyRow> keys = GetKeys();
    const auto found =
        std::find_if(keys.begin(), keys.end(), [name](const KeyRow& row) { return name == row.name; });
    return found != keys.end() ? &*found : nullptr;
}

std::string FindNearestKey(std::string_view name)
{
    constexpr std::size_t LONGEST = 64; // nothing longer is near to a key
    if (name.size() > LONGEST) {
        return "";
    }
    const std::string wanted = ToLower(name);
    const KeyRow* nearest = nullptr;
    std::size_t shortest = std::max<std::size_t>(2, wanted.size() / 3) + 1;
    for (const KeyRow& row : GetKeys()) {
        const std::string known = ToLower(row.name);
        const std::size_t distance = std::min(GetDistanceBelow(wanted, known, shortest),
                                              GetDistanceBelow("thhs_" + wanted, known, shortest) + 1);
        if (distance < shortest) {
            nearest = &row;
            shortest = distance;
        }
    }
    return nearest != nullptr ? nearest->name : "";
}

std::size_t GetDistance(std::string_view one, std::string_view other)
{
    using Row = std::vector<std::size_t>;
    Row former;
    Row above(other.size() + 1);
    for (std::size_t column = 0; column <= other.size(); ++column) {
        above[column] = column;
    }
    for (std::size_t line = 1; line <= one.size(); ++line) {
        Row row(other.size() + 1, line);
        for (std::size_t column = 1; column <= other.size(); ++column) {
            const bool differs = one[line - 1] != other[column - 1];
            row[column] =
                std::min({above[column] + 1, row[column - 1] + 1, above[column - 1] + (differs ? 1 : 0)});
            if (line > 1 && column > 1 && one[line - 1] == other[column - 2] &&
                one[line - 2] == other[column - 1]) {
                row[column] = std::min(row[column], former[column - 2] + 1);
            }
        }
        former = std::move(above);
        above = std::move(row);
    }
    return above.back();
}

} // namespace ctl
