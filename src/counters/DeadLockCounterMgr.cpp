#include "counters/DeadLockCounterMgr.h"

#include <utility>

DeadLockCounterMgr::DeadLockCounterMgr(std::string messageStr)
    : CounterMgr(std::move(messageStr)), mDeadLockFlag(false)
{}

DeadLockCounterMgr::~DeadLockCounterMgr() = default;

void DeadLockCounterMgr::AddCounterHelper(std::string /*processName*/, std::string /*counterNamePrefix*/,
                                          std::string /*counterNameSuffix*/)
{}

void DeadLockCounterMgr::HandleThresholdBreach() {}
