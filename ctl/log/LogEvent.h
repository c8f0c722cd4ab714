#pragma once

#include <string>

namespace ctl
{

/** What lines of the daily log report. Those marked verbose are there only with THHS_VERBOSE at 1. */
enum class LogEventKind
{
    Started,         ///< the service began
    Stopped,         ///< the service ended; a stop after bad settings says so three times
    Pass,            ///< a pass began to read its counters
    Load,            ///< the store is being read
    LoadDone,        ///< the store was read, and is valid
    Interval,        ///< number: seconds between two passes from this load on
    CounterAdded,    ///< process (the name in the tables), pid, resource
    Breach,          ///< process, pid, resource, limit, unit, reading
    Forced,          ///< the same, for evidence that is taken without a threshold
    Capture,         ///< a set begins: process (the name in the tables), pid, number of the set
    Exhausted,       ///< process (the name in the tables), number: no further set is taken
    CoreWritten,     ///< pid
    CoreFailed,      ///< pid
    CoreToolMissing, ///< detail is the path of the tool
    Failure,         ///< anything else that went wrong; detail is the text after "Error:"
    JavaDumpFailed,  ///< verbose: detail is the shell line
    JavaDumpDone,    ///< verbose
    CaptureStarted,  ///< verbose: detail is what is captured; process and pid where the line names them
    CaptureDone,     ///< verbose: detail is what was captured; no line reports it of disk statistics
    Usage,           ///< verbose: process, pid, resource, reading, unit
    Window,          ///< verbose: process, pid, resource, number (position in the window), average, unit
    LevelSaved,      ///< verbose: process is the log target, number the debug level before
    LevelRaised,     ///< verbose: process is the log target
    LevelRestored,   ///< verbose: process is the log target
};

/** What one line of the daily log reports. What a kind doesn't have is 0 or empty. */
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
    long long average = 0;
    std::string detail;
};

} // namespace ctl
