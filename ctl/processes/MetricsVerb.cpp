#include "processes/MetricsVerb.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <sys/statvfs.h>

#include "config/KeyTable.h"

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/NewFile.h"
#include "base/PlainText.h"
#include "base/SafeFile.h"
#include "evidence/EvidenceSource.h"
#include "evidence/SetCheck.h"
#include "evidence/SetLoader.h"
#include "log/BreachTally.h"
#include "processes/MetricText.h"
#include "processes/ServiceState.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

constexpr std::size_t FORMER_LIMIT = std::size_t{16} * 1024 * 1024; // of the file that is replaced

/** One watched name and resource over all its processes. */
struct WatchedRow
{
    std::string unit = "Percent";
    int limit = 0;
    int processes = 0;
    double highest = 0;
    std::optional<int> setsLeft; ///< the fewest of its processes
};

using WatchedRows = std::map<std::pair<std::string, std::string>, WatchedRow>;

MetricText::Labels MakeLabels(const std::pair<std::string, std::string>& key)
{
    return {{"name", key.first}, {"resource", key.second}};
}

WatchedRows CollectRows(const ServiceState& state)
{
    WatchedRows rows;
    const Settings& settings = state.prediction.settings;
    for (const auto& [name, limit] : settings.cpu) {
        rows[{ToUtf8(name), "cpu"}].limit = limit;
    }
    for (const auto& [name, limit] : settings.memory) {
        rows[{ToUtf8(name), "memory"}] = {settings.IsMemoryAbsolute() ? "MB" : "Percent", limit, 0, 0,
                                          std::nullopt};
    }
    for (const LiveCounter& counter : state.live.counters) {
        WatchedRow& row = rows[{ToUtf8(counter.process), GetName(counter.resource)}];
        ++row.processes;
        row.highest = std::max(row.highest, counter.reading);
        if (const std::optional<int> taken = state.GetSetsTaken(counter)) {
            const int left = std::max(0, settings.Get(THHS_DUMP_COUNT) - *taken);
            row.setsLeft = std::min(row.setsLeft.value_or(left), left);
        }
    }
    return rows;
}

void AddService(const ServiceState& state, MetricText& text)
{
    const bool isKnown = state.lock.state != DaemonLock::State::Unknown;
    text.AddSingle("thsentinel_state_known", "gauge",
                   "Whether this user may learn if the service runs: 1 or 0. At 0 thsentinel_up is missing.",
                   isKnown ? 1 : 0);
    if (isKnown) {
        text.AddSingle("thsentinel_up", "gauge", "Whether the service runs: 1 or 0.",
                       state.lock.IsRunning() ? 1 : 0);
    }
    if (state.since) {
        text.AddSingle("thsentinel_start_timestamp_seconds", "gauge", "When the service was started.",
                       static_cast<double>(*state.since));
    }
    if (state.history.lastPass) {
        text.AddSingle("thsentinel_last_pass_timestamp_seconds", "gauge",
                       "When the last pass read its counters.", static_cast<double>(*state.history.lastPass));
    }
    if (state.IsIntervalKnown()) {
        text.AddSingle("thsentinel_poll_interval_seconds", "gauge", "Seconds between two passes.",
                       static_cast<double>(state.GetInterval().count()));
    }
    // Without a store a service that runs goes on, and none starts.
    if (const auto areValid = state.store->IsMissing() ? std::optional(false) : state.AreSettingsValid()) {
        text.AddSingle("thsentinel_settings_valid", "gauge",
                       "Whether the service would start with the store: 1 or 0. Missing if it can't be read.",
                       *areValid ? 1 : 0);
    }
    if (const auto levels = state.GetRaisedLevels()) {
        text.AddSingle("thsentinel_levels_raised", "gauge", "Log targets whose levels are raised.",
                       static_cast<double>(levels->size()));
    }
}

void AddNames(const ServiceState& state, const WatchedRows& rows, MetricText& text)
{
    text.AddSingle("thsentinel_watched_names", "gauge",
                   "Names in the lists for CPU and memory, each list counted.",
                   static_cast<double>(rows.size()));
    text.AddSingle("thsentinel_unmatched_names", "gauge",
                   "Names in these lists that stand for no process now, or for one that another name has.",
                   static_cast<double>(state.live.unmatched.size()));
    text.Begin("thsentinel_matched_processes", "gauge", "Processes that a name stands for now.");
    for (const auto& [key, row] : rows) {
        text.Add(row.processes, MakeLabels(key));
    }
}

void AddReadings(const WatchedRows& rows, MetricText& text)
{
    text.Begin("thsentinel_reading", "gauge", "The highest reading of the processes of a name.");
    for (const auto& [key, row] : rows) {
        if (row.processes > 0) {
            MetricText::Labels labels = MakeLabels(key);
            labels.emplace_back("unit", row.unit);
            text.Add(row.highest, labels);
        }
    }
    text.Begin("thsentinel_limit", "gauge", "The limit of a name.");
    for (const auto& [key, row] : rows) {
        MetricText::Labels labels = MakeLabels(key);
        labels.emplace_back("unit", row.unit);
        text.Add(row.limit, labels);
    }
    text.Begin("thsentinel_sets_left", "gauge",
               "Evidence sets that may still be taken, the fewest of the processes.");
    for (const auto& [key, row] : rows) {
        if (row.setsLeft) {
            text.Add(*row.setsLeft, MakeLabels(key));
        }
    }
}

/** The counts with a log that reaches back to the start; nothing without such a log. */
std::optional<BreachCounts> GetCountsOfHistory(const ServiceHistory& history)
{
    if (!history.isComplete || !history.failure.empty()) {
        return std::nullopt;
    }
    BreachCounts counts;
    for (const BreachCount& breach : history.breaches) {
        counts[{breach.process, breach.resource}] = breach.count;
    }
    return counts;
}

/** A tally without what was logged before the start, if that is known. */
BreachTally BeginTallyOfRun(const Common& common, const ServiceState& state)
{
    const bool hasStart = state.lock.IsRunning() && state.since;
    return BeginTally(common.log, hasStart ? *state.since - 2 : 0);
}

/**
 * Counts that don't fall while the service runs, however long the log is: a file goes on from what it holds,
 * and without one a log that was read in part is counted through. Nothing where the log can't be read, and
 * without a file also where the log of the start is gone: what is left of the count would fall with each log
 * that goes, and a fall looks like a restart. `kept` is set to what the file must hold for the next run.
 */
std::optional<BreachCounts> CountBreaches(const Common& common, const ServiceState& state,
                                          const std::string& output, std::string& kept)
{
    if (output.empty()) {
        if (const std::optional<BreachCounts> counts = GetCountsOfHistory(state.history)) {
            return counts;
        }
    }
    const std::optional<BreachTally> former =
        FindTally(ReadFile(AT_FDCWD, output, FORMER_LIMIT).text, common.log);
    BreachTally tally = former ? *former : BeginTallyOfRun(common, state);
    if (!CountOn(tally).empty() && !former) {
        return std::nullopt;
    }
    if (output.empty() && !tally.hasStart) {
        return std::nullopt;
    }
    kept = output.empty() ? "" : FormatTally(tally) + "\n";
    return tally.counts;
}

void AddBreaches(const std::optional<BreachCounts>& counted, const WatchedRows& rows, MetricText& text)
{
    if (!counted) {
        return; // a count of 0 would look like a restart
    }
    BreachCounts counts = *counted;
    for (const auto& [key, row] : rows) {
        counts.try_emplace(key, 0);
    }
    text.Begin(
        "thsentinel_breaches_total", "counter",
        "Breaches since the service was started. Missing if the log can't be read or, without a file of "
        "option -o to go on from, doesn't reach back to the start.");
    for (const auto& [key, count] : counts) {
        text.Add(static_cast<double>(count), MakeLabels(key));
    }
}

/** Evidence in numbers. */
struct EvidenceCount
{
    bool isReadable = false;
    std::array<int, 4> states = {}; ///< sets by SetState
    std::uint64_t bytes = 0;        ///< of the disk
};

EvidenceCount CountEvidence(const Common& common)
{
    EvidenceCount count;
    try {
        const EvidenceSource source = OpenEvidence(common);
        CheckRules rules;
        rules.plan = source.plan;
        rules.depth = Depth::Ends;
        Activity activity;
        SetLoader loader(source.tree);
        for (std::size_t place = 0; place < source.tree.sets.size(); ++place) {
            const EvidenceSet set = loader.Load(place);
            ++count.states[static_cast<std::size_t>(CheckSet(source.tree, set, rules, activity).state)];
            count.bytes += set.GetDiskBytes();
        }
        count.isReadable = true;
    } catch (const std::runtime_error&) {
        // There is no evidence folder, or it can't be read: a metric of its own says so.
    }
    return count;
}

void AddEvidence(const Common& common, MetricText& text)
{
    const auto [isReadable, states, bytes] = CountEvidence(common);
    text.AddSingle("thsentinel_evidence_readable", "gauge",
                   "Whether the evidence folder can be read: 1 or 0. At 0 there are no sets and bytes here.",
                   isReadable ? 1 : 0);
    if (!isReadable) {
        return;
    }
    text.Begin("thsentinel_sets", "gauge", "Evidence sets by state.");
    for (std::size_t state = 0; state < states.size(); ++state) {
        text.Add(states[state], {{"state", GetStateName(static_cast<SetState>(state))}});
    }
    text.AddSingle("thsentinel_evidence_bytes", "gauge", "Bytes of the disk that the evidence takes.",
                   static_cast<double>(bytes));
}

void AddFreeSpace(const ServiceState& state, const Common& common, MetricText& text)
{
    const std::string& folder =
        common.evidence.empty() ? state.prediction.settings.evidencePath : common.evidence;
    struct statvfs space = {};
    if (statvfs(folder.c_str(), &space) == 0) {
        text.AddSingle("thsentinel_evidence_free_bytes", "gauge", "Bytes that can still be written there.",
                       static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize));
    }
}

std::string MakeMetrics(const Common& common, const std::string& output)
{
    const ServiceState state = ReadServiceState(common, USUAL_LOG_LIMIT);
    const WatchedRows rows = CollectRows(state);
    MetricText text;
    AddService(state, text);
    if (state.IsStoreRead()) { // else the lists are unknown, not empty
        AddNames(state, rows, text);
        AddReadings(rows, text);
    }
    std::string kept;
    AddBreaches(CountBreaches(common, state, output, kept), rows, text);
    AddEvidence(common, text);
    AddFreeSpace(state, common, text);
    return kept + text.Get();
}

int RunMetrics(const Common& common, const std::string& output)
{
    const std::string text = MakeMetrics(common, output);
    if (!output.empty()) {
        constexpr mode_t FOR_EVERYBODY = 0644; // the node exporter is another user
        ReplaceFile(output, text, FOR_EVERYBODY);
    } else if (common.json) {
        Json document = BeginDocument("metrics");
        document["text"] = text;
        PrintDocument(document);
    } else {
        std::cout << text;
    }
    return EXIT_GOOD;
}

} // namespace

void AddMetricsVerb(CLI::App& program, Common& common)
{
    CLI::App& verb =
        AddVerb(program, {"metrics", "Prints the state of the service in the text format of Prometheus",
                          "thsentinelctl metrics -o /var/lib/prometheus/node-exporter/thsentinel.prom"});
    const auto output = std::make_shared<std::string>();
    verb.add_option("-o,--output", *output, "Write it to this file, by rename, for the textfile collector")
        ->type_name("FILE");
    SetAction(verb, common, [&common, output] { return RunMetrics(common, *output); });
}

} // namespace ctl
