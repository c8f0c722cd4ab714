#include "base/BoundedText.h"
#include "base/Console.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationKeys.h"
#include "config/ConfigurationMgr.h"
#include "config/ConfigurationValueReaders.h"
#include "config/MonitoringList.h"
#include "config/ReadingPlan.h"
#include "config/SharedSetting.h"
#include "counters/CounterMgr.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"

#include <span>

namespace
{
// Here the console comes first and the log second.
void PrintAndLog(const std::string& message)
{
    ConsolePuts(message.c_str());
    WriteLogLine(logFileMtx, "%s\n", message.c_str());
}

int Refuse(const std::string& message)
{
    PrintAndLog(message);
    return RC_CONFIG_INVALID;
}

int ReadMemoryUnit(ConfigurationMgr& config)
{
    int result = 0;
    (void)ReadStringValue(THHS_MEMORY_UNIT, config.mMemoryUnit, result); // the field holds the text
    if (result == RC_CONFIG_NOT_DEFINED) {
        config.mMemoryUnit = MEMORY_UNIT_ABSOLUTE;
        return 0;
    }
    if (result != 0) {
        return result;
    }
    if (config.mHelper->CompareIgnoreCase(config.mMemoryUnit, MEMORY_UNIT_PERCENT) &&
        config.mHelper->CompareIgnoreCase(config.mMemoryUnit, MEMORY_UNIT_ABSOLUTE)) {
        return Refuse(FormatBounded(MESSAGE_SIZE, "Invalid value for %s : %s. Can only have values %s or %s.",
                                    THHS_MEMORY_UNIT, config.mMemoryUnit.c_str(), MEMORY_UNIT_PERCENT,
                                    MEMORY_UNIT_ABSOLUTE));
    }
    return 0;
}

int ReadMonitoringLists(const ConfigurationMgr& config)
{
    const struct
    {
        const char* mKey;
        CounterMgr* mManager;
    } lists[] = {{THHS_MONITOR_CPU, config.mCPUCounterMgr},
                 {THHS_MONITOR_MEMORY, config.mMemoryCounterMgr},
                 {THHS_MONITOR_DEADLOCK, config.mDeadLockCounterMgr}};
    for (const auto& list : lists) {
        const int result = ReadMapValue(list.mKey, list.mManager->GetMessageStr(),
                                        list.mManager->GetProcessesRegisteredMonitoring());
        // Without its key a manager has nothing to watch, which is no error.
        if (result != 0 && result != RC_CONFIG_NOT_DEFINED) {
            return result;
        }
    }
    return 0;
}

int ReadPollInterval(ConfigurationMgr& config)
{
    const int result = ReadIntegerValue(THHS_POLL_INTERVAL, config.mPollInterval);
    if (result == RC_CONFIG_NOT_DEFINED) {
        config.mPollInterval = DEFAULT_POLL_INTERVAL;
        return 0;
    }
    if (result == 0 && config.mPollInterval <= 0) {
        return Refuse(FormatBounded(MESSAGE_SIZE,
                                    "Invalid value for %s : %d. Value should be greater than 0.",
                                    THHS_POLL_INTERVAL, config.mPollInterval));
    }
    return result;
}

/** Reads keys into their fields; true when some value was replaced by its default. */
bool ReadRevertingKeys(ConfigurationMgr& config, std::span<const RevertingKey> keys)
{
    bool reverted = false;
    for (const RevertingKey& key : keys) {
        int& field = config.*key.mField;
        // A value that is no number has been reported and leaves the field, which then passes its check.
        (void)ReadIntegerValue(key.mKey, field);
        if (field >= key.mLowest && field <= key.mHighest) {
            continue;
        }
        const int rejected = field;
        SetSharedNumber(field, key.mDefault);
        WriteLogLine(logFileMtx, key.mMessage, key.mKey, rejected, key.mDefault);
        if (key.mAfterword != nullptr) {
            WriteLogLine(logFileMtx, "%s\n", key.mAfterword);
        }
        reverted = true;
    }
    return reverted;
}

void FitReadings(ConfigurationMgr& config)
{
    ReadingPlan plan = {config.mReadingInterval, config.mNumberOfReadings};
    if (config.mForceReadingInterval != 0 || FitsInto(plan, config.mPollInterval)) {
        return;
    }
    WriteLogLine(logFileMtx,
                 "Invalid combination of %s : %d and %s : %d and %s : %d. The product of %s and %s "
                 "should be less than the %s.\n",
                 THHS_READING_INTERVAL, config.mReadingInterval, THHS_NUMBER_OF_READINGS,
                 config.mNumberOfReadings, THHS_POLL_INTERVAL, config.mPollInterval, THHS_READING_INTERVAL,
                 THHS_NUMBER_OF_READINGS, THHS_POLL_INTERVAL);
    plan = FitTo(plan, config.mPollInterval);
    SetSharedNumber(config.mReadingInterval, plan.mInterval);
    SetSharedNumber(config.mNumberOfReadings, plan.mCount);
    const char* const setTo = "%s is set to : %d, optimized based on the value of %s\n";
    WriteLogLine(logFileMtx, setTo, THHS_READING_INTERVAL, plan.mInterval, THHS_POLL_INTERVAL);
    WriteLogLine(logFileMtx, setTo, THHS_NUMBER_OF_READINGS, plan.mCount, THHS_POLL_INTERVAL);
}

void ReadJdkHome(ConfigurationMgr& config)
{
    int result = 0;
    (void)ReadStringValue(THHS_JDK_HOME, config.mJdkHome, result); // the field holds the text
    if (config.mJdkHome.empty()) {
        WriteLogLine(logFileMtx, "JDK Home is not set. Java stack dump will not be captured.\n");
    } else if (result == 0) {
        WriteVerboseLine(logFileMtx, "JDK Home is set to %s . \n", config.mJdkHome.c_str());
    }
}

int CheckEvidencePath(const ConfigurationMgr& config, const std::string& path, int readerResult)
{
    if (path.empty()) {
        return Refuse(
            FormatBounded(MESSAGE_SIZE,
                          "%s is not set. It is a mandatory value. Please specify the path on the file "
                          "system, that has sufficient space to store logs.",
                          THHS_EVIDENCE_PATH));
    }
    if (readerResult != 0) {
        return readerResult;
    }
    if (!config.mHelper->HF_DoesFolderExist(path)) {
        return Refuse(FormatBounded(
            MESSAGE_SIZE, "Invalid value for %s : %s. Specified folder does not exist. %s will not start.",
            THHS_EVIDENCE_PATH, path.c_str(), GetTHPerfMonBinName().c_str()));
    }
    return 0;
}

/** Makes the folder below the path, which becomes the path. */
int MakeEvidenceRoot(const ConfigurationMgr& config, std::string& path)
{
    path += "/" + GetTHPerfMonBinName();
    if (!config.mHelper->HF_DoesFolderExist(path) && !config.mHelper->HF_CreateDir(path, false)) {
        return Refuse(FormatBounded(
            MESSAGE_SIZE,
            "Invalid value for %s : %s. Failed to create the evidences folder. %s will not start.",
            THHS_EVIDENCE_PATH, path.c_str(), GetTHPerfMonBinName().c_str()));
    }
    return 0;
}

int ReadEvidencePath(ConfigurationMgr& config)
{
    // Read and checked apart from the setting, so that a capture finds the path of this load or of the one
    // before.
    std::string path;
    int readerResult = 0;
    (void)ReadStringValue(THHS_EVIDENCE_PATH, path, readerResult); // fills the text as well
    int result = CheckEvidencePath(config, path, readerResult);
    if (result == 0) {
        result = MakeEvidenceRoot(config, path);
    }
    PublishSharedText(config.mEvidencePath, path); // one that was refused too
    if (result == 0) {
        WriteLogLine(logFileMtx, "%s is set to %s. Check the folder for collected logs.\n",
                     THHS_EVIDENCE_PATH, path.c_str());
    }
    return result;
}

/** The keys without which the service can't run; the first bad one ends the load. */
int ReadStoppingKeys(ConfigurationMgr& config)
{
    int result = ReadMemoryUnit(config);
    if (result == 0) {
        result = ReadMonitoringLists(config);
    }
    return result == 0 ? ReadPollInterval(config) : result;
}

void LogSuccess(const ConfigurationMgr& config, bool reverted)
{
    WriteLogLine(logFileMtx, "Configuration file successfully read.\n");
    WriteLogLine(logFileMtx,
                 "Processes will be monitored regularly after %d seconds. It can be modified by "
                 "changing %s value in Tarnhaven configuration.\n",
                 config.mPollInterval, THHS_POLL_INTERVAL);
    if (reverted) {
        PrintAndLog(
            FormatBounded(MESSAGE_SIZE,
                          "Warning, invalid value found in Tarnhaven configuration for %s. Reverted value to "
                          "default. Please refer the log file for details.",
                          GetTHPerfMonBinName().c_str()));
    }
}
} // namespace

int ConfigurationMgr::ReadConfigurationFile()
{
    WriteLogLine(logFileMtx, "Reading the configuration from Tarnhaven configuration.\n");
    if (mHelper == nullptr) {
        return RC_CONFIG_NO_HELPER;
    }
    int result = ReadStoppingKeys(*this);
    if (result != 0) {
        return result;
    }
    bool reverted = ReadRevertingKeys(*this, CAPTURE_KEYS);
    mForceReadingInterval = 0;
    (void)ReadIntegerValue(FORCE_READING_INTERVAL, mForceReadingInterval); // any value will do
    reverted |= ReadRevertingKeys(*this, READING_KEYS);
    FitReadings(*this);
    reverted |= ReadRevertingKeys(*this, SERVICE_KEYS);
    ReadJdkHome(*this);
    result = ReadEvidencePath(*this);
    if (result != 0) {
        return result;
    }
    reverted |= ReadRevertingKeys(*this, TRACE_KEYS);
    LogSuccess(*this, reverted);
    return 0;
}
