#pragma once

#include <chrono>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "log/ServiceHistory.h"
#include "processes/DaemonLock.h"
#include "processes/LiveMatches.h"
#include "store/LoadPrediction.h"

namespace ctl
{

class Store;
struct Common;

/** Everything that can be known of the service without asking it: lock, log, store and processes together. */
struct ServiceState
{
    std::time_t now = 0;
    DaemonLock lock;
    std::optional<std::time_t> since; ///< when the holder of the lock was started
    ServiceHistory history;
    std::unique_ptr<Store> store;
    LoadPrediction prediction; ///< of the store as it is on disk now
    LiveMatches live;          ///< of its lists

    /** From when on the log is of this run; 0 if nobody runs, as the last run may have been at any time. */
    std::time_t GetLogStart() const;
    /**
     * True if the last run ended by a stop, false if without one; nothing if the log doesn't say or it runs.
     */
    std::optional<bool> WasStopped() const;
    /** Seconds between two passes: those in force while the service runs, else those of the store on disk. */
    std::chrono::seconds GetInterval() const;
    /** False if that is a default alone, since the store can't be read. */
    bool IsIntervalKnown() const;
    /** How long the last pass took beyond the interval; 0 if it isn't known. */
    std::chrono::seconds GetPassLength() const;
    /** When the next pass is due; nothing if the last isn't known or nobody runs. */
    std::optional<std::time_t> GetNextPass() const;
    /** True if the last pass is older than two intervals and a pass; nothing if that can't be known. */
    std::optional<bool> IsStuck() const;
    /** True if the store on disk could be read; else the settings are unknown. */
    bool IsStoreRead() const;
    /** True if the service would start with the store on disk; nothing if that can't be read. */
    std::optional<bool> AreSettingsValid() const;
    /** True if the store was changed after the service had read it; nothing if that can't be known. */
    std::optional<bool> IsStoreUnread() const;
    /** Log targets whose levels are raised now; nothing if that can't be known. */
    std::optional<std::vector<std::string>> GetRaisedLevels() const;
    /**
     * Log targets whose levels the last service left raised as it ended without a stop; empty after a stop,
     * nothing while one runs and if that can't be known.
     */
    std::optional<std::vector<std::string>> GetLevelsLeftRaised() const;
    /** The history of a counter; null if the log doesn't know it. */
    const CounterHistory* FindHistory(const LiveCounter& counter) const;
    /**
     * The position in its window that the last pass had, 0 if no pass has seen it yet; nothing if unknown.
     */
    std::optional<int> GetWindow(const LiveCounter& counter) const;
    /** Evidence sets that were begun for a counter; nothing if that can't be known. */
    std::optional<int> GetSetsTaken(const LiveCounter& counter) const;
};

/** Looks at the service, but not at its log: `history` is empty. As careful as ReadServiceState. */
ServiceState LookAtService(const Common& common);

/**
 * Looks at the service. `logLimit` bounds the bytes of the log that are read, the newest of them. Takes no
 * lock, sends no signal, starts nothing and writes nothing.
 */
ServiceState ReadServiceState(const Common& common, std::uint64_t logLimit);

/** What status and metrics read of the log at most. */
constexpr std::uint64_t USUAL_LOG_LIMIT = std::uint64_t{16} * 1024 * 1024;

} // namespace ctl
