#include "evidence/EvidenceName.h"

#include "evidence/CaptureSections.h"

#include <charconv>
#include <limits>

namespace ctl
{
namespace
{
constexpr std::time_t SECONDS_OF_A_DAY = 86400;
constexpr int YEARS_BACK = 12; // one leap year at least
constexpr int FIRST_YEAR = 1900;

struct KindName
{
    FileKind kind;
    const char* name;
};

constexpr KindName KIND_NAMES[] = {
    {FileKind::Core, "core"},
    {FileKind::MemoryPerf, MEMORY_FILE_SUFFIX},
    {FileKind::Netstat, NETWORK_FILE_SUFFIX},
    {FileKind::Iostat, DISK_TOOLS[0].mFileSuffix},
    {FileKind::Mpstat, DISK_TOOLS[1].mFileSuffix},
    {FileKind::ProcessData, PROCESS_FILE_SUFFIX},
    {FileKind::HeapDump, HEAP_FILE_SUFFIX},
    {FileKind::ThreadDump, THREADS_FILE_SUFFIX},
    {FileKind::CustomScript, SCRIPT_FILE_SUFFIX},
};

bool IsDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

bool IsLetter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

/** A number without sign and leading zero, as "%d" prints it. */
std::optional<int> ParsePlainNumber(std::string_view text)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || !IsDigit(text.front()) || error != std::errc() || stop != end ||
        (text.size() > 1 && text.front() == '0')) {
        return std::nullopt;
    }
    return number;
}

/** Takes two digits and the separator after them off the text; -1 if they aren't there. */
int TakeTwoDigits(std::string_view& text, char separator)
{
    if (text.size() < 3 || !IsDigit(text[0]) || !IsDigit(text[1]) || text[2] != separator) {
        return -1;
    }
    const int number = (text[0] - '0') * 10 + (text[1] - '0');
    text.remove_prefix(3);
    return number;
}

bool IsWithin(int value, int lowest, int highest)
{
    return value >= lowest && value <= highest;
}

std::optional<NameStamp> TakeStamp(std::string_view& text)
{
    NameStamp stamp;
    stamp.day = TakeTwoDigits(text, '-');
    stamp.month = TakeTwoDigits(text, '_');
    stamp.hour = TakeTwoDigits(text, '.');
    stamp.minute = TakeTwoDigits(text, '.');
    stamp.second = TakeTwoDigits(text, '_');
    const bool isTime = IsWithin(stamp.day, 1, 31) && IsWithin(stamp.month, 1, 12) &&
                        IsWithin(stamp.hour, 0, 23) && IsWithin(stamp.minute, 0, 59) &&
                        IsWithin(stamp.second, 0, 60);
    return isTime ? std::optional<NameStamp>(stamp) : std::nullopt;
}

std::optional<FileKind> FindKind(std::string_view ending, int pid)
{
    if (ending == std::to_string(pid)) {
        return FileKind::Core; // gcore adds a dot and the process id to the name that it is given
    }
    for (const KindName& row : KIND_NAMES) {
        if (row.kind != FileKind::Core && ending == row.name) {
            return row.kind;
        }
    }
    return std::nullopt;
}

/** The stamp in a year; nothing if that year doesn't have the day. */
std::optional<std::time_t> GetTimeInYear(const NameStamp& stamp, int year)
{
    std::tm local = {};
    local.tm_year = year - FIRST_YEAR;
    local.tm_mon = stamp.month - 1;
    local.tm_mday = stamp.day;
    local.tm_hour = stamp.hour;
    local.tm_min = stamp.minute;
    local.tm_sec = stamp.second;
    local.tm_isdst = -1;
    const std::time_t time = std::mktime(&local);
    const bool isSameDay = local.tm_mon == stamp.month - 1 && local.tm_mday == stamp.day;
    return time != -1 && isSameDay ? std::optional<std::time_t>(time) : std::nullopt;
}
} // namespace

const char* GetKindName(FileKind kind)
{
    for (const KindName& row : KIND_NAMES) {
        if (row.kind == kind) {
            return row.name;
        }
    }
    return "";
}

std::optional<EvidenceName> ParseEvidenceName(std::string_view name)
{
    EvidenceName parsed;
    const std::size_t pidEnd = name.find('_');
    const std::optional<int> pid = ParsePlainNumber(name.substr(0, pidEnd));
    if (pidEnd == std::string_view::npos || !pid) {
        return std::nullopt;
    }
    parsed.pid = *pid;
    name.remove_prefix(pidEnd + 1);
    const std::optional<NameStamp> stamp = TakeStamp(name);
    const std::size_t labelEnd = name.find('.');
    if (!stamp || labelEnd == 0 || labelEnd == std::string_view::npos) {
        return std::nullopt;
    }
    parsed.stamp = *stamp;
    parsed.label = name.substr(0, labelEnd);
    for (const char letter : parsed.label) {
        if (!IsLetter(letter)) {
            return std::nullopt;
        }
    }
    const std::optional<FileKind> kind = FindKind(name.substr(labelEnd + 1), parsed.pid);
    if (!kind) {
        return std::nullopt;
    }
    parsed.kind = *kind;
    return parsed;
}

std::optional<int> ParseEvidenceNumber(std::string_view name)
{
    constexpr std::string_view PREFIX = "Evidence";
    if (name.substr(0, PREFIX.size()) != PREFIX) {
        return std::nullopt;
    }
    return ParsePlainNumber(name.substr(PREFIX.size()));
}

std::optional<int> ParsePidFolder(std::string_view name)
{
    return ParsePlainNumber(name);
}

std::time_t ResolveStamp(const NameStamp& stamp, std::time_t modified)
{
    const std::time_t latest = modified < std::numeric_limits<std::time_t>::max() - SECONDS_OF_A_DAY
                                   ? modified + SECONDS_OF_A_DAY
                                   : modified;
    std::tm local = {};
    if (localtime_r(&latest, &local) == nullptr) {
        return modified;
    }
    const int year = local.tm_year + FIRST_YEAR;
    for (int candidate = year; candidate > year - YEARS_BACK; --candidate) {
        const std::optional<std::time_t> time = GetTimeInYear(stamp, candidate);
        if (time && *time <= latest) {
            return *time;
        }
    }
    return modified;
}

} // namespace ctl
