#include "processes/CounterTrace.h"

#include "log/LogEvents.h"
#include "log/LogFolder.h"

namespace ctl
{

namespace
{

constexpr std::size_t WINDOW = 5;

/** Follows the log; the readings of a window are those since its first position. */
class TraceBuilder
{
public:
    void Take(std::time_t time, const LogEvent& event)
    {
        mBuilder.Take(time, event);
        const CounterKey key = {event.pid, event.resource};
        if (event.kind == LogEventKind::Started) {
            mReadings.clear();
            mPending.clear();
        } else if (event.kind == LogEventKind::Usage) {
            mPending[key] = {time, event.reading};
        } else if (event.kind == LogEventKind::Window) { // follows the usage that was added to the sum
            std::vector<TracedReading>& readings = mReadings[key];
            if (event.number <= 1 || readings.size() >= WINDOW) {
                readings.clear();
            }
            readings.push_back(mPending[key]);
        }
    }

    CounterTrace Finish() { return {mBuilder.GetHistory(), mReadings}; }

private:
    HistoryBuilder mBuilder;
    std::map<CounterKey, std::vector<TracedReading>> mReadings;
    std::map<CounterKey, TracedReading> mPending;
};

} // namespace

std::optional<long long> CounterTrace::GetAverage(const std::vector<TracedReading>& readings)
{
    if (readings.size() < WINDOW) {
        return std::nullopt;
    }
    long long sum = 0;
    for (const TracedReading& reading : readings) {
        sum += static_cast<long long>(reading.value);
    }
    return sum / static_cast<long long>(WINDOW);
}

CounterTrace ReadTrace(const std::string& logFolder, std::time_t since, std::time_t at, std::uint64_t limit)
{
    TraceBuilder builder;
    const std::string failure = VisitEvents(ListLogs(logFolder), since, limit,
                                            [&builder, at](std::time_t time, const LogEvent& event) {
                                                if (time <= at) {
                                                    builder.Take(time, event);
                                                }
                                                return time <= at;
                                            });
    CounterTrace trace = builder.Finish();
    trace.history.failure = failure;
    return trace;
}

} // namespace ctl
