#include "processes/Explanation.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "config/KeyTable.h"

#include "base/Common.h"
#include "base/JavaNames.h"
#include "base/Plural.h"
#include "base/TimeText.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

constexpr std::uint64_t LOG_LIMIT = std::uint64_t{256} * 1024 * 1024;
constexpr int DECIDING = 5; // the position at which a decision falls
constexpr int CYCLE = 6;
constexpr const char* JAVA = "java"; // in the tables of the service

std::string FormatReading(double value)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

std::optional<int> ParsePid(const std::string& subject)
{
    int pid = 0;
    const auto parsed = std::from_chars(subject.data(), subject.data() + subject.size(), pid);
    const bool isPid = parsed.ec == std::errc() && parsed.ptr == subject.data() + subject.size() && pid > 0;
    return isPid ? std::optional(pid) : std::nullopt;
}

/** Builds the answer of one command. */
class Explainer
{
public:
    Explainer(const ServiceState& state, const CounterTrace& trace, std::string subject, std::time_t at)
        : mState(state), mTrace(trace), mSubject(std::move(subject)), mPid(ParsePid(mSubject)), mAt(at)
    {}

    Explanation Run()
    {
        for (const LiveCounter& counter : mState.live.counters) {
            if (counter.process == mSubject || (mPid && counter.pid == *mPid)) {
                mResult.counters.push_back(ExplainCounter(counter));
            }
        }
        AddEnded();
        AddReasons();
        return std::move(mResult);
    }

private:
    const Settings& GetSettings() const { return mState.prediction.settings; }
    CounterExplanation ExplainCounter(const LiveCounter& counter) const;
    void AddEnded();
    void AddEnded(const CounterKey& key, const std::string& name);
    std::string GetConfiguredName(const CounterHistory& history, const std::string& resource) const;
    void AddReasons();
    void FillFromLog(CounterExplanation& answer) const;
    bool IsOfPast() const { return mAt < mState.now; }
    void Judge(CounterExplanation& answer) const;
    std::string FindReasonForNoPass() const;
    bool AddStandstill(std::vector<std::string>& reasons) const;
    bool IsStandingStill() const;
    bool IsBeforeLog() const;
    void JudgeWindow(CounterExplanation& answer) const;
    void JudgeReadings(CounterExplanation& answer) const;
    void JudgeTime(CounterExplanation& answer) const;

    const ServiceState& mState;
    const CounterTrace& mTrace;
    const std::string mSubject;
    const std::optional<int> mPid;
    const std::time_t mAt;
    Explanation mResult;
};

CounterExplanation Explainer::ExplainCounter(const LiveCounter& counter) const
{
    CounterExplanation answer;
    answer.process = counter.process;
    answer.pid = counter.pid;
    answer.resource = counter.resource;
    answer.unit = counter.unit;
    answer.limit = counter.limit;
    if (!IsOfPast()) {
        answer.now = counter.reading;
    }
    if (counter.resource == Resource::Cpu && !IsOfPast()) {
        answer.secondsAtFull = GetTimeToLimit(counter.details, mState.live.machine, counter.limit, 1);
    }
    if (IsOfPast() && GetStartTime(counter.details) > mAt) {
        answer.reasons.push_back("this process was started after that time, at " +
                                 FormatLocalTime(GetStartTime(counter.details)));
        answer.isKnown = false;
        return answer;
    }
    FillFromLog(answer);
    answer.isKnown = !IsBeforeLog();
    if (IsOfPast() && !answer.readings.empty() &&
        mAt - answer.readings.back().time < mState.GetInterval().count()) {
        answer.now = answer.readings.back().value;
    }
    Judge(answer);
    if (counter.resource == Resource::Cpu && !IsOfPast()) {
        JudgeTime(answer);
    }
    return answer;
}

void Explainer::FillFromLog(CounterExplanation& answer) const
{
    if (mState.IsStoreRead()) {
        answer.setsAllowed = GetSettings().Get(THHS_DUMP_COUNT);
    }
    const CounterKey key = {answer.pid, GetName(answer.resource)};
    if (const auto found = mTrace.readings.find(key); found != mTrace.readings.end()) {
        answer.readings = found->second;
        answer.average = CounterTrace::GetAverage(found->second);
    }
    const auto found = mTrace.history.counters.find(key);
    if (found == mTrace.history.counters.end()) {
        answer.window = mTrace.history.isComplete ? std::optional(0) : std::nullopt;
        answer.setsTaken = answer.window;
        return;
    }
    const CounterHistory& history = found->second;
    answer.window = history.GetPosition();
    answer.breaches = history.breaches;
    answer.lastBreach = history.lastBreach;
    answer.lastSet = history.lastSet;
    if (history.isFromStart || history.lastSet) {
        answer.setsTaken = history.sets;
    }
}

/** What keeps the service from passes; empty if it makes them, or if that isn't known. */
std::string Explainer::FindReasonForNoPass() const
{
    const ServiceHistory& history = mTrace.history;
    if (!IsOfPast() && mState.lock.state == DaemonLock::State::Unknown) {
        return "it can't be told whether the service runs: " + mState.lock.reason;
    }
    if (!IsOfPast() && !mState.lock.IsRunning()) {
        return "the service doesn't run";
    }
    if (IsOfPast() && history.stopped) {
        return "the service didn't run then: it had stopped at " + FormatLocalTime(*history.stopped);
    }
    if (IsBeforeLog()) {
        return "the log holds nothing from before that time: no service ran then, or its log has gone";
    }
    if (IsStandingStill()) {
        const std::string last = FormatLocalTime(*history.lastPass);
        return IsOfPast()
                   ? "the service was stuck then or had ended without a stop: its last pass was at " + last
                   : "the service is stuck: its last pass was at " + last;
    }
    return "";
}

/** Adds why the service makes no passes; false if it makes them, or if that isn't known. */
bool Explainer::AddStandstill(std::vector<std::string>& reasons) const
{
    const std::string reason = FindReasonForNoPass();
    if (!reason.empty()) {
        reasons.push_back(reason);
    }
    return !reason.empty();
}

/** True for a time of which the log holds nothing. */
bool Explainer::IsBeforeLog() const
{
    const ServiceHistory& history = mTrace.history;
    return IsOfPast() && history.failure.empty() && !history.started && !history.lastPass &&
           !history.lastLoad;
}

/** True if the last pass before the time is older than two intervals and a pass. */
bool Explainer::IsStandingStill() const
{
    if (!IsOfPast()) {
        return mState.IsStuck().value_or(false);
    }
    const ServiceHistory& history = mTrace.history;
    if (!history.lastPass || !history.interval) {
        return false;
    }
    const std::time_t interval = *history.interval;
    const std::time_t between = history.passBefore ? *history.lastPass - *history.passBefore : 0;
    const std::time_t pass =
        std::max<std::time_t>(between - history.passInterval.value_or(*history.interval), 0);
    return mAt - *history.lastPass > pass + 2 * interval;
}

void Explainer::Judge(CounterExplanation& answer) const
{
    const bool isStanding = AddStandstill(answer.reasons);
    if (IsBeforeLog()) {
        return;
    }
    if (answer.lastSet) {
        answer.reasons.push_back("the last set was begun at " + FormatLocalTime(*answer.lastSet) +
                                 ", after a breach was found");
    }
    if (answer.setsTaken && answer.setsAllowed && *answer.setsTaken >= *answer.setsAllowed) {
        answer.reasons.push_back(
            "its " + CountNoun(static_cast<std::uint64_t>(*answer.setsAllowed), "set is", "sets are") +
            " used up: a breach is only logged until the process or the service starts anew");
    }
    if (GetSettings().Get(THHS_CAPTURE_WITHOUT_THRESHOLD) != 0) {
        answer.reasons.emplace_back(
            "evidence is taken at every pass, as THHS_CAPTURE_WITHOUT_THRESHOLD is set");
        return;
    }
    const bool hasEnded = !IsOfPast() && mState.IsStoreRead() && !answer.now;
    if (!isStanding && !hasEnded) { // a counter of nobody decides nothing
        JudgeWindow(answer);
    }
    JudgeReadings(answer);
}

void Explainer::JudgeWindow(CounterExplanation& answer) const
{
    if (!answer.window) {
        answer.reasons.emplace_back(
            mTrace.history.failure.empty()
                ? "the place in the window isn't known: the log doesn't reach back to "
                  "the first pass of this counter"
                : "the place in the window isn't known without the log");
        return;
    }
    const int passes =
        *answer.window < DECIDING ? DECIDING - *answer.window : CYCLE + DECIDING - *answer.window;
    if (mTrace.history.lastPass && mState.lock.IsRunning() && mState.IsIntervalKnown()) {
        const auto period = mState.GetInterval() + mState.GetPassLength();
        answer.decision = *mTrace.history.lastPass + passes * period.count();
    }
    if (*answer.window == 0) {
        answer.reasons.emplace_back(
            "no pass has read it yet: a decision falls at the fifth reading, in 5 passes");
        return;
    }
    answer.reasons.push_back(
        *answer.window == DECIDING
            ? "the last pass decided; the next decision falls in " +
                  CountNoun(static_cast<std::uint64_t>(passes), "pass", "passes")
            : "a decision falls at the fifth reading of six passes: the last pass was number " +
                  std::to_string(*answer.window) + ", so it falls in " +
                  CountNoun(static_cast<std::uint64_t>(passes), "pass", "passes"));
}

void Explainer::JudgeReadings(CounterExplanation& answer) const
{
    const auto add = [&answer](const std::string& what, double value) {
        const std::string text = what + ", " + FormatReading(value) + ", is ";
        answer.reasons.push_back(
            answer.limit ? text + (static_cast<long long>(value) > *answer.limit ? "" : "not ") +
                               "above the limit of " + std::to_string(*answer.limit) + " " + answer.unit
                         : text + "held against a limit that isn't known");
    };
    if (answer.average && !answer.readings.empty()) {
        add("the fifth reading of the last full window", answer.readings.back().value);
        add("the average of its five", static_cast<double>(*answer.average));
    } else if (answer.readings.empty()) {
        answer.reasons.emplace_back(
            mTrace.history.failure.empty()
                ? "the readings of the window aren't known: the log names them with THHS_VERBOSE = 1 only"
                : "the readings of the window aren't known without the log");
    }
    if (answer.now && !IsOfPast()) {
        add("the present reading", *answer.now);
    }
    if (!mState.IsStoreRead()) {
        return;
    }
    if (GetSettings().Get(THHS_ALWAYS_DUMP) == 1) {
        answer.reasons.emplace_back("the fifth reading alone decides, as THHS_ALWAYS_DUMP is set");
    } else {
        answer.reasons.emplace_back("both the fifth reading and the average of five must be above the limit");
    }
}

void Explainer::JudgeTime(CounterExplanation& answer) const
{
    if (!answer.secondsAtFull) {
        answer.reasons.emplace_back("one full processor never brings it above the limit on this host");
    } else if (*answer.secondsAtFull > 0) {
        answer.reasons.push_back(
            "at one full processor from now on, its reading is above the limit after " +
            FormatDuration(std::chrono::seconds(static_cast<long long>(*answer.secondsAtFull + 1))) +
            ": the reading is the average over its whole life");
    }
}

/** Counters of processes that have ended, which the log still knows. */
void Explainer::AddEnded()
{
    for (const auto& known : mTrace.history.counters) {
        const CounterKey& key = known.first; // a name of its own: not every compiler captures a binding
        const std::string name = GetConfiguredName(known.second, key.second);
        const bool isKnown = std::any_of(
            mResult.counters.begin(), mResult.counters.end(),
            [&key](const auto& answer) { return CounterKey(answer.pid, GetName(answer.resource)) == key; });
        if (!isKnown && (mPid ? key.first == *mPid : name == mSubject)) {
            AddEnded(key, name);
        }
    }
}

void Explainer::AddEnded(const CounterKey& key, const std::string& name)
{
    CounterExplanation answer;
    answer.process = name;
    answer.pid = key.first;
    answer.resource = key.second == GetName(Resource::Cpu) ? Resource::Cpu : Resource::Memory;
    const bool isCpu = answer.resource == Resource::Cpu;
    answer.unit = !isCpu && GetSettings().IsMemoryAbsolute() ? "MB" : "Percent";
    const auto& limits = isCpu ? GetSettings().cpu : GetSettings().memory;
    const auto limit = limits.find(name);
    if (limit != limits.end()) {
        answer.limit = limit->second;
    }
    if (mState.IsStoreRead()) { // else nothing is known of what runs
        answer.reasons.emplace_back("the process has ended, or isn't listed any more");
    }
    FillFromLog(answer);
    Judge(answer);
    mResult.counters.push_back(answer);
}

/**
 * The name in the lists. The tables of the service hold "java" for each Java program: then a reading or a
 * breach in the log names it, or it is the only one that is listed. "java" if neither is so.
 */
std::string Explainer::GetConfiguredName(const CounterHistory& history, const std::string& resource) const
{
    if (!history.configured.empty()) {
        return history.configured;
    }
    const bool isCpu = resource == GetName(Resource::Cpu);
    const auto& limits = isCpu ? GetSettings().cpu : GetSettings().memory;
    if (history.process != JAVA || limits.contains(JAVA)) {
        return history.process;
    }
    const auto isJava = [](const auto& entry) { return IsJavaName(entry.first); };
    const bool isOnly = std::count_if(limits.begin(), limits.end(), isJava) == 1;
    return isOnly ? std::find_if(limits.begin(), limits.end(), isJava)->first : history.process;
}

void Explainer::AddReasons()
{
    const bool isListed = GetSettings().cpu.contains(mSubject) || GetSettings().memory.contains(mSubject);
    if (isListed || !mResult.counters.empty() || mState.IsStoreRead()) {
        mResult.isWatched = isListed || !mResult.counters.empty();
    }
    const bool isAnyKnown =
        mResult.counters.empty()
            ? !IsBeforeLog()
            : std::any_of(mResult.counters.begin(), mResult.counters.end(),
                          [](const CounterExplanation& counter) { return counter.isKnown; });
    mResult.isWhole = mTrace.history.failure.empty() && mState.IsStoreRead() && isAnyKnown;
    if (mResult.counters.empty()) {
        AddStandstill(mResult.reasons);
    }
    if (!mTrace.history.failure.empty()) {
        mResult.reasons.push_back("the log can't be read: " + mTrace.history.failure);
    }
    if (!mState.IsStoreRead()) {
        mResult.reasons.push_back("lists and limits aren't known, since the store can't be read: " +
                                  mState.store->GetFailure());
    } else if (mPid && mResult.counters.empty()) {
        mResult.reasons.push_back("no name of the lists stands for process " + mSubject);
    } else if (!isListed && !mPid) {
        mResult.reasons.push_back(GetSettings().deadlock.contains(mSubject)
                                      ? "it is listed for deadlocks alone, which aren't looked for"
                                      : "it is in neither THHS_MONITOR_CPU nor THHS_MONITOR_MEMORY");
    }
    for (const UnmatchedName& name : mState.live.unmatched) {
        if (name.process == mSubject) {
            const std::string resource = GetName(name.resource);
            mResult.reasons.push_back(name.takenPid == 0
                                          ? "no process of that name runs, so its " + resource + " isn't read"
                                          : "its " + resource + " is never read: process " +
                                                std::to_string(name.takenPid) + " is already watched as " +
                                                name.takenBy);
        }
    }
    if (!mState.IsStoreRead()) {
        return;
    }
    if (IsOfPast() && mResult.isWatched.value_or(false)) {
        mResult.reasons.emplace_back("limits and rules are those that the store has now");
    } else if (mState.IsStoreUnread().value_or(false)) {
        mResult.reasons.emplace_back(
            "the store was changed since the service read it; limits are those on disk");
    }
}

} // namespace

Explanation Explain(const ServiceState& state, const CounterTrace& trace, const std::string& subject,
                    std::time_t at)
{
    return Explainer(state, trace, subject, at).Run();
}

Explanation ExplainService(const Common& common, const std::string& subject, std::time_t at, std::time_t now)
{
    ServiceState state = LookAtService(common);
    state.now = now; // else a second that ends in between would make a past time of the present
    // What ran at a time before this service was started may have been started at any time.
    const std::time_t since = state.since && at >= *state.since ? state.GetLogStart() : 0;
    const CounterTrace trace = ReadTrace(common.log, since, at, LOG_LIMIT);
    state.history = trace.history;
    return Explain(state, trace, subject, at);
}

} // namespace ctl
