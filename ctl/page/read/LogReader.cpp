#include "page/read/LogReader.h"

#include "base/SafeFile.h"
#include "page/read/SectionLines.h"
#include "page/read/WallClock.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include <unistd.h>

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
    return event.mPid == data.mPid && (event.mLabel == "CPU" ? "cpu" : "memory") == data.mResource;
}

/** True for lines that name neither a process nor an id: they belong to the set that began last before them.
 */
bool NamesNobody(TimelineKind kind)
{
    constexpr TimelineKind NAMELESS[] = {
        TimelineKind::CaptureDone,     TimelineKind::JavaDumpDone, TimelineKind::JavaDumpFailed,
        TimelineKind::CoreToolMissing, TimelineKind::LevelRead,    TimelineKind::LevelRaised,
    };
    return std::find(std::begin(NAMELESS), std::end(NAMELESS), kind) != std::end(NAMELESS);
}

/** True if an event belongs on the timeline. `lastSetPid` is the process of the set that began last. */
bool IsOfSet(const TimelineEvent& event, const ReportData& data, int lastSetPid)
{
    if (NamesNobody(event.mKind)) {
        return event.mWall >= data.mWall - 1 && lastSetPid == data.mPid;
    }
    switch (event.mKind) {
    case TimelineKind::Breach:
    case TimelineKind::CaptureWithoutLimit:
        return IsOfCounter(event, data);
    case TimelineKind::SetsUsedUp:
        return event.mName == data.mProcess;
    case TimelineKind::ServiceStarted:
    case TimelineKind::ServiceStopped:
        return true;
    case TimelineKind::LevelReset:
    case TimelineKind::Error:
        return event.mWall >= data.mWall - 1;
    default:
        return event.mPid == data.mPid;
    }
}

void Add(TimelineEvent&& event, ReportData& data, int& lastSetPid)
{
    lastSetPid = event.mKind == TimelineKind::SetTaken ? event.mPid : lastSetPid;
    if (event.mKind == TimelineKind::Reading) {
        if (IsOfCounter(event, data) && data.mReadings.size() < MOST_READINGS) {
            data.mReadings.push_back(std::move(event));
        }
    } else if (event.mKind == TimelineKind::Limit || event.mKind == TimelineKind::Average) {
        return; // follow from the reading and the breach
    } else if (IsOfSet(event, data, lastSetPid) && data.mEvents.size() < MOST_EVENTS) {
        data.mEvents.push_back(std::move(event));
    }
}

/** The breach nearest to the beginning of the set, no later than a second after it. */
void FindBreach(ReportData& data)
{
    for (const TimelineEvent& event : data.mEvents) {
        const bool isBreach =
            event.mKind == TimelineKind::Breach || event.mKind == TimelineKind::CaptureWithoutLimit;
        if (isBreach && event.mWall >= data.mWall - BREACH_BEFORE_SET && event.mWall <= data.mWall + 1) {
            data.mBreach = event;
        }
    }
}

void ReadLog(int file, std::uint64_t bytes, ReportData& data)
{
    const Wall from = data.mWall - LOG_BEFORE;
    const Wall to = data.mWall + LOG_AFTER;
    const std::uint64_t offset = FindLogOffset(file, bytes, from - DISORDER);
    bool isPast = false;
    int lastSetPid = 0;
    const auto take = [&](std::string_view line) {
        const auto stamp = ParseTimelineStamp(line);
        isPast = isPast || (stamp && stamp->mWall > to + DISORDER);
        if (!stamp || stamp->mWall < from || stamp->mWall > to) {
            return;
        }
        if (auto event = ParseTimelineLine(line)) {
            Add(std::move(*event), data, lastSetPid);
        }
    };
    const bool isWhole = ForEachLine(file, offset, bytes - offset, take, &isPast);
    if (!isWhole) {
        data.mNotes.emplace_back("The log could not be read to its end.");
    }
}

/** Time of the first whole line with a stamp after an offset; nothing if the next block has none. */
std::optional<Wall> StampAfter(int file, std::uint64_t offset)
{
    std::array<char, 65536> block = {};
    const ssize_t count = pread(file, block.data(), block.size(), static_cast<off_t>(offset));
    std::string_view text(block.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        text.remove_prefix(end + 1);
        if (const auto stamp = ParseTimelineStamp(text.substr(0, text.find('\n')))) {
            return stamp->mWall;
        }
    }
    return std::nullopt;
}
} // namespace

std::uint64_t FindLogOffset(int file, std::uint64_t bytes, Wall wall)
{
    constexpr std::uint64_t NEAR = 65536;
    std::uint64_t low = 0;
    std::uint64_t high = bytes;
    while (high - low > NEAR) {
        const std::uint64_t middle = low + (high - low) / 2;
        const auto stamp = StampAfter(file, middle);
        if (stamp && *stamp < wall) {
            low = middle;
        } else {
            high = middle; // also after a long line without a stamp: looking earlier costs time, never lines
        }
    }
    return low;
}

std::string GetLogName(Wall wall)
{
    const std::time_t seconds = wall;
    std::tm day = {};
    std::array<char, 64> name = {};
    if (gmtime_r(&seconds, &day) != nullptr) {
        (void)snprintf(name.data(), name.size(), "root.%02d%02d%02d_00001.log", day.tm_mon + 1, day.tm_mday,
                       day.tm_year % 100);
    }
    return name.data();
}

void ReadLogs(const std::string& folder, ReportData& data)
{
    const OpenedFile directory = OpenFolder(AT_FDCWD, folder);
    if (!directory.IsOpen()) {
        data.mNotes.push_back("The folder of the logs, " + folder + ", can't be read: " + directory.failure +
                              ".");
        return;
    }
    const Wall firstDay = (data.mWall - LOG_BEFORE) / SECONDS_OF_DAY;
    const Wall lastDay = (data.mWall + LOG_AFTER) / SECONDS_OF_DAY;
    for (Wall day = firstDay; day <= lastDay; ++day) {
        const OpenedFile log = OpenRegularFile(directory.file.Get(), GetLogName(day * SECONDS_OF_DAY));
        if (log.IsOpen()) {
            data.mHasLog = data.mHasLog || day == data.mWall / SECONDS_OF_DAY;
            ReadLog(log.file.Get(), static_cast<std::uint64_t>(log.status.st_size), data);
        }
    }
    // Each source of the daemon writes its lines by itself, so neighbours may stand in either order.
    std::stable_sort(
        data.mEvents.begin(), data.mEvents.end(),
        [](const TimelineEvent& left, const TimelineEvent& right) { return left.mWall < right.mWall; });
    FindBreach(data);
    if (!data.mHasLog) {
        data.mNotes.push_back("There is no log of that day in " + folder +
                              ": reading, limit and timeline are not known.");
    }
}

} // namespace ctl
