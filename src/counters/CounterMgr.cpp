#include "counters/CounterMgr.h"

#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "base/ProgramNames.h"
#include "config/ConfigurationMgr.h"
#include "config/JavaProcessNames.h"
#include "config/KeyTable.h"
#include "config/SharedSetting.h"
#include "config/THCrossPlatformMapping.h"
#include "counters/BreachTexts.h"
#include "counters/ReadingWindow.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"
#include "platform/TextUtilities.h"
#include "platform/UnixHelperFactoryMethod.h"

#include <memory>
#include <utility>
#include <vector>

namespace
{
constexpr std::size_t BREACH_TEXT_SIZE = 2048;
constexpr std::size_t EVENT_TEXT_SIZE = 512;

// Arguments of the captures, which take no counters by name yet.
const std::vector<std::string>& memorycounters = *new std::vector<std::string>;
const std::vector<std::string>& networkCounters = *new std::vector<std::string>;
const std::vector<std::string>& diskCounters = *new std::vector<std::string>;

BreachRules GetBreachRules()
{
    const ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    return {config.mAlwaysDump, config.mCaptureWithoutThreshold};
}

const std::string& GetConfiguredName(const Counter& counter)
{
    return counter.mIsJavaProcess ? counter.mJavaProcessName : counter.mProcessName;
}
} // namespace

/** What one pass finds about one counter. */
struct CounterMgr::Evaluation
{
    double mReading;
    std::int64_t mValue; ///< the reading truncated toward zero; all decisions use this
    int mThreshold;      ///< -1 for none
    std::string mConfiguredName;
    std::string mUnit;
};

CounterMgr::CounterMgr(std::string messageStr)
    : mMessageStr(std::move(messageStr)), mSpareFlag1(false), mSpareFlag2(false), mSpareFlag3(false)
{}

CounterMgr::~CounterMgr()
{
    for (const auto& [pid, counter] : mProcessIDAndCouterMap) {
        delete counter;
    }
}

void CounterMgr::AddCounterToMonitor(std::map<std::string, int>& processes, std::string counterNamePrefix,
                                     std::string counterNameSuffix)
{
    for (const auto& [processName, threshold] : processes) {
        AddCounterHelper(processName, counterNamePrefix, counterNameSuffix);
    }
}

double CounterMgr::ReadCounterIndexValue(Counter* /*counter*/)
{
    return 0.0;
}

std::map<std::string, int>& CounterMgr::GetProcessesRegisteredMonitoring()
{
    return mProcessesRegisteredMonitoring;
}

std::string& CounterMgr::GetMessageStr()
{
    return mMessageStr;
}

double CounterMgr::GetCounterValueFromOS(int /*index*/)
{
    return 0.0;
}

void CounterMgr::HandleThresholdBreach()
{
    const std::unique_ptr<HelperFunctionInterface> helper(GetHelperFunctionInstance());
    if (!helper) {
        WriteLogLine(logFileMtx, "Error: Failed to get the helper object.\n");
        return;
    }
    const bool isUnitAbsolute =
        IsSameText(*helper, ConfigurationMgr::GetInstance()->mMemoryUnit, MEMORY_UNIT_ABSOLUTE);
    if (isUnitAbsolute) {
        WriteVerboseLine(logFileMtx, UNIT_IS_ABSOLUTE_TEXT);
    }
    for (const auto& [pid, counter] : mProcessIDAndCouterMap) {
        Evaluate(*helper, *counter, isUnitAbsolute);
    }
}

void CounterMgr::Evaluate(HelperFunctionInterface& helper, Counter& counter, bool isUnitAbsolute)
{
    const double reading = ReadCounterIndexValue(&counter);
    const std::string configuredName = GetConfiguredName(counter);
    const Evaluation evaluation = {
        reading, TruncateReading(reading),
        ConfigurationMgr::GetInstance()->GetThreasholdValue(mProcessesRegisteredMonitoring, configuredName),
        configuredName, GetUnit(helper, isUnitAbsolute)};
    WriteVerboseLine(logFileMtx, READING_TEXT, mMessageStr.c_str(), AppendBinExt(configuredName).c_str(),
                     counter.mCounterIndex, reading, evaluation.mUnit.c_str());
    WriteVerboseLine(logFileMtx, THRESHOLD_TEXT, mMessageStr.c_str(), AppendBinExt(configuredName).c_str(),
                     counter.mCounterIndex, evaluation.mThreshold, evaluation.mUnit.c_str());
    MoveWindow(counter, evaluation);
    if (IsBreach(counter, evaluation.mValue, evaluation.mThreshold, GetBreachRules())) {
        Fire(helper, counter, evaluation);
    }
    ++counter.mReadingNumber;
}

std::string CounterMgr::GetUnit(HelperFunctionInterface& helper, bool isUnitAbsolute) const
{
    return isUnitAbsolute && IsSameText(helper, mMessageStr, LABEL_MEMORY) ? UNIT_MEGABYTES : UNIT_PERCENT;
}

void CounterMgr::MoveWindow(Counter& counter, const Evaluation& evaluation) const
{
    const bool isCounted = AddReading(counter, evaluation.mValue);
    if (!IsVerbose()) {
        return;
    }
    const auto average = static_cast<unsigned long>(counter.mRunningAverage);
    if (isCounted) {
        WriteLogLine(logFileMtx, SUM_TEXT, static_cast<unsigned long>(counter.mSum), evaluation.mUnit.c_str(),
                     counter.mReadingNumber, average, evaluation.mUnit.c_str(), mMessageStr.c_str(),
                     AppendBinExt(evaluation.mConfiguredName).c_str(), counter.mCounterIndex);
    }
    // Intentional: the name of the process tables and not the configured one, so a Java counter shows as
    // java.
    WriteLogLine(logFileMtx, AVERAGE_TEXT, average, mMessageStr.c_str(),
                 AppendBinExt(counter.mProcessName).c_str(), counter.mCounterIndex);
}

void CounterMgr::Fire(HelperFunctionInterface& helper, Counter& counter, const Evaluation& evaluation) const
{
    ReportBreach(helper, counter, evaluation);
    const int maxDumpCount = ConfigurationMgr::GetInstance()->mMaxDumpCount;
    if (counter.mDumpCount >= maxDumpCount) {
        WriteLogLine(logFileMtx, DUMP_COUNT_REACHED_TEXT, AppendBinExt(counter.mProcessName).c_str(),
                     maxDumpCount);
        return;
    }
    const std::string eventText =
        FormatBounded(EVENT_TEXT_SIZE, DUMP_EVENT_TEXT, mMessageStr.c_str(), TITLE, evaluation.mReading,
                      evaluation.mUnit.c_str(), evaluation.mThreshold, evaluation.mUnit.c_str());
    WriteLogLine(logFileMtx, DUMP_COUNT_TEXT, counter.mDumpCount + 1,
                 AppendBinExt(counter.mProcessName).c_str(), counter.mCounterIndex);
    StartCaptures(helper, counter, eventText);
    ++counter.mDumpCount; // also when every capture failed
}

void CounterMgr::ReportBreach(HelperFunctionInterface& helper, const Counter& counter,
                              const Evaluation& evaluation) const
{
    const bool withoutThreshold = ConfigurationMgr::GetInstance()->mCaptureWithoutThreshold != 0;
    const std::string breachText = FormatBounded(
        BREACH_TEXT_SIZE, withoutThreshold ? CAPTURE_WITHOUT_THRESHOLD_TEXT : BREACH_TEXT,
        GetCurrentTimeStamp().c_str(), mMessageStr.c_str(), AppendBinExt(evaluation.mConfiguredName).c_str(),
        counter.mCounterIndex, evaluation.mThreshold, evaluation.mUnit.c_str(), evaluation.mReading,
        evaluation.mUnit.c_str());
    WriteStampedLine(logFileMtx, breachText);
    if (!withoutThreshold) {
        helper.WriteLogToSystem(breachText, HelperFunctionInterface::THPM_SYS_LOG_WARNING);
    }
}

void CounterMgr::StartCaptures(HelperFunctionInterface& helper, const Counter& counter,
                               const std::string& eventText) const
{
    ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    const std::string& process = counter.mProcessName;
    const int pid = counter.mCounterIndex;
    const std::string java = counter.mIsJavaProcess ? counter.mJavaProcessName : "";
    // The number is stored anew before each capture, since captures read it when they name their files.
    const auto numberEvidence = [&] {
        SetSharedNumber(config->mCurrentEvidenceNumber, counter.mDumpCount + 1);
    };
    numberEvidence();
    if (config->mCaptureProcessDump != 0) {
        StartDump(helper, counter, eventText);
    }
    numberEvidence();
    helper.MemoryPerformanceCounters(process, pid, memorycounters, mMessageStr, java);
    if (config->mCaptureNetworkStat == 1) {
        numberEvidence();
        helper.CaptureNetworkPerformance(process, pid, networkCounters, mMessageStr, java);
    }
    if (config->mCaptureDiskIO != 0) {
        numberEvidence();
        helper.CaptureDiskPerformanceCounters(process, pid, diskCounters, mMessageStr, java);
    }
    numberEvidence();
    helper.CaptureProcessSpecificData(process, pid, mMessageStr, java);
    if (config->mIncreaseLogLevel != 0) {
        helper.IncreaseLogging(GetConfiguredName(counter));
    }
}

void CounterMgr::StartDump(HelperFunctionInterface& helper, const Counter& counter,
                           const std::string& eventText) const
{
    // The results are ignored: a dump that can't be started has logged that itself.
    if (counter.mIsJavaProcess) {
        (void)helper.CreateJavaProcessDump(counter.mJavaProcessName,
                                           ConfigurationMgr::GetInstance()->mJdkHome, counter.mCounterIndex,
                                           mMessageStr);
    } else {
        (void)helper.CreateProcessDump(counter.mProcessName, counter.mCounterIndex, eventText, mMessageStr);
    }
}
