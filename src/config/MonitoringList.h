#pragma once

#include <map>
#include <string>

class ConfigurationMgr;

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

/**
 * Reads the three lists into the managers, which hold them; defined beside the managers.
 * @return 0, or the first RC_CONFIG code other than RC_CONFIG_NOT_DEFINED. Thread of the load.
 */
int ReadMonitoringLists(const ConfigurationMgr& config);
