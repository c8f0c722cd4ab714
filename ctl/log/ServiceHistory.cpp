#include "log/ServiceHistory.h"

#include <algorithm>
#include <cstring>

#include "base/PlainText.h"
#include "base/SafeFile.h"
#include "base/TimeText.h"
#include "log/LogEvents.h"
#include "log/LogFolder.h"
#include "log/LogLines.h"

namespace ctl
{

namespace
{

constexpr int CYCLE = 6; // passes from one decision to the next

} // namespace

std::optional<int> CounterHistory::GetPosition() const
{
    if (verboseReading) {
        return verboseReading;
    }
    if (!isFromStart || passes == 0) {
        return std::nullopt;
    }
    return (passes - 1) % CYCLE + 1;
}

void HistoryBuilder::Take(std::time_t time, const LogEvent& event)
{
    switch (event.kind) {
    case LogEventKind::Breach:
    case LogEventKind::Forced:
        TakeBreach(time, event);
        break;
    case LogEventKind::Usage:
        if (const auto found = mHistory.counters.find({event.pid, event.resource});
            found != mHistory.counters.end()) {
            found->second.configured = event.process;
        }
        break;
    case LogEventKind::CounterAdded:
    case LogEventKind::Capture:
    case LogEventKind::Exhausted:
    case LogEventKind::Window:
        TakeCounter(time, event);
        break;
    case LogEventKind::LevelSaved: // not every tool says something for the line about the raise
    case LogEventKind::LevelRaised:
        mHistory.levels.insert(event.process);
        break;
    case LogEventKind::LevelRestored:
        mHistory.levels.erase(event.process);
        break;
    default:
        mHistory.failures += IsFailure(event.kind) ? 1 : 0;
        TakeService(time, event);
    }
}

void HistoryBuilder::TakeService(std::time_t time, const LogEvent& event)
{
    switch (event.kind) {
    case LogEventKind::Started:
        TakeStart(time);
        break;
    case LogEventKind::Stopped:
        mHistory.stopped = time;
        break;
    case LogEventKind::Pass:
        CountPass(time);
        break;
    case LogEventKind::Load:
        mLoad = time;
        mHistory.lastLoadFailed = true;
        break;
    case LogEventKind::Failure: // other complaints begin with a blank after "Error:"
        if (mHistory.lastLoadFailed && !mHistory.stopped && !event.detail.starts_with(' ')) {
            mHistory.endFailure = event.detail;
        }
        break;
    case LogEventKind::LoadDone:
        mHistory.lastLoadFailed = false;
        break;
    case LogEventKind::Interval:
        mInterval = event.number;
        break;
    default:
        break;
    }
    if (!mHistory.lastPass) {
        PutLoadInForce();
    }
}

/**
 * A start reads the settings too, even where a service runs that keeps its own. That one reads them just
 * before a pass, so what was read last counts from the next pass on.
 */
void HistoryBuilder::PutLoadInForce()
{
    mHistory.lastLoad = mLoad;
    mHistory.interval = mInterval;
}

void HistoryBuilder::TakeStart(std::time_t time)
{
    mHistory = ServiceHistory();
    mHistory.started = time; // the first load comes before the start
    mHistory.isComplete = true;
    mIntervalAtPass.reset();
}

void HistoryBuilder::CountPass(std::time_t time)
{
    // The settings are read after the sleep, just before the next pass: that one slept by those before them.
    mHistory.passInterval = mIntervalAtPass;
    PutLoadInForce();
    mIntervalAtPass = mHistory.interval;
    mHistory.passBefore = mHistory.lastPass;
    mHistory.lastPass = time;
    for (auto& [key, counter] : mHistory.counters) {
        ++counter.passes;
        if (counter.verboseReading) { // the line of this pass comes after this one, except where it drops
            counter.verboseReading = *counter.verboseReading % CYCLE + 1;
        }
    }
}

void HistoryBuilder::TakeCounter(std::time_t time, const LogEvent& event)
{
    if (event.kind == LogEventKind::CounterAdded) {
        CounterHistory& counter = mHistory.counters[{event.pid, event.resource}];
        counter = CounterHistory(); // a new process may have the id of one that is gone
        counter.process = event.process;
        counter.isFromStart = true;
        return;
    }
    if (event.kind == LogEventKind::Window) {
        mHistory.counters[{event.pid, event.resource}].verboseReading = event.number;
        return;
    }
    const auto found = mHistory.counters.find(mBreaching);
    if (found == mHistory.counters.end()) {
        return;
    }
    if (event.kind == LogEventKind::Exhausted) {
        found->second.isExhausted = true;
    } else if (event.pid == mBreaching.first) {
        found->second.sets = event.number;
        found->second.lastSet = time;
        ++mHistory.sets;
    }
}

void HistoryBuilder::TakeBreach(std::time_t time, const LogEvent& event)
{
    mBreaching = {event.pid, event.resource};
    CounterHistory& counter = mHistory.counters[mBreaching];
    ++counter.breaches;
    counter.configured = event.process;
    counter.lastBreach = time;
    const std::string name = ToUtf8(event.process);
    const auto found = std::find_if(
        mHistory.breaches.begin(), mHistory.breaches.end(),
        [&](const BreachCount& row) { return row.process == name && row.resource == event.resource; });
    if (found != mHistory.breaches.end()) {
        ++found->count;
    } else {
        mHistory.breaches.push_back({name, event.resource, 1});
    }
}

std::string VisitEvents(const LogFolder& folder, std::time_t since, std::uint64_t limit,
                        const EventVisitor& visit, const std::function<void(std::uint64_t bytes)>& advance)
{
    if (!folder.failure.empty()) {
        return folder.path + ": " + folder.failure;
    }
    const int firstDay = GetDay(ToWall(since));
    std::uint64_t total = 0;
    for (const DailyLog& log : folder.files) {
        total += log.day >= firstDay ? log.size : 0;
    }
    std::uint64_t skipped = total > limit ? total - limit : 0;
    std::string failure;
    const OpenedFile opened = OpenLogFolder(folder.path);
    StampReader stamps;
    bool goesOn = true;
    for (const DailyLog& log : folder.files) {
        if (log.day < firstDay || skipped >= log.size || !goesOn) {
            skipped -= log.day < firstDay ? 0 : std::min(skipped, log.size);
            continue;
        }
        const OpenedFile file = OpenRegularFile(opened.file.Get(), log.name);
        if (!file.IsOpen()) {
            failure = folder.path + "/" + log.name + ": " + file.failure;
            continue;
        }
        std::uint64_t told = skipped;
        const auto tell = [&advance, &told](std::uint64_t offset) {
            if (advance) {
                advance(offset - told);
            }
            told = offset;
        };
        const auto take = [&](const LogLineRead& line) {
            tell(line.end);
            const std::optional<LogEvent> event = ParseLogText(line.text);
            goesOn = !event || visit(line.time, *event);
            return goesOn;
        };
        const LogEnd end = ReadLogLines(file.file.Get(), skipped, stamps, take, MayReport);
        tell(end.offset);
        if (end.error != 0) {
            failure = folder.path + "/" + log.name + ": " + std::strerror(end.error);
        }
        skipped = 0;
    }
    return failure;
}

ServiceHistory ReadHistory(const LogFolder& folder, std::time_t since, std::uint64_t limit)
{
    HistoryBuilder builder;
    const std::string failure =
        VisitEvents(folder, since, limit, [&builder](std::time_t time, const LogEvent& event) {
            builder.Take(time, event);
            return true;
        });
    builder.GetHistory().failure = failure;
    return builder.GetHistory();
}

} // namespace ctl
