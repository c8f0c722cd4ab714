#include "log/EventFeed.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "base/SafeFile.h"
#include "log/LogFolder.h"

namespace ctl
{

namespace
{

constexpr std::size_t LOST_LIMIT = 400; // places of logs that are gone: a year of days, and some more
constexpr std::time_t QUIET = 60;

bool IsReadToItsEnd(const LogPlace& place, const DailyLog& log)
{
    return place.inode == log.inode && place.offset == log.size;
}

/**
 * True if what was read up to the place stands in the file still, or again: it may be a copy. Nothing if that
 * can't be read.
 */
std::optional<bool> IsAt(const LogPlace& place, const OpenedFile& file)
{
    if (std::cmp_less(file.status.st_size, place.offset)) {
        return false;
    }
    if (!place.mark) {
        return std::cmp_equal(file.status.st_ino, place.inode);
    }
    const std::optional<LogMark> mark = ComputeMark(file.file.Get(), place.offset);
    return mark ? std::optional(mark == place.mark) : std::nullopt;
}

/** True for a copy that is likely to be on its way: it begins as the log did, and has just grown. */
bool IsComing(const LogPlace& place, const OpenedFile& file)
{
    const auto size = static_cast<std::uint64_t>(file.status.st_size);
    const std::time_t age = std::time(nullptr) - file.status.st_mtime;
    const bool isYoung = age < QUIET && age > -QUIET; // the clock of a file server may differ
    return place.mark && size < place.offset && std::cmp_not_equal(file.status.st_ino, place.inode) &&
           isYoung && MayBecome(*place.mark, place.offset, file.file.Get(), size);
}

} // namespace

EventFeed::EventFeed(std::string folder, EventCursor cursor, Taker take)
    : mFolder(folder.empty() ? GetUsualLogPath() : std::move(folder)), mCursor(std::move(cursor)),
      mTake(std::move(take))
{}

std::string EventFeed::Read(const std::function<bool()>& goOn)
{
    const LogFolder logs = ListLogs(mFolder);
    const OpenedFile folder = OpenLogFolder(logs.path);
    if (!logs.failure.empty() || !folder.IsOpen()) {
        return logs.path + ": " + (logs.failure.empty() ? folder.failure : logs.failure);
    }
    PrepareCursor(logs);
    mFailure.clear();
    for (const DailyLog& log : logs.files) {
        const auto place = mCursor.places.find(log.name);
        const bool isDone =
            place != mCursor.places.end() && place->second.mark && IsReadToItsEnd(place->second, log);
        if (!isDone && !ReadLog(folder.file.Get(), log, goOn)) {
            break;
        }
    }
    return mFailure;
}

/** Brings the places in line with the logs that are there. */
void EventFeed::PrepareCursor(const LogFolder& logs)
{
    const auto isKnown = [this](const DailyLog& log) { return mCursor.places.contains(log.name); };
    const auto first = std::find_if(logs.files.begin(), logs.files.end(), isKnown);
    if (first == logs.files.end() && !logs.files.empty() && !mCursor.places.empty()) {
        mCursor.isStopped = false; // the service may have begun again in a log that has been removed
    } else if (!mCursor.isWhole) { // whoever wrote it had read the logs before its first place
        std::for_each(logs.files.begin(), first, [this](const DailyLog& log) {
            mCursor.places[log.name] = {log.inode, log.size, std::nullopt};
        });
    }
    mCursor.isWhole = true;
    DropPlaces(logs);
}

/**
 * Forgets logs that are gone, but for the newest: their folder may be about to move, or be not mounted for a
 * while, and they then come back.
 */
void EventFeed::DropPlaces(const LogFolder& logs)
{
    std::vector<std::pair<int, std::string>> lost;
    std::set<std::string> present;
    for (const DailyLog& log : logs.files) {
        present.insert(log.name);
    }
    for (const auto& [name, place] : mCursor.places) {
        if (!present.contains(name)) {
            lost.emplace_back(place.mark ? GetDayOfLog(name) : 0, name);
        }
    }
    std::sort(lost.rbegin(), lost.rend());
    for (std::size_t place = 0; place < lost.size(); ++place) {
        if (place >= LOST_LIMIT || lost[place].first == 0) {
            mCursor.places.erase(lost[place].second);
        }
    }
}

/** Reads one log on from its place; false if the reading is to end. */
bool EventFeed::ReadLog(int folder, const DailyLog& log, const std::function<bool()>& goOn)
{
    LogPlace& place = mCursor.places[log.name];
    const OpenedFile file = OpenRegularFile(folder, log.name);
    if (!file.IsOpen()) {
        // One that was just removed is no failure, and one that was read needs no more than its mark.
        if (file.error != ENOENT && !IsReadToItsEnd(place, log)) {
            mFailure = mFolder + "/" + log.name + ": " + file.failure;
        }
        return true; // asked for again at the next look
    }
    if (IsComing(place, file)) {
        return true;
    }
    const std::optional<bool> isAt = IsAt(place, file);
    if (!isAt) {
        mFailure = errno != 0 ? mFolder + "/" + log.name + ": " + std::strerror(errno) : mFailure;
        return true;
    }
    if (!*isAt) {
        place.offset = 0; // another file, or one that was cut
    }
    place.inode = file.status.st_ino;
    return ReadOn(file, log, goOn);
}

bool EventFeed::ReadOn(const OpenedFile& file, const DailyLog& log, const std::function<bool()>& goOn)
{
    LogPlace& place = mCursor.places[log.name];
    bool goesOn = true;
    const auto take = [&](const LogLineRead& line) {
        place.offset = line.end;
        Offer(file.file.Get(), log, line);
        goesOn = goOn();
        return goesOn;
    };
    const LogEnd end = ReadLogLines(file.file.Get(), place.offset, mStamps, take, MayReportMore);
    place.offset = end.offset;
    place.mark = ComputeMark(file.file.Get(), end.offset);
    if (end.error != 0) {
        mFailure = mFolder + "/" + log.name + ": " + std::strerror(end.error);
    }
    return goesOn;
}

void EventFeed::Offer(int descriptor, const DailyLog& log, const LogLineRead& line)
{
    const std::optional<LogEvent> event = ParseLogText(line.text);
    if (event && IsWanted(*event)) {
        mCursor.places[log.name].mark = ComputeMark(descriptor, line.end); // the taker may keep the cursor
        mTake({line.time, line.milliseconds, *event, std::string(line.text),
               log.name + ":" + std::to_string(line.begin)});
    }
}

bool EventFeed::IsWanted(const LogEvent& event)
{
    switch (event.kind) {
    case LogEventKind::Started:
        mCursor.isStopped = false;
        return true;
    case LogEventKind::Stopped:
        // After bad settings the service says three times that it has stopped.
        return !std::exchange(mCursor.isStopped, true);
    case LogEventKind::Breach:
    case LogEventKind::Forced:
    case LogEventKind::Capture:
    case LogEventKind::Exhausted:
        return true;
    default:
        return IsFailure(event.kind);
    }
}

} // namespace ctl
