#pragma once

#include <map>
#include <set>
#include <string>

class ConfigurationMgr;
class HelperFunctionInterface;

/**
 * Reads one of the three monitoring lists, "name:threshold, name:threshold", and records each name for the
 * process tables (mMonitoredProcessNames).
 *
 * @param key         THHS_MONITOR_CPU (percent, at most 100), THHS_MONITOR_MEMORY (in the unit of
 * THHS_MEMORY_UNIT, without upper bound) or THHS_MONITOR_DEADLOCK (names alone, stored with threshold 0)
 * @param messageStr  label of the manager in messages
 * @param thresholds  receives configured name to threshold; emptied first, and after a failure with the
 * elements before the bad one
 * @return 0 or an RC_CONFIG code, RC_CONFIG_NO_HELPER without a helper. The first bad element ends the parse.
 * Thread of the load.
 */
int ReadMapValue(const char* key, std::string messageStr, std::map<std::string, int>& thresholds);

/** A list and what it is parsed by, besides its text. */
struct MonitoringList
{
    const char* mKey;                                         ///< of the three lists
    std::string mLabel;                                       ///< of the manager, in messages
    std::string mMemoryUnit;                                  ///< THHS_MEMORY_UNIT
    const std::map<std::string, std::string>& mJavaProcesses; ///< configured names of the Java processes
    HelperFunctionInterface& mHelper;                         ///< compares units, names Java processes
};

/**
 * Parses the text of a list; ReadMapValue without store and settings.
 *
 * @param thresholds  receives configured name to threshold
 * @param names       receives the names for the process tables; it may hold others
 * @return 0 or an RC_CONFIG code. Thread of the load.
 */
int ParseMonitoringList(const MonitoringList& list, const std::string& text,
                        std::map<std::string, int>& thresholds, std::set<std::string>& names);

/**
 * Reads the three lists into the managers, which hold them; defined beside the managers.
 * @return 0, or the first RC_CONFIG code other than RC_CONFIG_NOT_DEFINED. Thread of the load.
 */
int ReadMonitoringLists(const ConfigurationMgr& config);
