#include "base/TimeText.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace ctl
{

namespace
{

constexpr std::int64_t MINUTE = 60;
constexpr std::int64_t HOUR = 60 * MINUTE;
constexpr std::int64_t DAY = 24 * HOUR;
constexpr std::int64_t LONGEST = std::int64_t{1000} * 366 * DAY;

std::string Format(std::time_t time, const char* format)
{
    struct tm local = {};
    char text[64];
    if (localtime_r(&time, &local) == nullptr || std::strftime(text, sizeof text, format, &local) == 0) {
        return "";
    }
    return text;
}

std::int64_t GetUnit(std::string_view name)
{
    struct Unit
    {
        std::string_view name;
        std::int64_t seconds;
    };
    constexpr Unit UNITS[] = {{"", 1},     {"s", 1},   {"m", MINUTE}, {"min", MINUTE},
                              {"h", HOUR}, {"d", DAY}, {"w", 7 * DAY}};
    for (const Unit& unit : UNITS) {
        if (unit.name == name) {
            return unit.seconds;
        }
    }
    return 0;
}

/** Cuts "DIGITS unit" off the text; the seconds, or nothing. */
std::optional<std::int64_t> CutQuantity(std::string_view& text)
{
    std::int64_t number = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc() || number < 0) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
    const std::size_t end = std::min(text.find_first_of("0123456789"), text.size());
    const std::int64_t unit = GetUnit(text.substr(0, end));
    text.remove_prefix(end);
    if (unit == 0 || number > LONGEST / unit) {
        return std::nullopt;
    }
    return number * unit;
}

std::optional<std::time_t> ToTime(struct tm& local)
{
    const struct tm wanted = local;
    local.tm_isdst = -1;
    const std::time_t time = std::mktime(&local);
    const bool isReal =
        wanted.tm_year == local.tm_year && wanted.tm_mon == local.tm_mon && wanted.tm_mday == local.tm_mday;
    return isReal ? std::optional(time) : std::nullopt;
}

std::optional<std::time_t> GetMidnight(std::time_t now, int daysBefore)
{
    struct tm local = {};
    if (localtime_r(&now, &local) == nullptr) {
        return std::nullopt;
    }
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    local.tm_mday -= daysBefore;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

/** Reads "Z" or "+HH:MM" or "+HHMM" to its end; the seconds east of Greenwich. */
std::optional<long> ParseOffset(const std::string& text)
{
    if (text == "Z" || text == "z") {
        return 0;
    }
    char sign[2] = "";
    unsigned hours = 0;
    unsigned minutes = 0;
    int length = 0;
    if ((std::sscanf(text.c_str(), "%1[+-]%2u:%2u%n", sign, &hours, &minutes, &length) != 3 &&
         std::sscanf(text.c_str(), "%1[+-]%2u%2u%n", sign, &hours, &minutes, &length) != 3) ||
        static_cast<std::size_t>(length) != text.size() || hours > 14 || minutes > 59) {
        return std::nullopt;
    }
    const long seconds = static_cast<long>(hours * HOUR + minutes * MINUTE);
    return *sign == '-' ? -seconds : seconds;
}

std::optional<std::time_t> Finish(struct tm& time, const char* rest)
{
    if (*rest == '\0') {
        return ToTime(time);
    }
    const std::optional<long> offset = ParseOffset(rest);
    if (!offset) {
        return std::nullopt;
    }
    return timegm(&time) - *offset;
}

/** Reads a date, perhaps with a time and an offset. */
std::optional<std::time_t> ParseDate(const std::string& text)
{
    for (const char* const format :
         {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        struct tm time = {};
        const char* const rest = strptime(text.c_str(), format, &time);
        const std::optional<std::time_t> found = rest != nullptr ? Finish(time, rest) : std::nullopt;
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<std::time_t> ParseClock(const std::string& text, std::time_t now)
{
    for (const char* const format : {"%H:%M:%S", "%H:%M"}) {
        struct tm time = {};
        if (localtime_r(&now, &time) == nullptr) {
            return std::nullopt;
        }
        time.tm_sec = 0;
        const char* const rest = strptime(text.c_str(), format, &time);
        if (rest != nullptr && *rest == '\0') {
            struct tm yesterday = time;
            const std::optional<std::time_t> found = ToTime(time);
            if (!found || *found <= now) {
                return found;
            }
            --yesterday.tm_mday; // day 0 of a month is the last of the one before
            yesterday.tm_isdst = -1;
            return std::mktime(&yesterday);
        }
    }
    return std::nullopt;
}

std::optional<std::time_t> ParseEpoch(std::string_view digits)
{
    std::int64_t seconds = 0;
    const char* const end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, seconds);
    if (parsed.ec != std::errc() || parsed.ptr != end || seconds < 0 || seconds > LONGEST * 4) {
        return std::nullopt;
    }
    return seconds;
}

std::string Pair(std::int64_t large, const char* largeUnit, std::int64_t small, const char* smallUnit)
{
    std::string text = std::to_string(large) + " " + largeUnit;
    if (small != 0) {
        text += " " + std::to_string(small) + " " + smallUnit;
    }
    return text;
}

} // namespace

std::int64_t ToWall(std::time_t instant)
{
    struct tm local = {};
    return localtime_r(&instant, &local) != nullptr ? timegm(&local) : instant;
}

std::string FormatTime(std::time_t time)
{
    std::string text = Format(time, "%Y-%m-%dT%H:%M:%S%z");
    if (text.size() > 2) {
        text.insert(text.size() - 2, ":");
    }
    return text;
}

std::string FormatLocalTime(std::time_t time)
{
    return Format(time, "%Y-%m-%d %H:%M:%S");
}

std::string FormatDuration(std::chrono::seconds length)
{
    const std::int64_t seconds = length.count();
    if (seconds < 0) {
        return "-" + FormatDuration(-length);
    }
    if (seconds < MINUTE) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < HOUR) {
        return Pair(seconds / MINUTE, "min", seconds % MINUTE, "s");
    }
    if (seconds < DAY) {
        return Pair(seconds / HOUR, "h", seconds % HOUR / MINUTE, "min");
    }
    return Pair(seconds / DAY, "d", seconds % DAY / HOUR, "h");
}

std::optional<std::chrono::seconds> ParseDuration(std::string_view text)
{
    std::int64_t sum = 0;
    do {
        const std::optional<std::int64_t> seconds = CutQuantity(text);
        if (!seconds || sum + *seconds > LONGEST) {
            return std::nullopt;
        }
        sum += *seconds;
    } while (!text.empty());
    return std::chrono::seconds(sum);
}

std::optional<std::time_t> ParseTime(std::string_view text, std::time_t now)
{
    if (text == "now") {
        return now;
    }
    if (text == "today" || text == "yesterday") {
        return GetMidnight(now, text == "today" ? 0 : 1);
    }
    if (text.starts_with('@')) {
        return ParseEpoch(text.substr(1));
    }
    if (const auto length = ParseDuration(text)) {
        return now - length->count();
    }
    const std::string copy(text);
    const std::optional<std::time_t> date = ParseDate(copy);
    return date ? date : ParseClock(copy, now);
}

} // namespace ctl
