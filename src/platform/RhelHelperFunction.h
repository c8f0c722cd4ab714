#pragma once

#include "platform/UnixHelperFunction.h"

/** The helper of Red Hat and Oracle hosts, whose ps is asked for the one process alone. */
class RhelHelperFunction : public UnixHelperFunction
{
public:
    RhelHelperFunction();
    ~RhelHelperFunction() override;

    double GetCPUUsageForProcessInPercent(std::string processName, int pid) override;
};
