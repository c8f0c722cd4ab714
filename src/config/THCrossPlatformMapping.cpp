#include "config/THCrossPlatformMapping.h"

#include "base/BoundedText.h"
#include "thbase.h"

#include <ctime>

#include <sys/time.h>

namespace
{
constexpr std::size_t STAMP_SIZE = 32;
constexpr int FIRST_YEAR = 1900;
constexpr int MICROSECONDS_PER_MILLISECOND = 1000;
} // namespace

std::string GetCurrentTimeStamp()
{
    struct timeval precise = {};
    (void)gettimeofday(&precise, nullptr); // can't fail with a valid record
    const time_t now = time(nullptr);
    struct tm local = {};
    (void)T_localtime(&now, &local); // fills the record that it returns
    return FormatBounded(STAMP_SIZE, "%04d-%02d-%02d %02d:%02d:%02d:%03d - ", local.tm_year + FIRST_YEAR,
                         local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                         static_cast<int>(precise.tv_usec / MICROSECONDS_PER_MILLISECOND));
}
