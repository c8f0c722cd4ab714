#include "processes/CounterTrace.h"

#include "base/Progress.h"
#include "base/TimeText.h"
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
    constexpr std::time_t LATE = 60; // a line may reach the log of the day after its stamp
    LogFolder logs = ListLogs(logFolder);
    const int lastDay = GetDay(ToWall(at + LATE));
    std::erase_if(logs.files, [lastDay](const DailyLog& log) { return log.day > lastDay; });
    TraceBuilder builder;
    Progress progress("reading the log", 0);
    progress.CountBytes();
    const auto take = [&builder, at](std::time_t time, const LogEvent& event) {
        if (time <= at) { // later ones may stand before, where the clock was set back
            builder.Take(time, event);
        }
        return true;
    };
    const std::string failure =
        VisitEvents(logs, since, limit, take, [&progress](std::uint64_t bytes) { progress.Advance(bytes); });
    CounterTrace trace = builder.Finish();
    trace.history.failure = failure;
    return trace;
}

} // namespace ctl
