// The library is compiled with hidden names; it exports what the header declares.
#pragma GCC visibility push(default)
#include "thbase.h"
#pragma GCC visibility pop

#include <cerrno>
#include <cstdarg>
#include <new>

#include "BoundedScan.h"
#include "CancellationHold.h"
#include "ConfigurationStore.h"
#include "StorePlace.h"

namespace
{
/**
 * The only store of the process. It is never destroyed: the program may call exit while other threads still
 * read it. Raises std::bad_alloc at the first call; the next call tries again.
 */
ConfigurationStore& GetMasterStore()
{
    static ConfigurationStore* const store = new ConfigurationStore(MASTER_CONFIGURATION_PATH);
    return *store;
}

/** Runs `body` with cancellation deferred, and converts what it raises to a result code. */
template <typename Body>
int RunForC(const Body& body) noexcept
{
    const CancellationHold hold;
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return STORE_RC_NO_MEMORY;
    } catch (...) {
        return STORE_RC_UNREADABLE;
    }
}

/** Checks the arguments, then reads one value through `read`. */
template <typename Value, typename Reader>
int ReadValue(void* handle, const char* key, Value* value, const Reader& read) noexcept
{
    return RunForC([&] {
        ConfigurationStore& store = GetMasterStore();
        if (handle != &store || key == nullptr || value == nullptr) {
            return STORE_RC_BAD_ARGUMENT;
        }
        return read(store);
    });
}
} // namespace

void* get_master_config_ptr(void)
{
    void* handle = nullptr;
    (void)RunForC( // a file that can't be read is reported by the reads
        [&] {
            handle = &GetMasterStore();
            return GetMasterStore().ReadIfNeeded();
        });
    return handle;
}

int thconfGetKeyValPair(void* handle, const char* key, char** value)
{
    return ReadValue(handle, key, value,
                     [&](const ConfigurationStore& store) { return store.GetText(key, *value); });
}

int thconfGetKeyValPairAsInt(void* handle, const char* key, int* value)
{
    return ReadValue(handle, key, value,
                     [&](const ConfigurationStore& store) { return store.GetNumber(key, *value); });
}

int TH_forced_read_master_config(void)
{
    return RunForC([] { return GetMasterStore().ReadAgain(); });
}

struct tm* T_localtime(const time_t* time, struct tm* result)
{
    if (time == nullptr || result == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    const CancellationHold hold;
    return localtime_r(time, result);
}

int T_fscanf(FILE* stream, const char* format, ...)
{
    if (stream == nullptr || format == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const CancellationHold hold;
    std::va_list arguments;
    va_start(arguments, format);
    const int conversions = BoundedScan(stream, arguments).Run(format);
    va_end(arguments);
    return conversions;
}
