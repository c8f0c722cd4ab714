#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace ctl
{

enum class LogEventKind
{
    Started,      ///< the service began
    Stopped,      ///< the service ended; a stop after bad settings says so three times
    Pass,         ///< a pass began to read its counters
    Load,         ///< the store is being read
    LoadDone,     ///< the store was read, and is valid
    CounterAdded, ///< process, pid, resource
    Breach,       ///< process, pid, resource, limit, unit, reading
    Forced,       ///< the same, for evidence that is taken without a threshold
    Capture,      ///< process (the name in the tables), pid, number of the set
    Exhausted,    ///< process, number: no further set is taken
    CoreWritten,  ///< pid
    Failure,      ///< anything that went wrong, in `text`
    Reading,      ///< verbose: process, pid, resource, position in the window
    Usage,        ///< verbose: process, pid, resource, reading, unit
    LevelSaved,   ///< verbose: process is the log target, number the debug level before
};

/** What one line of the daily log says. */
struct LogEvent
{
    LogEventKind kind = LogEventKind::Pass;
    std::string process;
    int pid = 0;
    std::string resource; ///< "cpu" or "memory"; empty where the line doesn't say
    int limit = 0;
    std::string unit; ///< "Percent" or "MB"
    double reading = 0;
    int number = 0;
};

/** Reads the text of a line after its stamp; nothing for lines that say nothing about these events. */
std::optional<LogEvent> ParseLogText(std::string_view text);

/** A name for the kind, as the verb events gives it. */
const char* GetName(LogEventKind kind);

} // namespace ctl
