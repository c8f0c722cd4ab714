#include "config/ConfigurationLoad.h"

#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/ConfigurationTexts.h"
#include "config/ConfigurationValueReaders.h"
#include "config/KeyTable.h"
#include "config/MonitoringList.h"
#include "config/ReadingPlan.h"
#include "config/Refusal.h"
#include "config/SharedSetting.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"
#include "platform/TextUtilities.h"

#include <span>

namespace
{
/** An integer key whose value is replaced by its default when it is out of range; the load then goes on. */
struct RevertingKey
{
    const KeyRow& mKey;
    int ConfigurationMgr::*mField;
};

constexpr RevertingKey CAPTURE_KEYS[] = {
    {GetKey(THHS_DUMP_COUNT), &ConfigurationMgr::mMaxDumpCount},
    {GetKey(THHS_CAPTURE_NETWORK_STAT), &ConfigurationMgr::mCaptureNetworkStat},
    {GetKey(THHS_DEADLOCK_INTERVAL), &ConfigurationMgr::mDeadlockInterval},
    {GetKey(THHS_INCREASE_LOG_LEVEL), &ConfigurationMgr::mIncreaseLogLevel},
    {GetKey(THHS_CAPTURE_PROCESS_DUMP), &ConfigurationMgr::mCaptureProcessDump},
    {GetKey(THHS_ALWAYS_DUMP), &ConfigurationMgr::mAlwaysDump},
    {GetKey(THHS_CAPTURE_DISK_IO), &ConfigurationMgr::mCaptureDiskIO},
};

constexpr RevertingKey READING_KEYS[] = {
    {GetKey(THHS_NUMBER_OF_READINGS), &ConfigurationMgr::mNumberOfReadings},
    {GetKey(THHS_READING_INTERVAL), &ConfigurationMgr::mReadingInterval},
};

/** Read once the readings are known to fit into the poll interval. */
constexpr RevertingKey SERVICE_KEYS[] = {
    {GetKey(THHS_PURGE_OLD_EVIDENCE), &ConfigurationMgr::mPurgeOldEvidence},
    {GetKey(THHS_CAPTURE_WITHOUT_THRESHOLD), &ConfigurationMgr::mCaptureWithoutThreshold},
};

/** Read last, so that the keys before it are traced by the value of the load before. */
constexpr RevertingKey TRACE_KEYS[] = {
    {GetKey(THHS_VERBOSE), &ConfigurationMgr::mVerbose},
};

int RefuseSetting(const std::string& message)
{
    return Refuse(logFileMtx, MessageOrder::ConsoleFirst, RC_CONFIG_INVALID, message);
}

int ReadMemoryUnit(ConfigurationMgr& config)
{
    int result = 0;
    (void)ReadStringValue(THHS_MEMORY_UNIT, config.mMemoryUnit, result); // the field holds the text
    if (result == RC_CONFIG_NOT_DEFINED) {
        config.mMemoryUnit = GetKey(THHS_MEMORY_UNIT).mDefault;
        return 0;
    }
    if (result != 0) {
        return result;
    }
    if (!IsSameText(config.mMemoryUnit, MEMORY_UNIT_PERCENT) &&
        !IsSameText(config.mMemoryUnit, MEMORY_UNIT_ABSOLUTE)) {
        return RefuseSetting(FormatBounded(MESSAGE_SIZE, BAD_UNIT_TEXT, THHS_MEMORY_UNIT,
                                           config.mMemoryUnit.c_str(), MEMORY_UNIT_PERCENT,
                                           MEMORY_UNIT_ABSOLUTE));
    }
    return 0;
}

int ReadPollInterval(ConfigurationMgr& config)
{
    constexpr const KeyRow& key = GetKey(THHS_POLL_INTERVAL);
    const int result = ReadIntegerValue(key.mName, config.mPollInterval);
    if (result == RC_CONFIG_NOT_DEFINED) {
        config.mPollInterval = GetDefaultNumber(key);
        return 0;
    }
    if (result == 0 && config.mPollInterval < key.mLowest) {
        return RefuseSetting(
            FormatBounded(MESSAGE_SIZE, BAD_POLL_INTERVAL_TEXT, key.mName, config.mPollInterval));
    }
    return result;
}

/** Reads keys into their fields; true when some value was replaced by its default. */
bool ReadRevertingKeys(ConfigurationMgr& config, std::span<const RevertingKey> keys)
{
    bool reverted = false;
    for (const RevertingKey& entry : keys) {
        const KeyRow& key = entry.mKey;
        int& field = config.*entry.mField;
        // A value that is no number has been reported. It leaves the field as it was, which passes the check.
        (void)ReadIntegerValue(key.mName, field);
        if (field >= key.mLowest && field <= key.mHighest) {
            continue;
        }
        const int rejected = field;
        SetSharedNumber(field, GetDefaultNumber(key));
        WriteLogLine(logFileMtx, key.mMessage, key.mName, rejected, field);
        if (key.mAfterword != nullptr) {
            WriteLogLine(logFileMtx, "%s", key.mAfterword);
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
    WriteLogLine(logFileMtx, READINGS_DONT_FIT_TEXT, THHS_READING_INTERVAL, config.mReadingInterval,
                 THHS_NUMBER_OF_READINGS, config.mNumberOfReadings, THHS_POLL_INTERVAL, config.mPollInterval,
                 THHS_READING_INTERVAL, THHS_NUMBER_OF_READINGS, THHS_POLL_INTERVAL);
    plan = FitTo(plan, config.mPollInterval);
    SetSharedNumber(config.mReadingInterval, plan.mInterval);
    SetSharedNumber(config.mNumberOfReadings, plan.mCount);
    WriteLogLine(logFileMtx, READINGS_SET_TEXT, THHS_READING_INTERVAL, plan.mInterval, THHS_POLL_INTERVAL);
    WriteLogLine(logFileMtx, READINGS_SET_TEXT, THHS_NUMBER_OF_READINGS, plan.mCount, THHS_POLL_INTERVAL);
}

void ReadJdkHome(ConfigurationMgr& config)
{
    int result = 0;
    (void)ReadStringValue(THHS_JDK_HOME, config.mJdkHome, result); // the field holds the text
    if (config.mJdkHome.empty()) {
        WriteLogLine(logFileMtx, NO_JDK_HOME_TEXT);
    } else if (result == 0) {
        WriteVerboseLine(logFileMtx, JDK_HOME_TEXT, config.mJdkHome.c_str());
    }
}

int CheckEvidencePath(const ConfigurationMgr& config, const std::string& path, int readerResult)
{
    if (path.empty()) {
        return RefuseSetting(FormatBounded(MESSAGE_SIZE, NO_EVIDENCE_PATH_TEXT, THHS_EVIDENCE_PATH));
    }
    if (readerResult != 0) {
        return readerResult;
    }
    if (!config.mHelper->HF_DoesFolderExist(path)) {
        return RefuseSetting(FormatBounded(MESSAGE_SIZE, MISSING_EVIDENCE_PATH_TEXT, THHS_EVIDENCE_PATH,
                                           path.c_str(), GetTHPerfMonBinName().c_str()));
    }
    return 0;
}

/** Makes the folder below the path, which becomes the path. */
int MakeEvidenceRoot(const ConfigurationMgr& config, std::string& path)
{
    path += "/" + GetTHPerfMonBinName();
    if (!config.mHelper->HF_DoesFolderExist(path) && !config.mHelper->HF_CreateDir(path, false)) {
        return RefuseSetting(FormatBounded(MESSAGE_SIZE, EVIDENCE_FOLDER_FAILED_TEXT, THHS_EVIDENCE_PATH,
                                           path.c_str(), GetTHPerfMonBinName().c_str()));
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
    PublishSharedText(config.mEvidencePath, path); // also one that was refused
    if (result == 0) {
        WriteLogLine(logFileMtx, EVIDENCE_PATH_TEXT, THHS_EVIDENCE_PATH, path.c_str());
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

void ReportSuccess(const ConfigurationMgr& config, bool reverted)
{
    WriteLogLine(logFileMtx, LOAD_SUCCEEDED_TEXT);
    WriteLogLine(logFileMtx, POLL_INTERVAL_TEXT, config.mPollInterval, THHS_POLL_INTERVAL);
    if (reverted) {
        ReportMessage(logFileMtx, MessageOrder::ConsoleFirst,
                      FormatBounded(MESSAGE_SIZE, REVERTED_TEXT, GetTHPerfMonBinName().c_str()));
    }
}
} // namespace

int LoadConfiguration(ConfigurationMgr& config)
{
    WriteLogLine(logFileMtx, LOAD_STARTS_TEXT);
    if (config.mHelper == nullptr) {
        return RC_CONFIG_NO_HELPER;
    }
    int result = ReadStoppingKeys(config);
    if (result != 0) {
        return result;
    }
    bool reverted = ReadRevertingKeys(config, CAPTURE_KEYS);
    config.mForceReadingInterval = GetDefaultNumber(GetKey(FORCE_READING_INTERVAL));
    (void)ReadIntegerValue(FORCE_READING_INTERVAL, config.mForceReadingInterval); // any value is accepted
    reverted |= ReadRevertingKeys(config, READING_KEYS);
    FitReadings(config);
    reverted |= ReadRevertingKeys(config, SERVICE_KEYS);
    ReadJdkHome(config);
    result = ReadEvidencePath(config);
    if (result != 0) {
        return result;
    }
    reverted |= ReadRevertingKeys(config, TRACE_KEYS);
    ReportSuccess(config, reverted);
    return 0;
}
