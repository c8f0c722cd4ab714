#include "log/EventFeed.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/SafeFile.h"
#include "log/LogFolder.h"

namespace ctl
{

namespace
{

bool IsReadToItsEnd(const LogPlace& place, const DailyLog& log)
{
    return place.inode == log.inode && place.offset == log.size;
}

} // namespace

EventFeed::EventFeed(std::string folder, EventCursor cursor, Taker take)
    : mFolder(folder.empty() ? LOG_PATH : std::move(folder)), mCursor(std::move(cursor)),
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
        const bool isDone = place != mCursor.places.end() && IsReadToItsEnd(place->second, log);
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
            mCursor.places[log.name] = {log.inode, log.size};
        });
    }
    mCursor.isWhole = true;
    std::erase_if(mCursor.places, [&logs](const auto& place) {
        return std::none_of(logs.files.begin(), logs.files.end(),
                            [&place](const DailyLog& log) { return log.name == place.first; });
    });
}

/** Reads one log on from its place; false if the reading is to end. */
bool EventFeed::ReadLog(int folder, const DailyLog& log, const std::function<bool()>& goOn)
{
    LogPlace& place = mCursor.places[log.name];
    const OpenedFile file = OpenRegularFile(folder, log.name);
    if (!file.IsOpen()) {
        if (file.error != ENOENT) { // one that was just removed is no failure
            mFailure = mFolder + "/" + log.name + ": " + file.failure;
        }
        return true; // asked for again at the next look
    }
    const auto inode = static_cast<std::uint64_t>(file.status.st_ino);
    if (place.inode != inode || std::cmp_less(file.status.st_size, place.offset)) {
        place = {inode, 0}; // another file, or one that was cut
    }
    bool goesOn = true;
    const auto take = [this, &log, &goOn, &goesOn](const LogLineRead& line) {
        mCursor.places[log.name].offset = line.end;
        Offer(log, line);
        goesOn = goOn();
        return goesOn;
    };
    const LogEnd end = ReadLogLines(file.file.Get(), place.offset, mStamps, take, MayReportMore);
    mCursor.places[log.name].offset = end.offset;
    if (end.error != 0) {
        mFailure = mFolder + "/" + log.name + ": " + std::strerror(end.error);
    }
    return goesOn;
}

void EventFeed::Offer(const DailyLog& log, const LogLineRead& line)
{
    const std::optional<LogEvent> event = ParseLogText(line.text);
    if (event && IsWanted(*event)) {
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
