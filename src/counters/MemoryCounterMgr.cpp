#include "counters/MemoryCounterMgr.h"

#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/KeyTable.h"
#include "platform/TextUtilities.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <memory>
#include <utility>

MemoryCounterMgr::MemoryCounterMgr(std::string messageStr) : CounterMgr(std::move(messageStr)) {}

MemoryCounterMgr::~MemoryCounterMgr() = default;

double MemoryCounterMgr::ReadCounterIndexValue(Counter* counter)
{
    const std::unique_ptr<UnixHelperFunction> helper(GetUnixHelperFunctionInstance());
    if (!helper) {
        return 0.0;
    }
    const bool isAbsolute =
        IsSameText(*helper, ConfigurationMgr::GetInstance()->mMemoryUnit, MEMORY_UNIT_ABSOLUTE);
    const double usage =
        isAbsolute ? helper->GetMemoryUsageForProcessInMB(counter->mProcessName, counter->mCounterIndex)
                   : helper->GetMemoryUsageForProcessInPercent(counter->mProcessName, counter->mCounterIndex);
    WriteVerboseLine(
        logFileMtx,
        isAbsolute ? "MemoryCounterMgr::ReadCounterIndexValue Memory Usage : %.2lf MB for process %s .\n"
                   : "MemoryCounterMgr::ReadCounterIndexValue Memory Usage : %.2lf PERCENT of memory for "
                     "process %s.\n",
        usage, counter->mProcessName.c_str());
    return usage;
}
