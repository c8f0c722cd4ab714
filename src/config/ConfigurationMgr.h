#pragma once

#include "config/LogLevel.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

class CounterMgr;
class HelperFunctionInterface;
struct SnapshotData;

/**
 * The one object that all subsystems share: every setting, the process tables, the counter managers and the
 * few values that pass between the threshold logic and the captures.
 *
 * It is built at the first GetInstance() and never destroyed. Its fields are read and written directly. Only
 * the thread of a load writes settings. Captures read numbers without a lock, and the one text that they
 * need, mEvidencePath, through CopySharedText.
 */
class ConfigurationMgr
{
public:
    /** The instance, built at the first call. Any thread. Once it is built, a call takes no lock. */
    static ConfigurationMgr* GetInstance();

    ConfigurationMgr(const ConfigurationMgr&) = delete;
    ConfigurationMgr& operator=(const ConfigurationMgr&) = delete;

    /**
     * Reads every setting from the store, checks it and prepares the evidence folder.
     * @return 0, or one of the RC_CONFIG codes. The reason is in the log, and also on the console where the
     * operator can mend it. Main thread before the worker exists, then the worker.
     */
    int ReadConfigurationFile();

    /** Makes the folder of the diagnostic log and stores the path of the day's file. The constructor calls
     * it. */
    void InitializeLogFile();

    /** Inserts the two known Java processes into mJavaProcessMap. */
    void InitJavaProcesses();

    /** Refills mProcessNameAndProcessIDMap. Worker thread. */
    void PopulateProcessNameAndProcessIDMultiMap();

    /** Refills mProcessIDAndProcessNameMap. Worker thread. */
    void PopulateProcessIDAndProcessNameMap();

    /** The threshold of exactly that name, or -1. */
    int GetThreasholdValue(std::map<std::string, int> thresholds, std::string processName);

    /** Intentional: inserts into its own copy of the map, so the caller sees no change. Nothing calls it. */
    void InsertIntoMap(std::map<std::string, int> thresholds, std::string processName, int value);

    /** Writes the name table to the log when verbose. Nothing calls it. */
    void PrintProcessNameAndProcessIDMap();

    /** Ends the threads of mThreadMap and frees their records. The entries stay in the map. */
    void CloseThreadHandles();

    /** Restores the log levels saved in mLogLevelMap, and waits for the tool. Any thread. */
    void ResetLogging();

    /** Runs the clean-up line on the evidence root, which removes no folder. Worker thread. */
    void PurgeOldEvidence();

    int mPollInterval;         ///< THHS_POLL_INTERVAL, seconds between two passes
    int mCaptureNetworkStat;   ///< THHS_CAPTURE_NETWORK_STAT
    int mDeadlockInterval;     ///< THHS_DEADLOCK_INTERVAL, minutes; no code reads it further
    int mIncreaseLogLevel;     ///< THHS_INCREASE_LOG_LEVEL
    int mCaptureProcessDump;   ///< THHS_CAPTURE_PROCESS_DUMP
    int mAlwaysDump;           ///< THHS_ALWAYS_DUMP
    std::string mMemoryUnit;   ///< THHS_MEMORY_UNIT, as typed
    int mForceReadingInterval; ///< _FORCE_READING_INTERVAL_
    std::multimap<std::string, int> mProcessNameAndProcessIDMap; ///< refilled each pass
    std::map<int, std::string> mProcessIDAndProcessNameMap;      ///< refilled each pass
    std::string mEvidencePath;     ///< THHS_EVIDENCE_PATH and "/thsentinel", once validated
    int mCPUCount;                 ///< processors, set at service start
    std::int64_t mTotalMemoryInKB; ///< memory size, set at service start; nothing reads it
    int mMaxDumpCount;             ///< THHS_DUMP_COUNT
    int mCaptureDiskIO;            ///< THHS_CAPTURE_DISK_IO
    int mNumberOfReadings;         ///< THHS_NUMBER_OF_READINGS
    int mReadingInterval;          ///< THHS_READING_INTERVAL, seconds
    std::set<std::string>
        mMonitoredProcessNames;    ///< every name ever listed, Java names as "java"; only grows
    int mVerbose;                  ///< THHS_VERBOSE, the gate of verbose lines
    std::string mReservedText;     ///< nothing sets it
    std::string mCustomScriptPath; ///< no key sets it
    std::vector<std::string> mCustomScriptArguments;    ///< no key sets it
    int mDaemonPid;                                     ///< process id of the service, 0 before it starts
    std::string mLogFilePath;                           ///< set by InitializeLogFile; nothing reads it
    std::string mBasePath;                              ///< install root; nothing reads it
    int mCurrentEvidenceNumber;                         ///< number of the evidence folder in use
    std::map<std::string, LogLevel> mLogLevelMap;       ///< saved levels by log target
    int mCaptureWithoutThreshold;                       ///< THHS_CAPTURE_WITHOUT_THRESHOLD
    std::string mJdkHome;                               ///< THHS_JDK_HOME
    std::map<std::string, std::string> mJavaProcessMap; ///< configured name to its mark on a command line
    std::map<unsigned long, SnapshotData*> mThreadMap;  ///< no capture enters anything
    int mPurgeOldEvidence;                              ///< THHS_PURGE_OLD_EVIDENCE
    CounterMgr* mCPUCounterMgr;                         ///< owned
    CounterMgr* mMemoryCounterMgr;                      ///< owned
    CounterMgr* mDeadLockCounterMgr;                    ///< owned
    /** Owned. Null when there is no helper for the platform: then no load succeeds and no service runs. */
    HelperFunctionInterface* mHelper;

    /** The instance, null until it is wholly built. */
    static std::atomic<ConfigurationMgr*> mConfigMgr;

private:
    explicit ConfigurationMgr(HelperFunctionInterface* helper);

    /** The instance with its helper and its managers. Defined where the program is composed. */
    static ConfigurationMgr* Compose();
};
