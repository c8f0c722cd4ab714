#pragma once

/** What the log and the system log say about a breach. Data alone: a reader of the log may include it. */

/** The word for a resource in messages and in file names. */
inline constexpr char LABEL_CPU[] = "CPU";
inline constexpr char LABEL_MEMORY[] = "Memory";
inline constexpr char LABEL_DEADLOCK[] = "Deadlock";

inline constexpr char UNIT_MEGABYTES[] = "MB";
inline constexpr char UNIT_PERCENT[] = "Percent";

/** Stamp, label of the resource, configured name, process id, threshold, unit, reading, unit. */
inline constexpr char BREACH_TEXT[] =
    "%s%s threshold exceeded by process : %s (%d), Threshold : %d %s , Usage : %.2lf %s";

/** The same values; written in place of BREACH_TEXT with THHS_CAPTURE_WITHOUT_THRESHOLD. */
inline constexpr char CAPTURE_WITHOUT_THRESHOLD_TEXT[] =
    "%s%s Capturing evidence for process %s (%d) without threshold , Threshold : %d %s , Usage : %.2lf %s";

/** Number of the evidence set, name in the process tables, process id. */
inline constexpr char DUMP_COUNT_TEXT[] = "Taking Process Dump (Count #%d) for process %s (%d).\n";

/** Name in the process tables, THHS_DUMP_COUNT. */
inline constexpr char DUMP_COUNT_REACHED_TEXT[] = "Dump count reached max allowed for process %s : %d\n";

/** Passed to the capture of a core image: label, title, reading, unit, threshold, unit. */
inline constexpr char DUMP_EVENT_TEXT[] =
    "Dump Event : %s threshold detected by %s Service (Current Usage : %.2lf %s,  Threshold Set : %d %s)";

// ---- Readings: verbose lines

/** Label, configured name, process id, reading, unit. */
inline constexpr char READING_TEXT[] = "%s usage for process %s(%d) : %.2lf %s\n";

/** Label, configured name, process id, threshold, unit. */
inline constexpr char THRESHOLD_TEXT[] = "%s threshold for process %s(%d) : %d %s\n";

/** Sum, unit, reading number, average, unit, label, configured name, process id. */
inline constexpr char SUM_TEXT[] =
    "Sum : %lu %s, Reading# : %d, Running Average : %lu %s for %s for process %s(%d)\n";

/** Average, label, name in the process tables, process id. */
inline constexpr char AVERAGE_TEXT[] = "Running Average : %lu for %s for process %s(%d)\n";

inline constexpr char UNIT_IS_ABSOLUTE_TEXT[] = "Memory unit is ABSOLUTE.\n";

// ---- Counters

/** Label, name in the process tables, process id, counter name. */
inline constexpr char COUNTER_ADDED_TEXT[] = "%s counter added for process %s with PID - %d : %s\n";

/** Process id, process id, counter name. Verbose. */
inline constexpr char COUNTER_REMOVED_TEXT[] =
    "ProcessId (%d) is not alive. Removing performance counter (Index : %d) %s\n";
