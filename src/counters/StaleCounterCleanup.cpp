#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "counters/BreachTexts.h"
#include "counters/CounterMgr.h"
#include "platform/THUEnv.h"

#include <iterator>
#include <memory>

namespace
{
void LogRemoval(int pid, const Counter& counter)
{
    if (!IsVerbose()) {
        return;
    }
    WriteLogLine(logFileMtx, COUNTER_REMOVED_TEXT, pid, counter.mCounterIndex, counter.mCounterName.c_str());
    WriteLogLine(logFileMtx,
                 "Removing from ProcessIDAndCouterMap Process %s (PID : %d) with Counter Index : %d "
                 "and Counter Name %s\n",
                 AppendBinExt(counter.mProcessName).c_str(), pid, counter.mCounterIndex,
                 counter.mCounterName.c_str());
}
} // namespace

void CounterMgr::CleanUpStaleCounters()
{
    const std::map<int, std::string>& alive = ConfigurationMgr::GetInstance()->mProcessIDAndProcessNameMap;
    auto entry = mProcessIDAndCouterMap.begin();
    while (entry != mProcessIDAndCouterMap.end()) {
        // Intentional: the id alone is compared, so one that another process got counts as alive. The counter
        // then reads 0.
        if (alive.count(entry->first) != 0) {
            ++entry;
            continue;
        }
        LogRemoval(entry->first, *entry->second);
        const std::unique_ptr<Counter> counter(entry->second);
        mProcessIDAndCouterMap.erase(entry);
        if (mProcessIDAndCouterMap.empty()) {
            return;
        }
        // Intentional: the walk starts again after the first entry, whichever that is now. If it is stale
        // too, the next call removes it; readers of the log see such removals pass by pass.
        entry = std::next(mProcessIDAndCouterMap.begin());
    }
}
