#include "config/SharedSetting.h"

#include "config/Mutex.h"

namespace
{
mutex& GetLock()
{
    static auto* const lock = new mutex; // outlives every capture
    return *lock;
}
} // namespace

std::string CopySharedText(const std::string& setting)
{
    const MutexHold hold(GetLock());
    return setting;
}

void PublishSharedText(std::string& setting, std::string text)
{
    const MutexHold hold(GetLock());
    setting.swap(text);
}

int GetSharedNumber(const int& setting)
{
    return __atomic_load_n(&setting, __ATOMIC_RELAXED);
}

void SetSharedNumber(int& setting, int number)
{
    __atomic_store_n(&setting, number, __ATOMIC_RELAXED);
}
