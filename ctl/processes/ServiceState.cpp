#include "processes/ServiceState.h"

#include <algorithm>

#include "config/KeyTable.h"

#include "base/Common.h"
#include "log/LogFolder.h"
#include "store/PredictLoad.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

/** A copy of another host's store says nothing of this one's folders. */
FolderProbe GetProbe(const Common& common)
{
    if (common.store.empty() && common.evidence.empty()) {
        return GetHostProbe();
    }
    const auto always = [](const std::string&) { return true; };
    return {always, always};
}

/** The targets that the log names; nothing if there may be others. */
std::optional<std::vector<std::string>> GetNamedLevels(const ServiceState& state)
{
    const ServiceHistory& history = state.history;
    const Settings& settings = state.prediction.settings;
    const bool mayRaise = !state.IsStoreRead() || settings.Get(THHS_INCREASE_LOG_LEVEL) != 0;
    const bool isNamed = state.IsStoreRead() && settings.Get(THHS_VERBOSE) == 1;
    const bool isSilent = mayRaise && !isNamed && history.sets > 0;
    if (history.levels.empty() && (isSilent || !history.isComplete)) {
        return std::nullopt;
    }
    return std::vector<std::string>(history.levels.begin(), history.levels.end());
}

} // namespace

std::optional<bool> ServiceState::WasStopped() const
{
    const bool isSeen = history.started || history.lastPass || history.stopped;
    if (lock.IsRunning() || !history.failure.empty() || !isSeen) {
        return std::nullopt;
    }
    return history.stopped.has_value();
}

std::chrono::seconds ServiceState::GetInterval() const
{
    if (lock.IsRunning() && history.interval) {
        return std::chrono::seconds(*history.interval);
    }
    return std::chrono::seconds(prediction.settings.Get(THHS_POLL_INTERVAL));
}

bool ServiceState::IsIntervalKnown() const
{
    return IsStoreRead() || (lock.IsRunning() && history.interval);
}

std::chrono::seconds ServiceState::GetPassLength() const
{
    if (!history.lastPass || !history.passBefore) {
        return std::chrono::seconds(0);
    }
    const std::chrono::seconds between(*history.lastPass - *history.passBefore);
    const std::chrono::seconds sleep =
        history.passInterval ? std::chrono::seconds(*history.passInterval) : GetInterval();
    return std::max(std::chrono::seconds(0), between - sleep);
}

std::optional<std::time_t> ServiceState::GetNextPass() const
{
    if (!lock.IsRunning() || !history.lastPass || !IsIntervalKnown()) {
        return std::nullopt;
    }
    return *history.lastPass + (GetInterval() + GetPassLength()).count();
}

std::optional<bool> ServiceState::IsStuck() const
{
    if (!lock.IsRunning() || !history.lastPass || !IsIntervalKnown()) {
        return std::nullopt;
    }
    return now - *history.lastPass > (2 * GetInterval() + GetPassLength()).count();
}

bool ServiceState::IsStoreRead() const
{
    return store->GetFailure().empty();
}

std::optional<bool> ServiceState::AreSettingsValid() const
{
    if (store->IsMissing() && !lock.IsRunning()) { // one that runs goes on without a store
        return false;
    }
    return IsStoreRead() ? std::optional(prediction.result == 0) : std::nullopt;
}

std::optional<bool> ServiceState::IsStoreUnread() const
{
    const std::optional<std::time_t> changed = store->GetChangeTime();
    if (!lock.IsRunning() || !history.lastLoad || !changed) {
        return std::nullopt;
    }
    return *changed > *history.lastLoad;
}

std::optional<std::vector<std::string>> ServiceState::GetRaisedLevels() const
{
    if (!lock.IsRunning() || !history.failure.empty()) {
        return std::nullopt;
    }
    return GetNamedLevels(*this);
}

std::optional<std::vector<std::string>> ServiceState::GetLevelsLeftRaised() const
{
    const std::optional<bool> wasStopped = WasStopped();
    if (lock.state != DaemonLock::State::Stopped || !wasStopped) {
        return std::nullopt;
    }
    return *wasStopped ? std::vector<std::string>() : GetNamedLevels(*this);
}

const CounterHistory* ServiceState::FindHistory(const LiveCounter& counter) const
{
    const auto found = history.counters.find({counter.pid, GetName(counter.resource)});
    return found != history.counters.end() ? &found->second : nullptr;
}

std::optional<int> ServiceState::GetWindow(const LiveCounter& counter) const
{
    const CounterHistory* const found = FindHistory(counter);
    if (found != nullptr) {
        return found->GetPosition();
    }
    return history.isComplete ? std::optional(0) : std::nullopt;
}

std::optional<int> ServiceState::GetSetsTaken(const LiveCounter& counter) const
{
    const CounterHistory* const found = FindHistory(counter);
    if (found != nullptr && (found->isFromStart || found->lastSet)) {
        return found->sets;
    }
    return found == nullptr && history.isComplete ? std::optional(0) : std::nullopt;
}

std::time_t ServiceState::GetLogStart() const
{
    constexpr std::time_t TOLERANCE = 2; // the time of a start is known in whole seconds
    return since ? *since - TOLERANCE : 0;
}

ServiceState LookAtService(const Common& common)
{
    ServiceState state;
    state.now = std::time(nullptr);
    state.lock = AskForDaemon();
    if (state.lock.holder) {
        if (const auto details = ReadDetails(*state.lock.holder)) {
            state.since = GetStartTime(*details);
        }
    }
    state.store = OpenStore(common.store);
    state.prediction = PredictLoad(*state.store, GetProbe(common));
    const Settings& settings = state.prediction.settings;
    const WatchedNames names(ReadProcesses(), GetTableNames(GetListedNames(settings)),
                             state.lock.holder.value_or(0));
    state.live = FindLive(settings, names, ReadMachine());
    return state;
}

ServiceState ReadServiceState(const Common& common, std::uint64_t logLimit)
{
    ServiceState state = LookAtService(common);
    state.history = ReadHistory(ListLogs(common.log), state.GetLogStart(), logLimit);
    return state;
}

} // namespace ctl
