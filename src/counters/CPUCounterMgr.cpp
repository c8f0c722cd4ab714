#include "counters/CPUCounterMgr.h"

#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <memory>
#include <utility>

double GetShareOfMachine(double usage, int processors)
{
    return processors > 0 ? usage / static_cast<double>(processors) : usage;
}

CPUCounterMgr::CPUCounterMgr(std::string messageStr) : CounterMgr(std::move(messageStr)) {}

CPUCounterMgr::~CPUCounterMgr() = default;

double CPUCounterMgr::ReadCounterIndexValue(Counter* counter)
{
    double usage = 0.0;
    if (const std::unique_ptr<UnixHelperFunction> helper(GetUnixHelperFunctionInstance()); helper) {
        usage = helper->GetCPUUsageForProcessInPercent(counter->mProcessName, counter->mCounterIndex);
    }
    usage = GetShareOfMachine(usage, ConfigurationMgr::GetInstance()->mCPUCount);
    WriteVerboseLine(logFileMtx,
                     "CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process %s (Pid %d) %f.\n",
                     counter->mProcessName.c_str(), counter->mCounterIndex, usage);
    return usage;
}
