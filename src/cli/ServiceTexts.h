#pragma once

/** What the log and the system log say about the service. Data alone: a reader of the log may include it. */

inline constexpr char SERVICE_STARTED_TEXT[] = "%s Service started\n";           ///< title
inline constexpr char SERVICE_STOPPED_TEXT[] = "%s Service stopped.\n";          ///< title
inline constexpr char PASS_TEXT[] = "%s Service is monitoring the resources.\n"; ///< title, once a pass
inline constexpr char CPU_COUNT_TEXT[] = "Number of CPUs = %d\n";
inline constexpr char MEMORY_SIZE_TEXT[] = "Total size of Memory = %ld\n"; ///< kilobytes
inline constexpr char CLEANING_UP_TEXT[] = "Cleaning up the resources used by the service.\n";
inline constexpr char RESTORING_LEVELS_TEXT[] = "Resetting the original log levels for the processes.\n";
inline constexpr char CONFIGURATION_ERROR_TEXT[] = "Error:%s\n"; ///< one of the three below, or nothing

// ---- Why the service stops

/** Short name, title. */
inline constexpr char INVALID_CONFIGURATION_TEXT[] =
    "Tarnhaven configuration has invalid values. Check %s log for details. Stopping %s Service/Daemon.";

/** Short name, title. */
inline constexpr char MISSING_CONFIGURATION_TEXT[] =
    "Tarnhaven configuration does not exist. Check %s log for details. Stopping %s Service/Daemon.";

/** Title. */
inline constexpr char BAD_CONFIGURATION_CHARACTERS_TEXT[] =
    "Non alpha numeric characters are detected in the input. Please correct the input in Tarnhaven "
    "configuration. Stopping %s Service/Daemon.";

// ---- System log

inline constexpr char DAEMON_ENTRY_TEXT[] = "===== Daemon Entry Point =====\n";
inline constexpr char DAEMON_EXIT_TEXT[] = "===== Daemon Exit Point =====\n";
inline constexpr char SYSTEM_LOG_STARTED_TEXT[] = "%s Service successfully started"; ///< title
inline constexpr char SYSTEM_LOG_STOPPED_TEXT[] = "%s Service stopped.";             ///< title
