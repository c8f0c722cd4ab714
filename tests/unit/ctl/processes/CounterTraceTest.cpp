#include "processes/CounterTrace.h"

#include <gtest/gtest.h>

#include "ctl/evidence/EvidenceFolder.h"
#include "log/LogFolder.h"

namespace ctl
{
namespace
{

constexpr std::uint64_t ALL = 1U << 20U;
const std::string STARTED = "Tarnhaven Health Sentinel Service started";

/** A log of one day, a second a line from 02:00:00 on. */
class TraceFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    void Say(const std::string& text)
    {
        char stamp[64];
        (void)snprintf(stamp, sizeof stamp, "2026-11-13 02:%02d:%02d:000 - ", mSeconds / 60, mSeconds % 60);
        mLog += stamp + text + "\n";
        ++mSeconds;
    }

    /** A reading with the line of the window that follows it. */
    void Read(int number, const std::string& value)
    {
        Say("CPU usage for process a(7) : " + value + " Percent");
        Say("Sum : 1 Percent, Reading# : " + std::to_string(number) +
            ", Running Average : 1 Percent for CPU for process a(7)");
    }

    CounterTrace Trace(int until = 3600)
    {
        mFolder.Write("root.111326_00001.log", mLog);
        return ReadTrace(mFolder.GetRoot(), MIDNIGHT, MIDNIGHT + 7200 + until, ALL);
    }

    std::vector<double> GetReadings(const CounterTrace& trace)
    {
        std::vector<double> values;
        if (const auto found = trace.readings.find({7, "cpu"}); found != trace.readings.end()) {
            for (const TracedReading& reading : found->second) {
                values.push_back(reading.value);
            }
        }
        return values;
    }

    static constexpr std::time_t MIDNIGHT = 1794528000; // 2026-11-13
    EvidenceFolder mFolder;
    std::string mLog;
    int mSeconds = 0;
};

TEST_F(TraceFixture, HoldsTheReadingsOfTheNewestWindow)
{
    Say(STARTED);
    for (const int number : {1, 2, 3, 4, 5}) {
        Read(number, std::to_string(number) + ".90");
    }
    EXPECT_EQ(GetReadings(Trace()), (std::vector<double>{1.9, 2.9, 3.9, 4.9, 5.9}));
    Read(1, "6.00");
    EXPECT_EQ(GetReadings(Trace()), (std::vector<double>{6}));
}

TEST_F(TraceFixture, EndsAtItsTime)
{
    Say(STARTED);
    Read(1, "1.00");
    Read(2, "2.00"); // seconds 3 and 4
    EXPECT_EQ(GetReadings(Trace(2)), (std::vector<double>{1}));
    EXPECT_EQ(GetReadings(Trace(4)), (std::vector<double>{1, 2}));
}

TEST_F(TraceFixture, ForgetsReadingsAtAStart)
{
    Read(1, "1.00");
    Say(STARTED);
    EXPECT_TRUE(GetReadings(Trace()).empty());
}

TEST_F(TraceFixture, IsReadByAVisitThatCountsEachByte)
{
    Say("nothing of interest");
    Say(STARTED);
    mLog += "output of a tool\n";
    mFolder.Write("root.111326_00001.log", mLog);
    mFolder.Write("root.111426_00001.log", mLog);
    std::uint64_t sum = 0;
    const auto take = [](std::time_t, const LogEvent&) { return true; };
    EXPECT_EQ(
        VisitEvents(ListLogs(mFolder.GetRoot()), 0, ALL, take, [&sum](std::uint64_t bytes) { sum += bytes; }),
        "");
    EXPECT_EQ(sum, 2 * mLog.size());
}

TEST_F(TraceFixture, SaysThatThereIsNoFolder)
{
    EXPECT_EQ(ReadTrace("/nowhere", 0, 1, ALL).history.failure, "/nowhere: No such file or directory");
}

TEST(WindowAverage, IsAFifthOfTheWholeReadings)
{
    std::vector<TracedReading> readings;
    for (const double value : {1.9, 2.9, 3.9, 4.9}) {
        readings.push_back({0, value});
    }
    EXPECT_EQ(CounterTrace::GetAverage(readings), std::nullopt);
    readings.push_back({0, 6.9});
    EXPECT_EQ(CounterTrace::GetAverage(readings), 3) << "16 by 5";
}

TEST_F(TraceFixture, ReadsBackFromItsTimeHoweverLargeTheLogsAfterItAre)
{
    Say(STARTED);
    Say("CPU counter added for process a with PID - 7 : a#7");
    const CounterTrace whole = Trace();
    mFolder.Write("root.111426_00001.log", std::string(mLog.size(), 'x'));
    const CounterTrace trace =
        ReadTrace(mFolder.GetRoot(), 0, MIDNIGHT + 7200 + 3600, static_cast<std::uint64_t>(mLog.size()));
    EXPECT_EQ(trace.history.counters.count({7, "cpu"}), 1U) << "the log of the day after isn't read";
    EXPECT_EQ(trace.history.started, whole.history.started);
}

TEST_F(TraceFixture, KnowsTheListedNameOfAJavaProcessByItsReadings)
{
    Say(STARTED);
    Say("CPU counter added for process java with PID - 7 : java#7");
    EXPECT_EQ(Trace().history.counters.at({7, "cpu"}).configured, "");
    Say("CPU usage for process thwmc(7) : 5.00 Percent");
    EXPECT_EQ(Trace().history.counters.at({7, "cpu"}).configured, "thwmc");
}

} // namespace
} // namespace ctl
