#include "support/StoreDouble.h"

#include "thbase.h"

#include <atomic>
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
std::atomic<const void*> gDelivered = nullptr; // the latest text, until it is freed

void NoteRead(const char* key)
{
    GetStore().mReads.push_back(key);
    if (GetStore().mOnRead) {
        GetStore().mOnRead(key);
    }
}

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

extern "C" {
void __real_free(void* memory);
void __wrap_free(void* memory)
{
    if (memory != nullptr && memory == gDelivered) {
        gDelivered = nullptr;
        ++GetStore().mFreedTexts;
    }
    __real_free(memory);
}
}

void FreeDeliveredText()
{
    __real_free(const_cast<void*>(gDelivered.exchange(nullptr)));
}

void* get_master_config_ptr(void)
{
    ++GetStore().mHandles;
    return &GetStore();
}

int thconfGetKeyValPair(void* /*handle*/, const char* key, char** value)
{
    NoteRead(key);
    const auto entry = GetStore().mValues.find(key);
    if (entry != GetStore().mValues.end()) {
        *value = strdup(entry->second.c_str());
        gDelivered = *value;
    }
    return GetResult(key);
}

int thconfGetKeyValPairAsInt(void* /*handle*/, const char* key, int* value)
{
    NoteRead(key);
    const int result = GetResult(key);
    const auto entry = GetStore().mValues.find(key);
    if (entry == GetStore().mValues.end()) {
        return result;
    }
    const std::string& text = entry->second;
    char* end = nullptr;
    errno = 0;
    const long number = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || number < INT_MIN || number > INT_MAX) {
        return result != 0 ? result : STORE_RC_NOT_NUMERIC;
    }
    *value = static_cast<int>(number);
    return result;
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
