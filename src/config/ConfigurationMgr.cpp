#include "config/ConfigurationMgr.h"

#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/JavaProcessNames.h"
#include "counters/CPUCounterMgr.h"
#include "counters/DeadLockCounterMgr.h"
#include "counters/MemoryCounterMgr.h"
#include "evidence/SnapshotData.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

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
        instance = new ConfigurationMgr();
        mConfigMgr.store(instance, std::memory_order_release);
    }
    return instance;
}

// Nothing in here may call GetInstance, whose lock is held. InitializeLogFile uses the helper and comes
// behind it.
ConfigurationMgr::ConfigurationMgr()
    : mPollInterval(600), mCaptureNetworkStat(1), mDeadlockInterval(60), mIncreaseLogLevel(0),
      mCaptureProcessDump(0), mAlwaysDump(0), mMemoryUnit("ABSOLUTE"), mHelper(GetHelperFunctionInstance())
{
    InitializeLogFile();
    mCPUCount = 1;
    mTotalMemoryInKB = 1048576;
    mMaxDumpCount = 3;
    mCaptureDiskIO = 1;
    mForceReadingInterval = 0;
    mNumberOfReadings = 50;
    mReadingInterval = 5;
    mCPUCounterMgr = new CPUCounterMgr("CPU");
    mMemoryCounterMgr = new MemoryCounterMgr("Memory");
    mDeadLockCounterMgr = new DeadLockCounterMgr("Deadlock");
    mCurrentEvidenceNumber = 0;
    mPurgeOldEvidence = 0;
    mVerbose = 0;
    mDaemonPid = 0;
    mCaptureWithoutThreshold = 0;
    InitJavaProcesses();
}

void ConfigurationMgr::InitJavaProcesses()
{
    mJavaProcessMap.emplace(ADMIN_CONSOLE_JAVA, "tarn.thx.AdminConsole");
    mJavaProcessMap.emplace(WEB_MANAGEMENT_JAVA, "Dthwmc");
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
    // A folder of the file's own name is made here, and not the folder that it would lie in: that is meant.
    // So the second path serves only where a plain file of that name exists already.
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

void ConfigurationMgr::CloseThreadHandles()
{
    const std::map<unsigned long, SnapshotData*> threads = mThreadMap;
    for (const auto& [threadId, record] : threads) {
        mHelper->CloseRunningThread(threadId);
        delete record;
    }
}
