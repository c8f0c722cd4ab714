#include "platform/RhelHelperFunction.h"

#include "platform/ListingLines.h"
#include "platform/THUEnv.h"

RhelHelperFunction::RhelHelperFunction() = default;

RhelHelperFunction::~RhelHelperFunction() = default;

double RhelHelperFunction::GetCPUUsageForProcessInPercent(std::string processName, int pid)
{
    const std::string filter = GetProcNameFilterForGrep(GetTHBasePath());
    return ReadUsage(GetSingleUsageLine(*mCmdPath, filter, pid), processName, pid);
}
