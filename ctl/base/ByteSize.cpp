#include "base/ByteSize.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ctl
{

namespace
{

constexpr std::string_view UNITS = "KMGTP";
constexpr double STEP = 1024;

/** The factor of a unit such as "", "B", "k", "GB", "GiB"; 0 for anything else. */
double GetFactor(std::string_view unit)
{
    if (unit.empty() || unit == "B" || unit == "b") {
        return 1;
    }
    const char letter = static_cast<char>(unit.front() >= 'a' ? unit.front() - 'a' + 'A' : unit.front());
    const std::size_t place = UNITS.find(letter);
    const std::string_view rest = unit.substr(1);
    const bool isUnit = rest.empty() || rest == "B" || rest == "iB";
    return place == std::string_view::npos || !isUnit ? 0 : std::pow(STEP, static_cast<double>(place + 1));
}

} // namespace

std::optional<std::uint64_t> ParseByteSize(std::string_view text)
{
    if (text.empty() || text.front() < '0' || text.front() > '9') {
        return std::nullopt;
    }
    double number = 0;
    const auto parsed =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    const double factor = GetFactor(text.substr(static_cast<std::size_t>(parsed.ptr - text.data())));
    const double bytes = number * factor;
    if (parsed.ec != std::errc() || factor == 0 || bytes >= std::pow(2, 63)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(bytes);
}

std::string FormatByteSize(std::uint64_t bytes)
{
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    double number = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (number /= STEP; number >= STEP && unit + 1 < UNITS.size(); number /= STEP) {
        ++unit;
    }
    char text[32];
    const bool isShort = number >= 10 || number == std::floor(number);
    (void)std::snprintf(text, sizeof text, isShort ? "%.0f %ciB" : "%.1f %ciB", number, UNITS[unit]);
    return text;
}

} // namespace ctl
