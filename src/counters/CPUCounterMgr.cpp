#include "counters/CPUCounterMgr.h"

#include "config/ConfigurationMgr.h"
#include "config/LogFileMtx.h"
#include "config/LogLine.h"
#include "config/THCrossPlatformMapping.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <memory>
#include <utility>

CPUCounterMgr::CPUCounterMgr(std::string messageStr) : CounterMgr(std::move(messageStr)) {}

CPUCounterMgr::~CPUCounterMgr() = default;

double CPUCounterMgr::ReadCounterIndexValue(Counter* counter)
{
    double usage = 0.0;
    if (const std::unique_ptr<UnixHelperFunction> helper(GetUnixHelperFunctionInstance()); helper) {
        usage = helper->GetCPUUsageForProcessInPercent(counter->mProcessName, counter->mCounterIndex);
    }
    const int processors = ConfigurationMgr::GetInstance()->mCPUCount;
    if (processors > 0) {
        usage /= static_cast<double>(processors);
    }
    if (IsVerbose()) {
        LogLine{logFileMtx}.Write(
            "%sCPUCounterMgr::ReadCounterIndexValue Getting CPU for Process %s (Pid %d) %f.\n",
            GetCurrentTimeStamp().c_str(), counter->mProcessName.c_str(), counter->mCounterIndex, usage);
    }
    return usage;
}
