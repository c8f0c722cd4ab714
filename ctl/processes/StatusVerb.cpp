#include "processes/StatusVerb.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "config/KeyTable.h"

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/NumberRange.h"
#include "base/PlainText.h"
#include "base/Table.h"
#include "base/Terminal.h"
#include "base/TimeText.h"
#include "processes/ServiceState.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

constexpr int WINDOW = 5;

struct Options
{
    bool watch = false;
    double interval = 2;
};

/** The file with the id stays after a stop in order, too, which the log then ends with. */
int GetStatusOfEnd(const ServiceState& state)
{
    const std::optional<bool> wasStopped = state.WasStopped();
    if (!wasStopped) {
        return SERVICE_UNKNOWN;
    }
    return *wasStopped ? SERVICE_STOPPED : SERVICE_DEAD_WITH_ID;
}

int GetStatus(const ServiceState& state)
{
    switch (state.lock.state) {
    case DaemonLock::State::Running:
        return SERVICE_RUNNING;
    case DaemonLock::State::Stopped:
        return state.lock.IsStale() ? GetStatusOfEnd(state) : SERVICE_STOPPED;
    case DaemonLock::State::Unknown:
        break;
    }
    return SERVICE_UNKNOWN;
}

/** Counters live in the service: where nobody runs there are none. */
std::vector<LiveCounter> GetCounters(const ServiceState& state)
{
    return state.lock.IsRunning() ? state.live.counters : std::vector<LiveCounter>();
}

/** Which counters there are can't be known without the lists of a service that runs, or may run. */
bool AreCountersKnown(const ServiceState& state)
{
    return state.lock.state == DaemonLock::State::Stopped || (state.lock.IsRunning() && state.IsStoreRead());
}

Json DescribeCounter(const ServiceState& state, const LiveCounter& counter)
{
    Json row;
    row["process"] = ToJson(counter.process);
    row["pid"] = counter.pid;
    row["resource"] = GetName(counter.resource);
    row["reading"] = counter.reading;
    row["limit"] = counter.limit;
    row["unit"] = counter.unit;
    row["window"] = OrNull(state.GetWindow(counter));
    row["setsTaken"] = OrNull(state.GetSetsTaken(counter));
    row["setsAllowed"] = state.prediction.settings.Get(THHS_DUMP_COUNT);
    return row;
}

Json DescribeService(const ServiceState& state)
{
    Json document = BeginDocument("status");
    document["running"] =
        state.lock.state == DaemonLock::State::Unknown ? Json(nullptr) : Json(state.lock.IsRunning());
    document["pid"] = OrNull(state.lock.holder);
    document["since"] = TimeToJson(state.since);
    document["staleId"] = state.lock.IsStale() ? OrNull(state.lock.written) : Json(nullptr);
    document["remark"] = state.lock.reason.empty() ? Json(nullptr) : ToJson(state.lock.reason);
    const bool hasEnded = state.WasStopped().value_or(false);
    const bool hasFailed = hasEnded && state.history.endFailure;
    document["ended"] = hasEnded ? TimeToJson(state.history.stopped) : Json(nullptr);
    document["endFailure"] = hasFailed ? ToJson(*state.history.endFailure) : Json(nullptr);
    document["lastPass"] = TimeToJson(state.history.lastPass);
    document["nextPass"] = TimeToJson(state.GetNextPass());
    document["stuck"] = OrNull(state.IsStuck());
    document["interval"] = state.IsIntervalKnown() ? Json(state.GetInterval().count()) : Json(nullptr);
    document["settingsRead"] = TimeToJson(state.history.lastLoad);
    document["settingsChanged"] = OrNull(state.IsStoreUnread());
    document["settingsValid"] = OrNull(state.AreSettingsValid());
    return document;
}

void WriteJson(const ServiceState& state)
{
    Json document = DescribeService(state);
    const auto levels = state.GetRaisedLevels();
    document["levelsRaised"] = levels ? ToJson(*levels) : Json(nullptr);
    const auto left = state.GetLevelsLeftRaised();
    document["levelsLeftRaised"] = left ? ToJson(*left) : Json(nullptr);
    document["logFailure"] = state.history.failure.empty() ? Json(nullptr) : ToJson(state.history.failure);
    document["counters"] = AreCountersKnown(state) ? Json::array() : Json(nullptr);
    for (const LiveCounter& counter : GetCounters(state)) {
        document["counters"].push_back(DescribeCounter(state, counter));
    }
    document["unmatched"] = state.IsStoreRead() ? ToJson(GetUnmatchedNames(state.live)) : Json(nullptr);
    PrintDocument(document);
}

std::string Ago(const ServiceState& state, std::time_t time)
{
    return FormatDuration(std::chrono::seconds(std::max<std::time_t>(0, state.now - time))) + " ago";
}

/** How the last service ended, as far as the log says. */
void WriteEnd(const ServiceState& state, std::ostream& output)
{
    const ServiceHistory& history = state.history;
    const std::optional<bool> wasStopped = state.WasStopped();
    if (!wasStopped) {
        return;
    }
    if (!*wasStopped) {
        output << "  it ended without a stop"
               << (history.lastPass ? ", after its pass of " + FormatLocalTime(*history.lastPass) : "")
               << '\n';
    } else if (history.endFailure) {
        output << "  it ended by itself at " << FormatLocalTime(*history.stopped)
               << (history.endFailure->empty() ? "" : ": ") << EscapeControls(*history.endFailure) << '\n';
    } else {
        output << "  it was stopped at " << FormatLocalTime(*history.stopped) << '\n';
    }
}

/** The id that is left in the run lock file, which alarms whoever doesn't know that a stop leaves it, too. */
void WriteStaleId(const ServiceState& state, std::ostream& output)
{
    if (!state.lock.IsStale()) {
        return;
    }
    const std::optional<bool> wasStopped = state.WasStopped();
    output << "  process id " << *state.lock.written << " in the run lock file is stale: "
           << (!wasStopped   ? "it is left from a service that doesn't run; it is not known how it ended"
               : *wasStopped ? "the last service left it there, which is normal"
                             : "it is left from a service that ended without a stop")
           << '\n';
}

void WriteHead(const ServiceState& state, std::ostream& output)
{
    switch (state.lock.state) {
    case DaemonLock::State::Running:
        output << "thsentinel is " << Paint("running", Colour::Green);
        if (state.lock.holder) {
            output << ", process " << *state.lock.holder;
        }
        if (state.since) {
            output << ", since " << FormatLocalTime(*state.since) << " ("
                   << FormatDuration(std::chrono::seconds(state.now - *state.since)) << ")";
        }
        break;
    case DaemonLock::State::Stopped:
        output << "thsentinel is " << Paint("not running", Colour::Red);
        break;
    case DaemonLock::State::Unknown:
        output << "it can't be told whether thsentinel runs";
        break;
    }
    output << '\n';
    if (!state.lock.reason.empty()) {
        output << "  " << EscapeControls(state.lock.reason) << '\n';
    }
    if (state.lock.state == DaemonLock::State::Stopped) {
        WriteEnd(state, output);
        WriteStaleId(state, output);
    }
}

void WriteTimes(const ServiceState& state, std::ostream& output)
{
    const ServiceHistory& history = state.history;
    output << "last pass  "
           << (history.lastPass
                   ? FormatLocalTime(*history.lastPass) + " (" + Ago(state, *history.lastPass) + ")"
                   : "unknown");
    if (const auto next = state.GetNextPass()) {
        output << ", next about " << FormatLocalTime(*next);
    }
    if (state.IsStuck().value_or(false)) {
        output << "  " << Paint("STUCK", Colour::Red) << ": older than two intervals and a pass";
    }
    output << "\nsettings   "
           << (history.lastLoad ? "read " + FormatLocalTime(*history.lastLoad) : "time of reading unknown");
    if (state.IsStoreUnread().value_or(false)) {
        output << "; " << Paint("changed on disk and not read yet", Colour::Yellow);
    }
    if (!state.AreSettingsValid().value_or(true)) {
        output << "; " << Paint("those on disk stop the service at its next reading", Colour::Red)
               << ", see thsentinelctl check";
    } else if (!state.AreSettingsValid()) {
        output << "; those on disk can't be read";
    }
    output << '\n';
}

void WriteLevels(const ServiceState& state, std::ostream& output)
{
    const auto levels = state.GetRaisedLevels();
    output << "levels     ";
    if (!levels) {
        output << (state.history.failure.empty()
                       ? "unknown: the log names raised levels with THHS_VERBOSE = 1 only"
                       : "unknown: the log can't be read");
    } else if (levels->empty()) {
        output << "none raised";
    } else {
        output << "raised for";
        for (const std::string& target : *levels) {
            output << ' ' << EscapeControls(target);
        }
    }
    output << '\n';
}

/** What stands between a service that has ended and its next start, and what it left. */
void WriteRemains(const ServiceState& state, std::ostream& output)
{
    if (!state.AreSettingsValid().value_or(true)) {
        output << "settings   " << Paint("those on disk keep it from starting", Colour::Red)
               << "; see thsentinelctl check\n";
    }
    const auto left = state.GetLevelsLeftRaised();
    if (left && !left->empty()) {
        output << "levels     " << Paint("left raised", Colour::Red) << " for";
        for (const std::string& target : *left) {
            output << ' ' << EscapeControls(target);
        }
        output << " by a service that ended without a stop; see operations.md\n";
    } else if (!left && !state.WasStopped().value_or(true) && state.history.sets > 0) {
        output << "levels     perhaps left raised by a service that ended without a stop: the log names them "
                  "with THHS_VERBOSE = 1 only\n";
    }
}

std::string ShowWindow(std::optional<int> position)
{
    if (!position) {
        return "?";
    }
    return *position > WINDOW ? "dropped" : std::to_string(*position) + "/" + std::to_string(WINDOW);
}

void WriteCounters(const ServiceState& state, std::ostream& output)
{
    Table table({{"PROCESS", Table::Side::Left},
                 {"PID", Table::Side::Right},
                 {"RESOURCE", Table::Side::Left},
                 {"READING", Table::Side::Right},
                 {"LIMIT", Table::Side::Right},
                 {"UNIT", Table::Side::Left},
                 {"WINDOW", Table::Side::Left},
                 {"SETS", Table::Side::Left}});
    for (const LiveCounter& counter : GetCounters(state)) {
        char reading[32];
        (void)std::snprintf(reading, sizeof reading, "%.2f", counter.reading);
        const bool isAbove = static_cast<long long>(counter.reading) > counter.limit;
        const auto sets = state.GetSetsTaken(counter);
        const int allowed = state.prediction.settings.Get(THHS_DUMP_COUNT);
        table.Add({{counter.process},
                   {std::to_string(counter.pid)},
                   {GetName(counter.resource)},
                   {reading, isAbove ? Colour::Red : Colour::Plain},
                   {std::to_string(counter.limit)},
                   {counter.unit},
                   {ShowWindow(state.GetWindow(counter))},
                   {(sets ? std::to_string(*sets) : "?") + "/" + std::to_string(allowed),
                    sets.value_or(0) >= allowed ? Colour::Yellow : Colour::Plain}});
    }
    if (!table.IsEmpty()) {
        output << '\n';
        table.Print(output);
    }
}

void WriteUnmatched(const ServiceState& state, std::ostream& output)
{
    std::set<std::string> names;
    std::set<std::string> taken; // whole lines
    for (const UnmatchedName& unmatched : state.live.unmatched) {
        const std::string name = EscapeControls(unmatched.process);
        if (unmatched.takenPid == 0) {
            names.insert(name);
        } else {
            taken.insert(name + " is never watched: process " + std::to_string(unmatched.takenPid) +
                         " is already watched as " + EscapeControls(unmatched.takenBy) + "\n");
        }
    }
    output << (names.empty() && taken.empty() ? "" : "\n");
    if (!names.empty()) {
        output << "Watched names without a process:";
        for (const std::string& name : names) {
            output << ' ' << name;
        }
        output << '\n';
    }
    for (const std::string& line : taken) {
        output << line;
    }
}

void WriteText(const ServiceState& state, std::ostream& output)
{
    WriteHead(state, output);
    if (state.lock.IsRunning()) {
        WriteTimes(state, output);
        WriteLevels(state, output);
    } else if (state.lock.state == DaemonLock::State::Stopped) {
        WriteRemains(state, output);
    }
    if (!state.history.failure.empty()) {
        output << "log        can't be read: " << EscapeControls(state.history.failure) << '\n';
    }
    if (!state.store->GetFailure().empty()) {
        output << "store      can't be read: " << EscapeControls(state.store->GetFailure()) << '\n';
    }
    WriteCounters(state, output);
    WriteUnmatched(state, output);
}

int ShowOnce(const Common& common, const Options& options, bool clears)
{
    const ServiceState state = ReadServiceState(common, USUAL_LOG_LIMIT);
    if (common.json) {
        WriteJson(state);
        return GetStatus(state);
    }
    std::ostringstream output;
    if (options.watch) {
        output << FormatLocalTime(state.now) << ", every " << options.interval << " s\n";
    }
    WriteText(state, output);
    std::cout << (clears ? "\033[H\033[2J" : "") << output.str() << std::flush;
    return GetStatus(state);
}

int RunStatus(const Common& common, const Options& options)
{
    const bool clears = options.watch && isatty(STDOUT_FILENO) != 0;
    int status = ShowOnce(common, options, clears);
    while (options.watch && std::cout) {
        (void)usleep(static_cast<useconds_t>(options.interval * 1e6)); // an early end only shows it earlier
        status = ShowOnce(common, options, clears);
    }
    return status;
}

} // namespace

void AddStatusVerb(CLI::App& program, Common& common)
{
    CLI::App& verb =
        AddVerb(program, {"status", "Shows whether the service runs, its passes and its counters",
                          "thsentinelctl status\nthsentinelctl status --watch"});
    const auto options = std::make_shared<Options>();
    verb.add_flag("--watch", options->watch, "Show it again and again, until interrupted");
    CLI::Option& interval =
        *verb.add_option("--interval", options->interval, "Seconds between two looks of --watch")
             ->type_name("SECONDS")
             ->capture_default_str();
    constexpr double DAY = 86400;
    AcceptRange(interval, 0.1, DAY);
    SetAction(verb, common, [&common, options] { return RunStatus(common, *options); });
}

} // namespace ctl
