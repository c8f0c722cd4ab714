#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/SharedSetting.h"
#include "counters/BreachTexts.h"
#include "counters/CPUCounterMgr.h"
#include "counters/DeadLockCounterMgr.h"
#include "counters/MemoryCounterMgr.h"
#include "platform/UnixHelperFactoryMethod.h"

/** The place where the parts of the program are put together. */

namespace
{
// The folder of the log is made when the singleton is built.
void PrepareLog()
{
    (void)ConfigurationMgr::GetInstance(); // for its effect
}

bool AreVerboseLinesWritten()
{
    return GetSharedNumber(ConfigurationMgr::GetInstance()->mVerbose) == 1;
}
} // namespace

const LogGate LOG_GATE = {PrepareLog, AreVerboseLinesWritten};

ConfigurationMgr* ConfigurationMgr::Compose()
{
    auto* const config = new ConfigurationMgr(GetHelperFunctionInstance());
    config->mCPUCounterMgr = new CPUCounterMgr(LABEL_CPU);
    config->mMemoryCounterMgr = new MemoryCounterMgr(LABEL_MEMORY);
    config->mDeadLockCounterMgr = new DeadLockCounterMgr(LABEL_DEADLOCK);
    config->InitJavaProcesses();
    return config;
}
