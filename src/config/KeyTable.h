#pragma once

#include "config/ConfigurationResult.h"
#include "config/ConfigurationTexts.h"

#include <climits>
#include <string_view>

/**
 * The keys of the configuration store: what each may hold and what a bad value does. Data alone, for the load
 * of the daemon, for its companion and for the checks of the manual pages.
 */

inline constexpr char THHS_MEMORY_UNIT[] = "THHS_MEMORY_UNIT";
inline constexpr char THHS_MONITOR_CPU[] = "THHS_MONITOR_CPU";
inline constexpr char THHS_MONITOR_MEMORY[] = "THHS_MONITOR_MEMORY";
inline constexpr char THHS_MONITOR_DEADLOCK[] = "THHS_MONITOR_DEADLOCK";
inline constexpr char THHS_POLL_INTERVAL[] = "THHS_POLL_INTERVAL";
inline constexpr char THHS_DUMP_COUNT[] = "THHS_DUMP_COUNT";
inline constexpr char THHS_CAPTURE_NETWORK_STAT[] = "THHS_CAPTURE_NETWORK_STAT";
inline constexpr char THHS_DEADLOCK_INTERVAL[] = "THHS_DEADLOCK_INTERVAL";
inline constexpr char THHS_INCREASE_LOG_LEVEL[] = "THHS_INCREASE_LOG_LEVEL";
inline constexpr char THHS_CAPTURE_PROCESS_DUMP[] = "THHS_CAPTURE_PROCESS_DUMP";
inline constexpr char THHS_ALWAYS_DUMP[] = "THHS_ALWAYS_DUMP";
inline constexpr char THHS_CAPTURE_DISK_IO[] = "THHS_CAPTURE_DISK_IO";
inline constexpr char FORCE_READING_INTERVAL[] = "_FORCE_READING_INTERVAL_";
inline constexpr char THHS_NUMBER_OF_READINGS[] = "THHS_NUMBER_OF_READINGS";
inline constexpr char THHS_READING_INTERVAL[] = "THHS_READING_INTERVAL";
inline constexpr char THHS_PURGE_OLD_EVIDENCE[] = "THHS_PURGE_OLD_EVIDENCE";
inline constexpr char THHS_CAPTURE_WITHOUT_THRESHOLD[] = "THHS_CAPTURE_WITHOUT_THRESHOLD";
inline constexpr char THHS_JDK_HOME[] = "THHS_JDK_HOME";
inline constexpr char THHS_EVIDENCE_PATH[] = "THHS_EVIDENCE_PATH";
inline constexpr char THHS_VERBOSE[] = "THHS_VERBOSE";

/** Both values of THHS_MEMORY_UNIT, in any case. */
inline constexpr char MEMORY_UNIT_PERCENT[] = "PERCENT";
inline constexpr char MEMORY_UNIT_ABSOLUTE[] = "ABSOLUTE";

/** The highest threshold of THHS_MONITOR_CPU, in percent. No other list has one. */
inline constexpr int HIGHEST_PERCENT = 100;

enum class KeyKind
{
    Switch, ///< 0 or 1
    Integer,
    List,    ///< monitoring list, "name:threshold, name:threshold"
    Unit,    ///< word for the unit of memory thresholds
    Path,    ///< folder that must exist
    FreePath ///< folder that isn't checked
};

/** What the daemon uses when the store doesn't have the key. */
enum class WhenAbsent
{
    TakesDefault,
    KeepsValue, ///< of the load before; at the first load that is the default
    StopsService
};

/** What happens at a value that is out of range or not of its kind. */
enum class WhenBad
{
    StopsService,     ///< the load ends with mStopCode, or with RC_CONFIG_BAD_CHARS for forbidden characters
    RevertsToDefault, ///< if out of range; a text that is no number is reported and leaves the value as it
                      ///< was
    StaysAsItWas      ///< nothing is out of range; a text that is no number, or a bad one, is only reported
};

/** One key. */
struct KeyRow
{
    const char* mName;
    KeyKind mKind;
    int mLowest;          ///< of integers and switches, and allowed itself; else 0
    int mHighest;         ///< likewise
    const char* mDefault; ///< as it would stand in the store; empty for none
    const char* mUnit;    ///< of integers; empty for none
    const char* mMeaning; ///< one line
    WhenAbsent mWhenAbsent;
    WhenBad mWhenBad;
    int mStopCode;          ///< result of the load where a bad value stops the service, else 0
    const char* mMessage;   ///< about a value that is refused, a text of ConfigurationTexts.h; null for none
    const char* mAfterword; ///< line after that; null for none
};

/** All keys in the order in which a load reads them. */
inline constexpr KeyRow KEY_TABLE[] = {
    {THHS_MEMORY_UNIT, KeyKind::Unit, 0, 0, MEMORY_UNIT_ABSOLUTE, "",
     "unit of the memory thresholds: megabytes (ABSOLUTE) or percent of the memory (PERCENT)",
     WhenAbsent::TakesDefault, WhenBad::StopsService, RC_CONFIG_INVALID, BAD_UNIT_TEXT, nullptr},
    {THHS_MONITOR_CPU, KeyKind::List, 0, HIGHEST_PERCENT, "", "percent",
     "processes to watch for CPU use, each with its limit in percent of all processors",
     WhenAbsent::TakesDefault, WhenBad::StopsService, RC_CONFIG_INVALID, BAD_PERCENT_TEXT, nullptr},
    {THHS_MONITOR_MEMORY, KeyKind::List, 0, INT_MAX, "", "",
     "processes to watch for memory use, each with its limit in the unit of THHS_MEMORY_UNIT",
     WhenAbsent::TakesDefault, WhenBad::StopsService, RC_CONFIG_INVALID, BAD_ELEMENT_TEXT, nullptr},
    {THHS_MONITOR_DEADLOCK, KeyKind::List, 0, 0, "", "",
     "processes to watch for deadlocks, names alone; read and checked, and not watched yet",
     WhenAbsent::TakesDefault, WhenBad::StopsService, RC_CONFIG_INVALID, BAD_DEADLOCK_ELEMENT_TEXT, nullptr},
    {THHS_POLL_INTERVAL, KeyKind::Integer, 1, INT_MAX, "600", "seconds",
     "pause between two passes; a decision needs five passes, and then comes once in six",
     WhenAbsent::TakesDefault, WhenBad::StopsService, RC_CONFIG_INVALID, BAD_POLL_INTERVAL_TEXT, nullptr},
    {THHS_DUMP_COUNT, KeyKind::Integer, 1, 10, "3", "", "evidence sets taken for one process and resource",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_DUMP_COUNT_TEXT, nullptr},
    {THHS_CAPTURE_NETWORK_STAT, KeyKind::Switch, 0, 1, "1", "", "network statistics are part of the evidence",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_NETWORK_SWITCH_TEXT, nullptr},
    {THHS_DEADLOCK_INTERVAL, KeyKind::Integer, 1, INT_MAX, "60", "minutes",
     "pause between two looks for deadlocks; read and checked, and not used yet", WhenAbsent::KeepsValue,
     WhenBad::RevertsToDefault, 0, BAD_DEADLOCK_INTERVAL_TEXT, nullptr},
    {THHS_INCREASE_LOG_LEVEL, KeyKind::Switch, 0, 1, "0", "",
     "log levels of the product are raised for a process over its limit", WhenAbsent::KeepsValue,
     WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, nullptr},
    {THHS_CAPTURE_PROCESS_DUMP, KeyKind::Switch, 0, 1, "0", "",
     "a core image, or heap and threads of a Java process, is part of the evidence", WhenAbsent::KeepsValue,
     WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, nullptr},
    {THHS_ALWAYS_DUMP, KeyKind::Switch, 0, 1, "0", "",
     "a breach needs the fifth reading above the limit, and not the average of the five",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, nullptr},
    {THHS_CAPTURE_DISK_IO, KeyKind::Switch, 0, 1, "1", "", "disk statistics are part of the evidence",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, nullptr},
    {FORCE_READING_INTERVAL, KeyKind::Integer, INT_MIN, INT_MAX, "0", "",
     "readings are not fitted into the poll interval, for any number but 0", WhenAbsent::TakesDefault,
     WhenBad::StaysAsItWas, 0, nullptr, nullptr},
    {THHS_NUMBER_OF_READINGS, KeyKind::Integer, 1, INT_MAX, "50", "", "readings of a statistics capture",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_READING_COUNT_TEXT, nullptr},
    {THHS_READING_INTERVAL, KeyKind::Integer, 1, INT_MAX, "5", "seconds", "pause between two such readings",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_READING_INTERVAL_TEXT, nullptr},
    {THHS_PURGE_OLD_EVIDENCE, KeyKind::Switch, 0, 1, "0", "",
     "a clean-up of the evidence is tried when the service starts", WhenAbsent::KeepsValue,
     WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, PURGE_WARNING_TEXT},
    {THHS_CAPTURE_WITHOUT_THRESHOLD, KeyKind::Switch, 0, 1, "0", "",
     "evidence is taken at every pass, whatever the readings are, until THHS_DUMP_COUNT sets are there",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, nullptr},
    {THHS_JDK_HOME, KeyKind::FreePath, 0, 0, "", "", "folder of the JDK whose jcmd takes the Java dumps",
     WhenAbsent::TakesDefault, WhenBad::StaysAsItWas, 0, nullptr, nullptr},
    {THHS_EVIDENCE_PATH, KeyKind::Path, 0, 0, "", "", "folder below which the evidence is stored",
     WhenAbsent::StopsService, WhenBad::StopsService, RC_CONFIG_INVALID, MISSING_EVIDENCE_PATH_TEXT, nullptr},
    {THHS_VERBOSE, KeyKind::Switch, 0, 1, "0", "", "the diagnostic log traces every step",
     WhenAbsent::KeepsValue, WhenBad::RevertsToDefault, 0, BAD_SWITCH_TEXT, nullptr},
};

/** The row of a key by its exact name; null for a name that is no key. */
constexpr const KeyRow* FindKey(std::string_view name)
{
    for (const KeyRow& row : KEY_TABLE) {
        if (name == row.mName) {
            return &row;
        }
    }
    return nullptr;
}

/** The row of a name that is known to be a key. In a constant, anything else doesn't compile. */
constexpr const KeyRow& GetKey(std::string_view name)
{
    return *FindKey(name);
}

/** The default of an integer or a switch. */
constexpr int GetDefaultNumber(const KeyRow& row)
{
    constexpr int DECIMAL_BASE = 10;
    int number = 0;
    for (const char* digit = row.mDefault; *digit != '\0'; ++digit) {
        number = number * DECIMAL_BASE + (*digit - '0');
    }
    return number;
}
