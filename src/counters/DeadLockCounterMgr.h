#pragma once

#include "counters/CounterMgr.h"

/** Holds the list of processes to watch for deadlocks. No code watches them yet. */
class DeadLockCounterMgr : public CounterMgr
{
public:
    explicit DeadLockCounterMgr(std::string messageStr);
    ~DeadLockCounterMgr() override;

    /** Does nothing. */
    void AddCounterHelper(std::string processName, std::string counterNamePrefix,
                          std::string counterNameSuffix) override;

    /** Does nothing. */
    void HandleThresholdBreach() override;

protected:
    bool mDeadLockFlag; ///< false; nothing uses it
};
