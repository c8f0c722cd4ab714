#include "page/read/LogReader.h"

#include "base/SafeFile.h"
#include "log/LogFolder.h"
#include "log/LogLines.h"

#include <algorithm>
#include <cerrno>

namespace ctl
{

namespace
{
/** A breach in capture mode comes on every pass; no reader looks at more. */
constexpr std::size_t MOST_EVENTS = 2000;
constexpr std::size_t MOST_READINGS = 20000;
/** The first capture stamps its name in the second of the breach or soon after. */
constexpr Wall BREACH_BEFORE_SET = 120;
/** How far apart the lines of different sources may stand in the file. */
constexpr Wall DISORDER = 60;

bool IsOfCounter(const TimelineEvent& event, const ReportData& data)
{
    return event.pid == data.mPid && event.resource == data.mResource;
}

/**
 * True for lines that name neither a process nor an id: they belong to the set that began last before them.
 */
bool NamesNobody(LogEventKind kind)
{
    constexpr LogEventKind NAMELESS[] = {
        LogEventKind::CaptureDone,     LogEventKind::JavaDumpDone, LogEventKind::JavaDumpFailed,
        LogEventKind::CoreToolMissing, LogEventKind::LevelSaved,   LogEventKind::LevelRaised,
    };
    return std::find(std::begin(NAMELESS), std::end(NAMELESS), kind) != std::end(NAMELESS);
}

/** True if an event belongs on the timeline. `lastSetPid` is the process of the set that began last. */
bool IsOfSet(const TimelineEvent& event, const ReportData& data, int lastSetPid)
{
    if (NamesNobody(event.kind)) {
        return event.mWall >= data.mWall - 1 && lastSetPid == data.mPid;
    }
    switch (event.kind) {
    case LogEventKind::Breach:
    case LogEventKind::Forced:
    case LogEventKind::CounterAdded:
        return IsOfCounter(event, data);
    case LogEventKind::Exhausted:
        return event.process == data.mProcess;
    case LogEventKind::Started:
    case LogEventKind::Stopped:
    case LogEventKind::Failure: // the reason of a stop among them, whenever it came
        return true;
    case LogEventKind::LevelRestored:
        return event.mWall >= data.mWall - 1;
    default:
        return event.pid == data.mPid;
    }
}

/** What the lines before say of a line that names less. */
struct LinesBefore
{
    int mSetPid = 0;             ///< the process of the set that began last
    int mBreachPid = 0;          ///< of the breach that came last
    std::string mBreachResource; ///< the same
};

bool IsBreach(const TimelineEvent& event)
{
    return event.kind == LogEventKind::Breach || event.kind == LogEventKind::Forced;
}

void Add(TimelineEvent&& event, ReportData& data, LinesBefore& before)
{
    if (IsBreach(event)) {
        before.mBreachPid = event.pid;
        before.mBreachResource = event.resource;
    } else if (event.kind == LogEventKind::Capture) {
        before.mSetPid = event.pid;
        event.resource = event.pid == before.mBreachPid ? before.mBreachResource : "";
    }
    if (event.kind == LogEventKind::Usage) {
        if (IsOfCounter(event, data) && data.mReadings.size() < MOST_READINGS) {
            data.mReadings.push_back(std::move(event));
        }
    } else if (event.kind == LogEventKind::Window) {
        return; // follow from the reading and the breach
    } else if (IsOfSet(event, data, before.mSetPid) && data.mEvents.size() < MOST_EVENTS) {
        data.mEvents.push_back(std::move(event));
    }
}

/** The breach nearest to the beginning of the set, no later than a second after it. */
void FindBreach(ReportData& data)
{
    for (const TimelineEvent& event : data.mEvents) {
        if (IsBreach(event) && event.mWall >= data.mWall - BREACH_BEFORE_SET &&
            event.mWall <= data.mWall + 1) {
            data.mBreach = event;
        }
    }
}

void ReadLog(int file, std::uint64_t bytes, ReportData& data)
{
    const Wall from = data.mWall - LOG_BEFORE;
    const Wall to = data.mWall + LOG_AFTER;
    StampReader stamps;
    LinesBefore before;
    const auto take = [&](const LogLineRead& line) {
        const bool isWithin = line.wall >= from && line.wall <= to;
        if (auto event = isWithin ? ParseLogText(line.text) : std::nullopt) {
            Add({std::move(*event), line.wall}, data, before);
        }
        return line.wall <= to + DISORDER;
    };
    const LogEnd end = ReadLogLines(file, FindLogOffset(file, bytes, from - DISORDER), stamps, take);
    if (end.error != 0) {
        data.mNotes.emplace_back("The log could not be read to its end.");
    }
}

/** True for the logs of the days around a set. */
bool IsNear(const DailyLog& log, Wall wall)
{
    return log.day >= GetDay(wall - LOG_BEFORE) && log.day <= GetDay(wall + LOG_AFTER);
}
} // namespace

void ReadLogs(const std::string& folder, ReportData& data)
{
    const LogFolder logs = ListLogs(folder);
    const OpenedFile directory = OpenLogFolder(logs.path);
    if (!directory.IsOpen()) {
        const std::string failure =
            "The folder of the logs, " + logs.path + ", can't be read: " + directory.failure;
        data.mLogFailure = directory.error == ENOENT ? "" : failure;
        data.mNotes.push_back(failure + ".");
        return;
    }
    for (const DailyLog& log : logs.files) {
        if (!IsNear(log, data.mWall)) {
            continue;
        }
        const bool isOfTheDay = log.day == GetDay(data.mWall);
        const OpenedFile file = OpenRegularFile(directory.file.Get(), log.name);
        if (file.IsOpen()) {
            data.mHasLog = data.mHasLog || isOfTheDay;
            ReadLog(file.file.Get(), static_cast<std::uint64_t>(file.status.st_size), data);
        } else if (file.error != ENOENT) { // gone meanwhile
            const std::string failure =
                "The log " + logs.path + "/" + log.name + " can't be read: " + file.failure;
            data.mLogFailure = isOfTheDay ? failure : data.mLogFailure;
            data.mNotes.push_back(failure +
                                  (isOfTheDay ? "; reading, limit and timeline are not known." : "."));
        }
    }
    // Each source of the daemon writes its lines by itself, so neighbours may stand in either order.
    std::stable_sort(
        data.mEvents.begin(), data.mEvents.end(),
        [](const TimelineEvent& left, const TimelineEvent& right) { return left.mWall < right.mWall; });
    FindBreach(data);
    if (!data.mHasLog && data.mLogFailure.empty()) {
        data.mNotes.push_back("There is no log of that day in " + logs.path +
                              ": reading, limit and timeline are not known.");
    }
}

} // namespace ctl
