#include "cli/THJobPerfMonSvc.h"

#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "base/ProgramNames.h"
#include "cli/ServiceTexts.h"
#include "cli/StopUnderWay.h"
#include "config/ConfigurationMgr.h"
#include "config/ConfigurationValueReaders.h"
#include "counters/CounterMgr.h"
#include "logcontrol/LevelRaise.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"
#include "thbase.h"

#include <memory>

#include <syslog.h>
#include <unistd.h>

namespace
{
bool gRunDaemonLoop = true;

std::string GetFailureText(int result)
{
    switch (result) {
    case RC_CONFIG_INVALID:
        return FormatBounded(MESSAGE_SIZE, INVALID_CONFIGURATION_TEXT, SHORT_NAME, TITLE);
    case RC_CONFIG_MISSING:
        return FormatBounded(MESSAGE_SIZE, MISSING_CONFIGURATION_TEXT, SHORT_NAME, TITLE);
    case RC_CONFIG_BAD_CHARS:
        return FormatBounded(MESSAGE_SIZE, BAD_CONFIGURATION_CHARACTERS_TEXT, TITLE);
    default:
        return "";
    }
}

void LogServiceStopped()
{
    WriteLogLine(logFileMtx, SERVICE_STOPPED_TEXT, TITLE);
}

void ReportConfigurationFailure(int result)
{
    const std::string text = GetFailureText(result);
    syslog(LOG_ERR, "%s", text.c_str());
    WriteLogLine(logFileMtx, CONFIGURATION_ERROR_TEXT, text.c_str());
    LogServiceStopped();
}

void ProbeMachine(ConfigurationMgr& config)
{
    const std::unique_ptr<UnixHelperFunction> helper(GetUnixHelperFunctionInstance());
    if (!helper) {
        return;
    }
    const int processors = helper->GetCPUCount();
    WriteLogLine(logFileMtx, CPU_COUNT_TEXT, processors);
    config.mCPUCount = processors;
    const std::int64_t memory = helper->GetTotalSizeOfMemoryInKB();
    WriteLogLine(logFileMtx, MEMORY_SIZE_TEXT, static_cast<long>(memory));
    config.mTotalMemoryInKB = memory;
}

void AddCounters(CounterMgr& manager)
{
    manager.AddCounterToMonitor(manager.GetProcessesRegisteredMonitoring(), "", "");
}

/**
 * Waits for the end of the process once a stop has come. Its signal may have interrupted the worker's sleep,
 * and a breach found now would raise log levels after they were restored. The cancellation of the worker ends
 * the wait.
 */
void WaitForEndOfStop()
{
    while (IsStopUnderWay()) {
        (void)pause(); // returns on signals alone
    }
}

/** One pass without its sleep. Intentional: deadlock counters take no part, nothing watches them yet. */
void MakePass(ConfigurationMgr& config)
{
    config.PopulateProcessNameAndProcessIDMultiMap();
    config.PopulateProcessIDAndProcessNameMap();
    AddCounters(*config.mCPUCounterMgr);
    AddCounters(*config.mMemoryCounterMgr);
    WriteLogLine(logFileMtx, PASS_TEXT, TITLE);
    config.mCPUCounterMgr->HandleThresholdBreach();
    config.mMemoryCounterMgr->HandleThresholdBreach();
}
} // namespace

int THJobPerfMonSvc(const char* /*name*/)
{
    gRunDaemonLoop = true;
    return 0;
}

int StartMonitoringActivity()
{
    ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    config->mDaemonPid = getpid();
    AllowRaises();
    WriteLogLine(logFileMtx, SERVICE_STARTED_TEXT, TITLE);
    const int result = config->ReadConfigurationFile();
    if (result != 0) {
        ReportConfigurationFailure(result);
        return result;
    }
    ProbeMachine(*config);
    syslog(LOG_INFO, "%s", FormatBounded(MESSAGE_SIZE, SYSTEM_LOG_STARTED_TEXT, TITLE).c_str());
    return 0;
}

void* ServiceWorkerThread(void* arg)
{
    auto* const status = static_cast<ServiceThreadStatus*>(arg);
    ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    if (config->mPurgeOldEvidence != 0) {
        config->PurgeOldEvidence();
    }
    while (gRunDaemonLoop) {
        MakePass(*config);
        (void)sleep(static_cast<unsigned int>(config->mPollInterval)); // a signal may cut it short
        WaitForEndOfStop();
        (void)TH_forced_read_master_config(); // if the store can't be read, the last version stays in use
        const int result = config->ReadConfigurationFile();
        if (result != 0) {
            ReportConfigurationFailure(result);
            (void)StopMonitoringActivity(); // always 0
            status->mResult = result;
            status->mAlive = 0;
        }
    }
    return nullptr;
}

int StopMonitoringActivity()
{
    ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    syslog(LOG_INFO, "%s", FormatBounded(MESSAGE_SIZE, SYSTEM_LOG_STOPPED_TEXT, TITLE).c_str());
    WriteLogLine(logFileMtx, CLEANING_UP_TEXT);
    config->CloseThreadHandles();
    WriteLogLine(logFileMtx, RESTORING_LEVELS_TEXT);
    config->ResetLogging();
    gRunDaemonLoop = false;
    LogServiceStopped();
    return 0;
}
