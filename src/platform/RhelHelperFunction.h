#pragma once

#include "platform/UnixHelperFunction.h"

/** The helper of Red Hat and Oracle hosts, where ps lists one process alone for its CPU use. */
class RhelHelperFunction : public UnixHelperFunction
{
public:
    RhelHelperFunction();
    ~RhelHelperFunction() override;

    double GetCPUUsageForProcessInPercent(std::string processName, int pid) override;
};
