#include "page/html/Format.h"

#include "base/Plural.h"
#include "base/TimeText.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace ctl
{

namespace
{
constexpr const char* UNKNOWN = "not known";

std::string FormatTimeBy(Wall wall, const char* format)
{
    const std::time_t seconds = wall;
    std::tm broken = {};
    std::array<char, 64> text = {};
    if (gmtime_r(&seconds, &broken) == nullptr) {
        return UNKNOWN;
    }
    (void)std::strftime(text.data(), text.size(), format, &broken); // fits
    return text.data();
}
} // namespace

std::string FormatPlain(double number, int digits)
{
    std::array<char, 400> text = {};
    (void)snprintf(text.data(), text.size(), "%.*f", digits, number);
    const std::string result = text.data();
    return result.find_first_not_of("-0.") == std::string::npos && result.starts_with('-') ? result.substr(1)
                                                                                           : result;
}

std::string FormatNumber(double number, int digits)
{
    return number < 0 ? UNKNOWN : FormatPlain(number, digits);
}

std::string FormatPercent(double percent)
{
    return percent < 0 ? UNKNOWN : FormatPlain(percent, 1) + " %";
}

std::string FormatKilobytes(double kilobytes)
{
    if (kilobytes < 0) {
        return UNKNOWN;
    }
    if (kilobytes == 0) {
        return "0";
    }
    constexpr std::array UNITS = {" KiB", " MiB", " GiB", " TiB", " PiB"};
    std::size_t unit = 0;
    while (kilobytes >= 1000 && unit + 1 < UNITS.size()) {
        kilobytes /= 1024;
        ++unit;
    }
    return FormatPlain(kilobytes, unit == 0 ? 0 : kilobytes < 10 ? 2 : 1) + UNITS[unit];
}

std::string FormatGrowth(double kilobytes)
{
    if (std::abs(kilobytes) < 1) {
        return "no change";
    }
    return (kilobytes > 0 ? "+" : "\u2212") + FormatKilobytes(std::abs(kilobytes));
}

std::string FormatMilliseconds(double milliseconds)
{
    return milliseconds < 0 ? UNKNOWN : FormatPlain(milliseconds, milliseconds < 10 ? 1 : 0) + " ms";
}

std::string FormatWall(Wall wall)
{
    return FormatTimeBy(wall, "%Y-%m-%d %H:%M:%S");
}

std::string FormatWallClock(Wall wall)
{
    return FormatTimeBy(wall, "%H:%M:%S");
}

std::string FormatOffset(Wall wall, Wall from)
{
    const Wall length = wall < from ? from - wall : wall - from;
    return (wall < from ? "\u2212" : "+") + FormatDuration(std::chrono::seconds(length));
}

std::string FormatCount(double count, const char* word)
{
    return FormatPlain(count, 0) + " " + ChooseNoun(count == 1, word);
}

} // namespace ctl
