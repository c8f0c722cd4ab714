#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ctl
{

struct LogEvent;
struct LogFolder;

/** A counter is known by its process id and its resource ("cpu", "memory"). */
using CounterKey = std::pair<int, std::string>;

/** What the log tells about one counter since it was made. */
struct CounterHistory
{
    std::string process;    ///< the name in the process tables: "java" for every Java process
    std::string configured; ///< the name in the lists, as lines of readings and breaches have it; else empty
    bool isFromStart = false; ///< the line that made the counter was seen, so that all of it is known
    int passes = 0;           ///< passes since then, the one that made it included
    std::optional<int> verboseReading; ///< the last position that a verbose line gave
    int sets = 0;                      ///< evidence sets begun
    int breaches = 0;
    std::optional<std::time_t> lastBreach;
    std::optional<std::time_t> lastSet;
    bool isExhausted = false;

    /**
     * The position in the window, 1 to 6, that the last pass had: at 5 the decision falls, and the reading of
     * 6 is dropped. Nothing if the log doesn't reach back to the first pass of the counter.
     */
    std::optional<int> GetPosition() const;
};

/** A number of breaches of one watched name. */
struct BreachCount
{
    std::string process; ///< the configured name, as UTF-8
    std::string resource;
    int count = 0;
};

/** What the log tells about the service since its latest start. */
struct ServiceHistory
{
    std::optional<std::time_t> started; ///< the latest start in the log
    std::optional<std::time_t> stopped; ///< the end of it; nothing while it runs, or if it was killed
    std::optional<std::time_t>
        lastPass; ///< the latest line that a pass writes when it begins to read counters
    std::optional<std::time_t> passBefore; ///< the one before it
    std::optional<int> passInterval;       ///< seconds of the sleep between these two, if the log gives them
    std::optional<std::time_t> lastLoad;   ///< when the settings in force were read
    bool lastLoadFailed = false;           ///< that reading was not followed by its success
    /** What the service complained of before it ended by itself after that reading; else nothing. */
    std::optional<std::string> endFailure;
    std::optional<int> interval; ///< seconds between two passes, by that reading
    bool isComplete = false;     ///< everything since the start was read
    std::map<CounterKey, CounterHistory> counters;
    std::vector<BreachCount> breaches;
    std::set<std::string> levels; ///< log targets whose level was raised, as far as verbose lines name them
    int sets = 0;                 ///< evidence sets begun since the start
    int failures = 0;             ///< lines of errors
    std::string failure;          ///< why nothing could be read; empty if the log was read
};

/** Follows the events of a log in order. */
class HistoryBuilder
{
public:
    void Take(std::time_t time, const LogEvent& event);
    ServiceHistory& GetHistory() { return mHistory; }

private:
    void TakeService(std::time_t time, const LogEvent& event);
    void TakeStart(std::time_t time);
    void TakeCounter(std::time_t time, const LogEvent& event);
    void TakeBreach(std::time_t time, const LogEvent& event);
    void CountPass(std::time_t time);
    void PutLoadInForce();

    ServiceHistory mHistory;
    std::optional<std::time_t> mLoad;   ///< when somebody read the settings last
    std::optional<int> mInterval;       ///< by that reading
    std::optional<int> mIntervalAtPass; ///< in force when the last pass began
    CounterKey mBreaching = {0, ""};    ///< whose breach line came last; its capture line follows
};

/** Called for each event of a log, in order; false ends the reading. */
using EventVisitor = std::function<bool(std::time_t time, const LogEvent& event)>;

/**
 * Visits the events in the logs of a folder from the day of `since` on, in the newest `limit` bytes of them.
 * Returns why something can't be read; empty if all was. `advance`, if given, is called with the bytes that
 * were read since it was called last.
 */
std::string VisitEvents(const LogFolder& folder, std::time_t since, std::uint64_t limit,
                        const EventVisitor& visit,
                        const std::function<void(std::uint64_t bytes)>& advance = nullptr);

/**
 * Reads the logs of a folder from the day of `since` on, the newest `limit` bytes of them. With a limit that
 * cuts, what is older is not known.
 */
ServiceHistory ReadHistory(const LogFolder& folder, std::time_t since, std::uint64_t limit);

} // namespace ctl
