#pragma once

#include "counters/CounterMgr.h"

/** Counters of CPU use, in percent of the whole machine. */
class CPUCounterMgr : public CounterMgr
{
public:
    explicit CPUCounterMgr(std::string messageStr);
    ~CPUCounterMgr() override;

    /** Percent by the CPU column of ps, divided by the number of processors. */
    double ReadCounterIndexValue(Counter* counter) override;
};
