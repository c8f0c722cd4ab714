#pragma once

/**
 * What the load of the configuration reports. Data alone: a program that reads the log or checks a store may
 * include it. A text with a line feed is the whole log line; one without goes to log and console.
 */

// ---- Values

inline constexpr char NOT_DEFINED_TEXT[] = "%s not defined in Tarnhaven configuration.\n"; ///< key
inline constexpr char NOT_NUMERIC_TEXT[] =
    "Invalid numeric value for %s key in Tarnhaven configuration.";                                ///< key
inline constexpr char BAD_CHARACTERS_TEXT[] = "There are invalid characters in the input for %s."; ///< key
inline constexpr char FORBIDDEN_SEQUENCE_TEXT[] =
    "There are unauthorized characters detected in the input. Returning Error.\n";
inline constexpr char FORBIDDEN_CHARACTER_TEXT[] =
    "There are non alpha numeric characters in the input '%c'. Returning Error.\n";
inline constexpr char BAD_UNIT_TEXT[] =
    "Invalid value for %s : %s. Can only have values %s or %s."; ///< key, value, both units
inline constexpr char BAD_POLL_INTERVAL_TEXT[] =
    "Invalid value for %s : %d. Value should be greater than 0."; ///< key, value

// ---- Out of range and replaced: key, value, default, of which the last need not be used

inline constexpr char BAD_SWITCH_TEXT[] =
    "Invalid value for %s : %d. Value should be either 0 or 1. Proceeding with default value of %d.\n";
inline constexpr char BAD_NETWORK_SWITCH_TEXT[] =
    "Invalid value for %s : %d. Value should be either 0 or 1. Proceeding with default value of %d\n";
inline constexpr char BAD_DUMP_COUNT_TEXT[] =
    "Invalid value for %s : %d. Value should be greater between 1 and 10. "
    "Proceeding with default value of %d.\n";
inline constexpr char BAD_DEADLOCK_INTERVAL_TEXT[] =
    "Invalid value for %s : %d. Value should be greater than 0. Proceeding with default value of %d "
    "minutes. \n";
inline constexpr char BAD_READING_COUNT_TEXT[] =
    "Invalid value for %s : %d. Value should be greater than 0. \n";
inline constexpr char BAD_READING_INTERVAL_TEXT[] =
    "Invalid value for %s : %d. Value should be greater than 0.\n";
inline constexpr char PURGE_WARNING_TEXT[] =
    "Make sure that required evidences are copied before setting it to 1.\n";

// ---- Monitoring lists

inline constexpr char EMPTY_LIST_TEXT[] =
    "Unable to read the %s data from Tarnhaven configuration file.\n"; ///< key
inline constexpr char BAD_ELEMENT_TEXT[] =
    "Invalid configuration value %s for the %s in Tarnhaven configuration file."; ///< element, key
inline constexpr char BAD_NAME_TEXT[] = "There are invalid characters in the input. Service will be stopped.";
inline constexpr char BAD_PERCENT_TEXT[] = "Invalid Value for %s threshold. Process %s requested threshold "
                                           "of %d percent. Use a value less than 100.";
inline constexpr char BAD_DEADLOCK_ELEMENT_TEXT[] =
    "Invalid Value %s for the %s in Tarnhaven configuration file."; ///< name, key
inline constexpr char MONITORED_TEXT[] =
    "Process %s requested monitoring of %s threshold of %d %s.\n"; ///< name, label, threshold, unit
inline constexpr char MONITORED_DEADLOCK_TEXT[] =
    "Process %s requested monitoring for %s conditions.\n"; ///< name, label

// ---- Readings that don't fit into the poll interval

inline constexpr char READINGS_DONT_FIT_TEXT[] =
    "Invalid combination of %s : %d and %s : %d and %s : %d. The product of %s and %s should be less than "
    "the %s.\n";
inline constexpr char READINGS_SET_TEXT[] = "%s is set to : %d, optimized based on the value of %s\n";

// ---- Paths

inline constexpr char NO_JDK_HOME_TEXT[] = "JDK Home is not set. Java stack dump will not be captured.\n";
inline constexpr char JDK_HOME_TEXT[] = "JDK Home is set to %s . \n";
inline constexpr char NO_EVIDENCE_PATH_TEXT[] =
    "%s is not set. It is a mandatory value. Please specify the path on the file system, that has sufficient "
    "space to store logs."; ///< key
inline constexpr char MISSING_EVIDENCE_PATH_TEXT[] =
    "Invalid value for %s : %s. Specified folder does not exist. %s will not start.";
inline constexpr char EVIDENCE_FOLDER_FAILED_TEXT[] =
    "Invalid value for %s : %s. Failed to create the evidences folder. %s will not start.";
inline constexpr char EVIDENCE_PATH_TEXT[] =
    "%s is set to %s. Check the folder for collected logs.\n"; ///< key, evidence root

// ---- The load as a whole

inline constexpr char LOAD_STARTS_TEXT[] = "Reading the configuration from Tarnhaven configuration.\n";
inline constexpr char LOAD_SUCCEEDED_TEXT[] = "Configuration file successfully read.\n";
inline constexpr char POLL_INTERVAL_TEXT[] =
    "Processes will be monitored regularly after %d seconds. It can be modified by changing %s value in "
    "Tarnhaven configuration.\n"; ///< seconds, key
inline constexpr char REVERTED_TEXT[] =
    "Warning, invalid value found in Tarnhaven configuration for %s. Reverted value to default. Please refer "
    "the log file for details."; ///< program
