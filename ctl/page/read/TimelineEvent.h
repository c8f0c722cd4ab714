#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace ctl
{

/** What a line of the diagnostic log reports. Those marked verbose are there only with THHS_VERBOSE at 1. */
enum class TimelineKind
{
    Reading,             ///< verbose: a reading of a counter
    Limit,               ///< verbose: the limit that the reading is held against
    Average,             ///< verbose: the window after a reading
    Breach,              ///< a limit exceeded, with the reading
    CaptureWithoutLimit, ///< evidence is taken whatever the reading
    SetTaken,            ///< an evidence set begins; the name is "java" for every Java process
    SetsUsedUp,          ///< no more sets for this counter; the name is "java" for every Java process
    CoreDone,
    CoreFailed,
    CoreToolMissing,
    CaptureStarted, ///< verbose
    CaptureDone,    ///< verbose
    JavaDumpDone,   ///< verbose
    JavaDumpFailed, ///< verbose: mDetail is the line that failed
    LevelRead,      ///< verbose: mName is the log target, mNumber its level
    LevelRaised,    ///< verbose: mName is the log target
    LevelReset,     ///< verbose: mName is the log target
    ServiceStarted,
    ServiceStopped,
    Error, ///< any line that begins with "Error:"; mDetail is the text
};

/** A line of the log as far as it is understood. What a kind doesn't have is 0 or empty. */
struct TimelineEvent
{
    TimelineKind mKind = TimelineKind::Error;
    std::int64_t mWall = 0; ///< local time as the line shows it, in seconds as if it were UTC
    int mMilliseconds = 0;  ///< may belong to the neighbouring second
    std::string mLabel;     ///< "CPU" or "Memory"
    std::string mName;      ///< process or log target
    int mPid = 0;
    double mReading = 0;
    double mLimit = 0;
    std::string mUnit;        ///< "Percent" or "MB"
    std::int64_t mNumber = 0; ///< of the set, of the reading in its window, or a level
    double mAverage = 0;
    std::string mDetail; ///< free text, for the kinds that have one
};

/** The time at the head of a line, and where the text after it begins; nothing for a line without one. */
struct TimelineStamp
{
    std::int64_t mWall = 0;
    int mMilliseconds = 0;
    std::string_view mText;
};

std::optional<TimelineStamp> ParseTimelineStamp(std::string_view line);

/** What a line of the log reports; nothing for a line of another sort, and for a line that is not whole. */
std::optional<TimelineEvent> ParseTimelineLine(std::string_view line);

/** Local time of an instant in seconds as if it were UTC, by the time zone of this process. */
std::int64_t ToWall(std::time_t instant);

/** The instant of a local time in seconds as if it were UTC. An hour that comes twice is taken once. */
std::time_t FromWall(std::int64_t wall);

} // namespace ctl
