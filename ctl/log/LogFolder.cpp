#include "log/LogFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/ProductPlaces.h"
#include "base/ProgramNames.h"

#include "base/SafeFile.h"

namespace ctl
{

namespace
{

constexpr int CENTURY = 2000;

} // namespace

std::string GetUsualLogPath()
{
    return std::string(PRODUCT_BASE) + "/" + PRODUCT_HOME + "/" + PRODUCT_LOGS + "/" + SHORT_NAME;
}

int GetDayOfLog(const std::string& name)
{
    int month = 0; // comes first, and the year has two digits
    int day = 0;
    int year = 0;
    const bool isLog = std::sscanf(name.c_str(), "%*[^.].%2d%2d%2d", &month, &day, &year) == 3 &&
                       month >= 1 && month <= 12 && day >= 1 && day <= 31 && year >= 0;
    char expected[64];
    (void)std::snprintf(expected, sizeof expected, LOG_FILE_NAME_TEXT, month, day, year);
    return isLog && name == expected ? (CENTURY + year) * 10000 + month * 100 + day : 0;
}

OpenedFile OpenLogFolder(const std::string& path)
{
    return OpenFolder(AT_FDCWD, path + "/."); // what is before the dot is followed
}

LogFolder ListLogs(const std::string& path)
{
    LogFolder result;
    result.path = path.empty() ? GetUsualLogPath() : path;
    const OpenedFile folder = OpenLogFolder(result.path);
    if (!folder.IsOpen()) {
        result.failure = folder.failure;
        return result;
    }
    for (const std::string& name : ListNames(folder.file.Get())) {
        struct stat status = {};
        const int day = GetDayOfLog(name);
        if (day == 0) {
            continue;
        }
        if (fstatat(folder.file.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            result.failure = errno != ENOENT ? name + ": " + std::strerror(errno) : result.failure;
        } else if (S_ISREG(status.st_mode)) {
            result.files.push_back({name, day, static_cast<std::uint64_t>(status.st_size), status.st_ino});
        }
    }
    std::sort(result.files.begin(), result.files.end(),
              [](const DailyLog& one, const DailyLog& other) { return one.day < other.day; });
    return result;
}

int GetDay(std::int64_t wall)
{
    const std::time_t seconds = wall;
    struct tm day = {};
    if (gmtime_r(&seconds, &day) == nullptr) {
        return 0;
    }
    return (day.tm_year + 1900) * 10000 + (day.tm_mon + 1) * 100 + day.tm_mday;
}

} // namespace ctl
