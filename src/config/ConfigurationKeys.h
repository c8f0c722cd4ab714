#pragma once

#include "config/ConfigurationMgr.h"

#include <climits>

/** The keys of the configuration store, and the checks of those whose bad values fall back to a default. */

constexpr char THHS_MEMORY_UNIT[] = "THHS_MEMORY_UNIT";
constexpr char THHS_MONITOR_CPU[] = "THHS_MONITOR_CPU";
constexpr char THHS_MONITOR_MEMORY[] = "THHS_MONITOR_MEMORY";
constexpr char THHS_MONITOR_DEADLOCK[] = "THHS_MONITOR_DEADLOCK";
constexpr char THHS_POLL_INTERVAL[] = "THHS_POLL_INTERVAL";
constexpr char THHS_DUMP_COUNT[] = "THHS_DUMP_COUNT";
constexpr char THHS_CAPTURE_NETWORK_STAT[] = "THHS_CAPTURE_NETWORK_STAT";
constexpr char THHS_DEADLOCK_INTERVAL[] = "THHS_DEADLOCK_INTERVAL";
constexpr char THHS_INCREASE_LOG_LEVEL[] = "THHS_INCREASE_LOG_LEVEL";
constexpr char THHS_CAPTURE_PROCESS_DUMP[] = "THHS_CAPTURE_PROCESS_DUMP";
constexpr char THHS_ALWAYS_DUMP[] = "THHS_ALWAYS_DUMP";
constexpr char THHS_CAPTURE_DISK_IO[] = "THHS_CAPTURE_DISK_IO";
constexpr char FORCE_READING_INTERVAL[] = "_FORCE_READING_INTERVAL_";
constexpr char THHS_NUMBER_OF_READINGS[] = "THHS_NUMBER_OF_READINGS";
constexpr char THHS_READING_INTERVAL[] = "THHS_READING_INTERVAL";
constexpr char THHS_PURGE_OLD_EVIDENCE[] = "THHS_PURGE_OLD_EVIDENCE";
constexpr char THHS_CAPTURE_WITHOUT_THRESHOLD[] = "THHS_CAPTURE_WITHOUT_THRESHOLD";
constexpr char THHS_JDK_HOME[] = "THHS_JDK_HOME";
constexpr char THHS_EVIDENCE_PATH[] = "THHS_EVIDENCE_PATH";
constexpr char THHS_VERBOSE[] = "THHS_VERBOSE";

constexpr char MEMORY_UNIT_PERCENT[] = "PERCENT";
constexpr char MEMORY_UNIT_ABSOLUTE[] = "ABSOLUTE";

/** Seconds between two passes when the key isn't defined. */
constexpr int DEFAULT_POLL_INTERVAL = 600;

/** An integer key whose value, when out of range, is replaced by its default; the load then goes on. */
struct RevertingKey
{
    const char* mKey;
    int ConfigurationMgr::*mField;
    int mLowest; ///< both ends of the range are allowed
    int mHighest;
    int mDefault;
    const char* mMessage;   ///< log line, for key, value and default; it need not use the last
    const char* mAfterword; ///< second log line; null for none
};

constexpr char NOT_A_SWITCH[] =
    "Invalid value for %s : %d. Value should be either 0 or 1. Proceeding with default value of %d.\n";

constexpr RevertingKey CAPTURE_KEYS[] = {
    {THHS_DUMP_COUNT, &ConfigurationMgr::mMaxDumpCount, 1, 10, 3,
     "Invalid value for %s : %d. Value should be greater between 1 and 10. "
     "Proceeding with default value of %d.\n",
     nullptr},
    {THHS_CAPTURE_NETWORK_STAT, &ConfigurationMgr::mCaptureNetworkStat, 0, 1, 1,
     "Invalid value for %s : %d. Value should be either 0 or 1. Proceeding with default value of %d\n",
     nullptr},
    {THHS_DEADLOCK_INTERVAL, &ConfigurationMgr::mDeadlockInterval, 1, INT_MAX, 60,
     "Invalid value for %s : %d. Value should be greater than 0. Proceeding with default value of %d "
     "minutes. \n",
     nullptr},
    {THHS_INCREASE_LOG_LEVEL, &ConfigurationMgr::mIncreaseLogLevel, 0, 1, 0, NOT_A_SWITCH, nullptr},
    {THHS_CAPTURE_PROCESS_DUMP, &ConfigurationMgr::mCaptureProcessDump, 0, 1, 0, NOT_A_SWITCH, nullptr},
    {THHS_ALWAYS_DUMP, &ConfigurationMgr::mAlwaysDump, 0, 1, 0, NOT_A_SWITCH, nullptr},
    {THHS_CAPTURE_DISK_IO, &ConfigurationMgr::mCaptureDiskIO, 0, 1, 1, NOT_A_SWITCH, nullptr},
};

constexpr RevertingKey READING_KEYS[] = {
    {THHS_NUMBER_OF_READINGS, &ConfigurationMgr::mNumberOfReadings, 1, INT_MAX, 50,
     "Invalid value for %s : %d. Value should be greater than 0. \n", nullptr},
    {THHS_READING_INTERVAL, &ConfigurationMgr::mReadingInterval, 1, INT_MAX, 5,
     "Invalid value for %s : %d. Value should be greater than 0.\n", nullptr},
};

/** Read once the readings are known to fit into the poll interval. */
constexpr RevertingKey SERVICE_KEYS[] = {
    {THHS_PURGE_OLD_EVIDENCE, &ConfigurationMgr::mPurgeOldEvidence, 0, 1, 0, NOT_A_SWITCH,
     "Make sure that required evidences are copied before setting it to 1."},
    {THHS_CAPTURE_WITHOUT_THRESHOLD, &ConfigurationMgr::mCaptureWithoutThreshold, 0, 1, 0, NOT_A_SWITCH,
     nullptr},
};

/** Read last, so that the keys before it are traced by the value of the load before. */
constexpr RevertingKey TRACE_KEYS[] = {
    {THHS_VERBOSE, &ConfigurationMgr::mVerbose, 0, 1, 0, NOT_A_SWITCH, nullptr},
};
