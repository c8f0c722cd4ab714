#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "processes/CounterTrace.h"
#include "processes/LiveMatches.h"
#include "processes/ServiceState.h"

namespace ctl
{

struct Common;

/** Why one counter has, or hasn't, an evidence set. */
struct CounterExplanation
{
    std::string process;
    int pid = 0;
    Resource resource = Resource::Cpu;
    std::string unit;
    std::optional<int> limit;  ///< nothing if the store doesn't list it, or can't be read
    bool isKnown = true;       ///< false if it was started later, or the log holds nothing of that time
    std::optional<double> now; ///< the reading of that time, if it is known; nothing for what has ended
    std::vector<TracedReading> readings; ///< of the window, if verbose lines name them
    std::optional<long long> average;
    std::optional<int> window;           ///< position of the last pass
    std::optional<std::time_t> decision; ///< when the next decision is due
    std::optional<int> setsTaken;
    std::optional<int> setsAllowed; ///< nothing if the store can't be read
    int breaches = 0;
    std::optional<std::time_t> lastBreach;
    std::optional<std::time_t> lastSet;
    std::optional<double> secondsAtFull; ///< of one full processor from now until the limit; nothing if never
    std::vector<std::string> reasons;
};

/** An answer to `explain`. */
struct Explanation
{
    std::vector<CounterExplanation> counters;
    std::vector<std::string> reasons; ///< about the name as a whole
    std::optional<bool> isWatched;
    bool isWhole = false; ///< store and log could be read, and the log holds something of that time
};

/** Explains a name of the lists, or a process id, by what is known of the service at `at`. */
Explanation Explain(const ServiceState& state, const CounterTrace& trace, const std::string& subject,
                    std::time_t at);

/**
 * The same of this host's service, or of the copies that `common` names. Each byte of the log is read once at
 * most; what of the service the log shows is that of `at`.
 */
Explanation ExplainService(const Common& common, const std::string& subject, std::time_t at, std::time_t now);

} // namespace ctl
