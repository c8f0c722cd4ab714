#include "log/LogFolder.h"

#include <algorithm>
#include <cstdio>

#include "base/SafeFile.h"

namespace ctl
{

namespace
{

constexpr std::size_t NAME_LENGTH = sizeof "root.MMDDYY_00001.log" - 1;

/** The day in a log's name, which has the month first and two digits of the year; 0 for other names. */
int ParseName(const std::string& name)
{
    int month = 0;
    int day = 0;
    int year = 0;
    int length = 0;
    const bool isLog =
        name.size() == NAME_LENGTH &&
        std::sscanf(name.c_str(), "root.%2d%2d%2d_00001.log%n", &month, &day, &year, &length) == 3 &&
        static_cast<std::size_t>(length) == name.size();
    constexpr int CENTURY = 2000;
    return isLog && month >= 1 && month <= 12 && day >= 1 && day <= 31 && year >= 0
               ? (CENTURY + year) * 10000 + month * 100 + day
               : 0;
}

} // namespace

LogFolder ListLogs(const std::string& path)
{
    LogFolder result;
    result.path = path.empty() ? LOG_PATH : path;
    const OpenedFile folder = OpenFolder(AT_FDCWD, result.path);
    if (!folder.IsOpen()) {
        result.failure = folder.failure;
        return result;
    }
    for (const std::string& name : ListNames(folder.file.Get())) {
        struct stat status = {};
        const int day = ParseName(name);
        if (day != 0 && fstatat(folder.file.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode)) {
            result.files.push_back({name, day, static_cast<std::uint64_t>(status.st_size), status.st_ino});
        }
    }
    std::sort(result.files.begin(), result.files.end(),
              [](const DailyLog& one, const DailyLog& other) { return one.day < other.day; });
    return result;
}

int GetDay(std::time_t time)
{
    struct tm local = {};
    if (localtime_r(&time, &local) == nullptr) {
        return 0;
    }
    return (local.tm_year + 1900) * 10000 + (local.tm_mon + 1) * 100 + local.tm_mday;
}

} // namespace ctl
