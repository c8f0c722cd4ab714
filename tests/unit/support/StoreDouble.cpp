#include "support/StoreDouble.h"

#include "thbase.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

StoreDouble& GetStore()
{
    static auto* const store = new StoreDouble; // outlives every thread
    return *store;
}

struct tm MakeLocalTime(int year, int month, int day, int hour, int minute, int second)
{
    struct tm local = {};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    return local;
}

namespace
{
int GetResult(const char* key)
{
    const StoreDouble& store = GetStore();
    const auto scripted = store.mResults.find(key);
    if (scripted != store.mResults.end()) {
        return scripted->second;
    }
    return store.mValues.count(key) != 0 ? 0 : STORE_RC_NOT_FOUND;
}
} // namespace

void* get_master_config_ptr(void)
{
    ++GetStore().mHandles;
    return &GetStore();
}

int thconfGetKeyValPair(void* /*handle*/, const char* key, char** value)
{
    GetStore().mReads.push_back(key);
    const auto entry = GetStore().mValues.find(key);
    if (entry != GetStore().mValues.end()) {
        *value = strdup(entry->second.c_str());
    }
    return GetResult(key);
}

int thconfGetKeyValPairAsInt(void* /*handle*/, const char* key, int* value)
{
    GetStore().mReads.push_back(key);
    const int result = GetResult(key);
    if (result != 0) {
        return result;
    }
    const std::string& text = GetStore().mValues.at(key);
    char* end = nullptr;
    errno = 0;
    const long number = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || number < INT_MIN || number > INT_MAX) {
        return STORE_RC_NOT_NUMERIC;
    }
    *value = static_cast<int>(number);
    return 0;
}

int TH_forced_read_master_config(void)
{
    ++GetStore().mForcedReads;
    return 0;
}

struct tm* T_localtime(const time_t* time, struct tm* result)
{
    if (GetStore().mLocalTime) {
        *result = *GetStore().mLocalTime;
        return result;
    }
    return localtime_r(time, result);
}

int T_fscanf(FILE* stream, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int conversions = vfscanf(stream, format, arguments);
    va_end(arguments);
    return conversions;
}
