#include "config/ConfigurationMgr.h"
#include "config/ConfigurationResult.h"
#include "config/KeyTable.h"
#include "config/MonitoringList.h"
#include "counters/CounterMgr.h"

int ReadMonitoringLists(const ConfigurationMgr& config)
{
    const struct
    {
        const char* mKey;
        CounterMgr* mManager;
    } lists[] = {{THHS_MONITOR_CPU, config.mCPUCounterMgr},
                 {THHS_MONITOR_MEMORY, config.mMemoryCounterMgr},
                 {THHS_MONITOR_DEADLOCK, config.mDeadLockCounterMgr}};
    for (const auto& list : lists) {
        const int result = ReadMapValue(list.mKey, list.mManager->GetMessageStr(),
                                        list.mManager->GetProcessesRegisteredMonitoring());
        // Without its key a manager has nothing to watch, which is no error.
        if (result != 0 && result != RC_CONFIG_NOT_DEFINED) {
            return result;
        }
    }
    return 0;
}
