#include "page/parse/Fields.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace ctl
{

namespace
{
/** Beyond any count or size of a machine; what lies above is damage. */
constexpr double LARGEST = 1e18;
constexpr int SECONDS_OF_HOUR = 3600;
constexpr int SECONDS_OF_MINUTE = 60;
constexpr int HOURS_OF_HALF_DAY = 12;

bool IsBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r';
}

std::size_t SkipBlanks(std::string_view text, std::size_t from)
{
    while (from < text.size() && IsBlank(text[from])) {
        ++from;
    }
    return from;
}

std::size_t SkipWord(std::string_view text, std::size_t from)
{
    while (from < text.size() && !IsBlank(text[from])) {
        ++from;
    }
    return from;
}

/** Kilobytes of a unit letter; 0 when it is none. */
double UnitOf(char letter)
{
    constexpr std::string_view LETTERS = "kmgtp";
    const auto position = LETTERS.find(static_cast<char>(letter | 0x20));
    return position == std::string_view::npos ? 0.0 : std::pow(1024.0, static_cast<double>(position));
}

/** Hours of the day from those of a clock with two halves. */
int HoursOfHalf(int hours, std::string_view half)
{
    if (half == "PM" && hours < HOURS_OF_HALF_DAY) {
        return hours + HOURS_OF_HALF_DAY;
    }
    return half == "AM" && hours == HOURS_OF_HALF_DAY ? 0 : hours;
}
} // namespace

void SplitFields(std::string_view line, std::vector<std::string_view>& fields)
{
    fields.clear();
    for (std::size_t begin = SkipBlanks(line, 0); begin < line.size();) {
        const std::size_t end = SkipWord(line, begin);
        fields.push_back(line.substr(begin, end - begin));
        begin = SkipBlanks(line, end);
    }
}

std::string_view RestFromField(std::string_view line, std::size_t index)
{
    std::size_t begin = SkipBlanks(line, 0);
    for (; index > 0; --index) {
        begin = SkipBlanks(line, SkipWord(line, begin));
    }
    return TrimBlanks(line.substr(begin));
}

std::string_view TrimBlanks(std::string_view text)
{
    text.remove_prefix(SkipBlanks(text, 0));
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool IsDigits(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

std::optional<int> ReadWhole(std::string_view text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ReadNumber(std::string_view text)
{
    std::array<char, 64> digits = {};
    if (text.empty() || text.size() > digits.size()) {
        return std::nullopt;
    }
    std::replace_copy(text.begin(), text.end(), digits.begin(), ',', '.');
    double value = 0;
    const char* const last = digits.data() + text.size();
    const auto [end, error] = std::from_chars(digits.data(), last, value, std::chars_format::fixed);
    if (error != std::errc() || end != last || !(std::abs(value) < LARGEST)) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ReadKilobytes(std::string_view text, double plainUnit)
{
    double unit = text.empty() ? 0.0 : UnitOf(text.back());
    if (unit > 0) {
        text.remove_suffix(1);
    } else {
        unit = plainUnit;
    }
    const auto number = ReadNumber(text);
    return number ? std::optional(*number * unit) : std::nullopt;
}

std::optional<int> ReadClock(std::string_view text, std::string_view half)
{
    const auto firstColon = text.find(':');
    const auto secondColon =
        firstColon == std::string_view::npos ? firstColon : text.find(':', firstColon + 1);
    if (secondColon == std::string_view::npos) {
        return std::nullopt;
    }
    const auto hours = ReadWhole(text.substr(0, firstColon));
    const auto minutes = ReadWhole(text.substr(firstColon + 1, secondColon - firstColon - 1));
    const auto seconds = ReadWhole(text.substr(secondColon + 1, 2));
    if (!hours || !minutes || !seconds || *hours < 0 || *hours > 23 || *minutes < 0 || *minutes > 59 ||
        *seconds < 0 || *seconds > 60) {
        return std::nullopt;
    }
    return HoursOfHalf(*hours, half) * SECONDS_OF_HOUR + *minutes * SECONDS_OF_MINUTE + *seconds;
}

std::optional<int> FindClock(const std::vector<std::string_view>& fields)
{
    for (std::size_t index = 0; index < fields.size(); ++index) {
        std::string_view word = fields[index];
        const auto dateEnd = word.find('T'); // 2026-11-21T20:32:45+0000
        if (dateEnd != std::string_view::npos) {
            word.remove_prefix(dateEnd + 1);
        }
        const auto half = index + 1 < fields.size() ? fields[index + 1] : std::string_view();
        if (const auto clock = ReadClock(word, half)) {
            return clock;
        }
    }
    return std::nullopt;
}

} // namespace ctl
