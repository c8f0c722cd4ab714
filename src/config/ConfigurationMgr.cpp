#include "config/ConfigurationMgr.h"

#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/JavaProcessNames.h"
#include "config/KeyTable.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"

namespace
{
constexpr std::int64_t MEMORY_SIZE_BEFORE_PROBE = 1048576;
}

std::atomic<ConfigurationMgr*> ConfigurationMgr::mConfigMgr{nullptr};

ConfigurationMgr* ConfigurationMgr::GetInstance()
{
    static mutex mtx;
    ConfigurationMgr* instance = mConfigMgr.load(std::memory_order_acquire);
    if (instance != nullptr) {
        return instance;
    }
    const MutexHold hold(mtx);
    instance = mConfigMgr.load(std::memory_order_relaxed);
    if (instance == nullptr) {
        instance = Compose();
        mConfigMgr.store(instance, std::memory_order_release);
    }
    return instance;
}

// Nothing in here or in Compose may call GetInstance, whose lock is held. InitializeLogFile uses the helper.
ConfigurationMgr::ConfigurationMgr(HelperFunctionInterface* helper)
    : mPollInterval(GetDefaultNumber(GetKey(THHS_POLL_INTERVAL))),
      mCaptureNetworkStat(GetDefaultNumber(GetKey(THHS_CAPTURE_NETWORK_STAT))),
      mDeadlockInterval(GetDefaultNumber(GetKey(THHS_DEADLOCK_INTERVAL))),
      mIncreaseLogLevel(GetDefaultNumber(GetKey(THHS_INCREASE_LOG_LEVEL))),
      mCaptureProcessDump(GetDefaultNumber(GetKey(THHS_CAPTURE_PROCESS_DUMP))),
      mAlwaysDump(GetDefaultNumber(GetKey(THHS_ALWAYS_DUMP))), mMemoryUnit(GetKey(THHS_MEMORY_UNIT).mDefault),
      mForceReadingInterval(GetDefaultNumber(GetKey(FORCE_READING_INTERVAL))), mCPUCount(1),
      mTotalMemoryInKB(MEMORY_SIZE_BEFORE_PROBE), mMaxDumpCount(GetDefaultNumber(GetKey(THHS_DUMP_COUNT))),
      mCaptureDiskIO(GetDefaultNumber(GetKey(THHS_CAPTURE_DISK_IO))),
      mNumberOfReadings(GetDefaultNumber(GetKey(THHS_NUMBER_OF_READINGS))),
      mReadingInterval(GetDefaultNumber(GetKey(THHS_READING_INTERVAL))),
      mVerbose(GetDefaultNumber(GetKey(THHS_VERBOSE))), mDaemonPid(0), mCurrentEvidenceNumber(0),
      mCaptureWithoutThreshold(GetDefaultNumber(GetKey(THHS_CAPTURE_WITHOUT_THRESHOLD))),
      mPurgeOldEvidence(GetDefaultNumber(GetKey(THHS_PURGE_OLD_EVIDENCE))), mCPUCounterMgr(nullptr),
      mMemoryCounterMgr(nullptr), mDeadLockCounterMgr(nullptr), mHelper(helper)
{
    InitializeLogFile();
}

void ConfigurationMgr::InitJavaProcesses()
{
    mJavaProcessMap.emplace(ADMIN_CONSOLE_JAVA, ADMIN_CONSOLE_MARKER);
    mJavaProcessMap.emplace(WEB_MANAGEMENT_JAVA, WEB_MANAGEMENT_MARKER);
}

void ConfigurationMgr::InitializeLogFile()
{
    const std::string directory = GetTHPerfMonLogPath();
    mBasePath = GetTHBasePath();
    if (mHelper == nullptr) {
        mLogFilePath = "";
        return;
    }
    const MutexHold hold(logFileMtx);
    if (!mHelper->HF_CreateDir(directory, false)) {
        return;
    }
    FILE* file = nullptr;
    const std::string path = GetTHPerfMonLogFilePath();
    if (mHelper->HF_OpenFileInMode(&file, path, "a+")) {
        (void)fclose(file); // opened for the test alone
        mLogFilePath = path;
        return;
    }
    const std::string secondPath =
        AppendPaths(GetSystemTempPath(), AppendPaths(GetTHPerfMonLogDirName(), GetTHPerfMonLogFileName()));
    // Intentional: this makes a folder of the file's own name and not the folder above it, so the second path
    // is used only where a plain file of that name exists. Nothing reads mLogFilePath; lines go to the first
    // path alone.
    if (mHelper->HF_CreateDir(secondPath, false) && mHelper->HF_OpenFileInMode(&file, secondPath, "a+")) {
        mLogFilePath = secondPath;
        (void)fclose(file); // opened for the test alone
    }
}

void ConfigurationMgr::PopulateProcessNameAndProcessIDMultiMap()
{
    mHelper->PopulateProcessNameAndProcessIDMap(mProcessNameAndProcessIDMap);
}

void ConfigurationMgr::PopulateProcessIDAndProcessNameMap()
{
    mHelper->PopulateProcessIDAndProcessNameMap(mProcessIDAndProcessNameMap);
}

int ConfigurationMgr::GetThreasholdValue(std::map<std::string, int> thresholds, std::string processName)
{
    const auto entry = thresholds.find(processName);
    if (entry != thresholds.end()) {
        return entry->second;
    }
    WriteVerboseLine(logFileMtx, "Could not find threshold value for process %s\n", processName.c_str());
    return -1;
}

void ConfigurationMgr::InsertIntoMap(std::map<std::string, int> thresholds, std::string processName,
                                     int value)
{
    thresholds.emplace(processName, value);
}

void ConfigurationMgr::PrintProcessNameAndProcessIDMap()
{
    if (!IsVerbose()) {
        return;
    }
    WriteLogLine(logFileMtx, "\tKEY\tELEMENT\n");
    for (const auto& [name, pid] : mProcessNameAndProcessIDMap) {
        WriteLogLine(logFileMtx, "\t%s\t%d\n", name.c_str(), pid);
    }
}
