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
        // The id alone is compared: one that another process has taken over counts as alive.
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
        // The walk begins anew and passes over the head, whatever it is: that is meant. A stale head that has
        // just moved up is left to the next call.
        entry = std::next(mProcessIDAndCouterMap.begin());
    }
}
