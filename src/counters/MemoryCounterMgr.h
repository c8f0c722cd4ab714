#pragma once

#include "counters/CounterMgr.h"

/** Counters of memory use, in megabytes or in percent by THHS_MEMORY_UNIT. */
class MemoryCounterMgr : public CounterMgr
{
public:
    explicit MemoryCounterMgr(std::string messageStr);
    ~MemoryCounterMgr() override;

    /** Megabytes or percent by ps, in the unit that is set at this reading. */
    double ReadCounterIndexValue(Counter* counter) override;
};
