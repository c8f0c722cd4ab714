#pragma once

#include "counters/CounterMgr.h"

/** Percent of one processor as percent of all. Without a known number of processors it stays as it is. */
double GetShareOfMachine(double usage, int processors);

/** Counters of CPU use, in percent of the whole machine. */
class CPUCounterMgr : public CounterMgr
{
public:
    explicit CPUCounterMgr(std::string messageStr);
    ~CPUCounterMgr() override;

    /** Percent by the CPU column of ps, divided by the number of processors. */
    double ReadCounterIndexValue(Counter* counter) override;
};
