#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "log/ServiceHistory.h"

namespace ctl
{

/** A reading as a verbose line gives it. */
struct TracedReading
{
    std::time_t time = 0;
    double value = 0;
};

/** What the log tells of the service, and of the readings of some counters, up to a point in time. */
struct CounterTrace
{
    ServiceHistory history;
    std::map<CounterKey, std::vector<TracedReading>> readings; ///< those of the newest window, at most five

    /** The average of the readings as the daemon forms it: whole numbers, a fifth of their sum, cut. */
    static std::optional<long long> GetAverage(const std::vector<TracedReading>& readings);
};

/**
 * Reads the logs of a folder, or of the product's for an empty one, from the day of `since` up to `at`: of
 * these the newest `limit` bytes.
 */
CounterTrace ReadTrace(const std::string& logFolder, std::time_t since, std::time_t at, std::uint64_t limit);

} // namespace ctl
