#include "log/ServiceHistory.h"

#include <gtest/gtest.h>

#include "log/LogEvents.h"

using ctl::CounterHistory;
using ctl::HistoryBuilder;
using ctl::ServiceHistory;

namespace
{

/** Feeds lines to a history, a second apart. */
class HistoryFixture : public testing::Test
{
protected:
    void Say(const std::string& text)
    {
        if (const auto event = ctl::ParseLogText(text)) {
            mBuilder.Take(mTime, *event);
        }
        ++mTime;
    }
    void Start() { Say("Tarnhaven Health Sentinel Service started"); }
    void Pass() { Say("Tarnhaven Health Sentinel Service is monitoring the resources."); }
    void AddCounter() { Say("CPU counter added for process a with PID - 7 : a#7"); }
    void Breach()
    {
        Say("CPU threshold exceeded by process : a (7), Threshold : 1 Percent , Usage : 2.00 Percent");
    }
    const ServiceHistory& Get() { return mBuilder.GetHistory(); }
    const CounterHistory& GetCounter() { return Get().counters.at({7, "cpu"}); }

    HistoryBuilder mBuilder;
    std::time_t mTime = 1000;
};

} // namespace

TEST_F(HistoryFixture, CountsTheWindowByPassesAndStartsItAgainAfterSix)
{
    Start();
    AddCounter();
    for (const int position : {1, 2, 3, 4, 5, 6, 1}) {
        Pass();
        EXPECT_EQ(GetCounter().GetPosition(), position);
    }
}

TEST_F(HistoryFixture, CountsNamesThatReadAlikeWithoutTheirBadBytesAsOne)
{
    for (const char* const name : {"a\xff", "a\xfe"}) {
        Say(std::string("CPU threshold exceeded by process : ") + name +
            " (7), Threshold : 1 Percent , Usage : 2.00 Percent");
    }
    ASSERT_EQ(Get().breaches.size(), 1U);
    EXPECT_EQ(Get().breaches[0].process, "a\xef\xbf\xbd");
    EXPECT_EQ(Get().breaches[0].count, 2);
}

TEST_F(HistoryFixture, DoesNotKnowTheWindowOfACounterThatItDidNotSeeBegin)
{
    Pass();
    Breach();
    EXPECT_EQ(GetCounter().GetPosition(), std::nullopt);
    EXPECT_FALSE(Get().isComplete);
}

TEST_F(HistoryFixture, TakesTheWindowFromVerboseLinesAndDropsTheSixth)
{
    Pass();
    Say("Sum : 9 Percent, Reading# : 5, Running Average : 9 Percent for CPU for process a(7)");
    EXPECT_EQ(GetCounter().GetPosition(), 5);
    Pass();
    EXPECT_EQ(GetCounter().GetPosition(), 6);
    Pass();
    EXPECT_EQ(GetCounter().GetPosition(), 1);
}

TEST_F(HistoryFixture, CountsSetsForTheCounterThatBreached)
{
    Start();
    AddCounter();
    Say("Memory counter added for process a with PID - 7 : a#7");
    Breach();
    Say("Taking Process Dump (Count #1) for process a (7).");
    EXPECT_EQ(GetCounter().sets, 1);
    EXPECT_EQ(Get().counters.at({7, "memory"}).sets, 0);
    EXPECT_EQ(Get().sets, 1);
    ASSERT_EQ(Get().breaches.size(), 1U);
    EXPECT_EQ(Get().breaches[0].count, 1);
    Breach();
    Say("Dump count reached max allowed for process a : 1");
    EXPECT_TRUE(GetCounter().isExhausted);
    EXPECT_EQ(Get().breaches[0].count, 2);
}

TEST_F(HistoryFixture, KeepsTheIntervalOfTheLoadThatComesBeforeTheStart)
{
    Say("Processes will be monitored regularly after 300 seconds. It can be modified by changing "
        "THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    Start();
    EXPECT_EQ(Get().interval, 300);
}

TEST_F(HistoryFixture, ForgetsWhatWasBeforeAStart)
{
    Start();
    AddCounter();
    Pass();
    Say("Tarnhaven Health Sentinel Service stopped.");
    EXPECT_TRUE(Get().stopped);
    Start();
    EXPECT_FALSE(Get().stopped);
    EXPECT_TRUE(Get().counters.empty());
    EXPECT_FALSE(Get().lastPass);
}

TEST_F(HistoryFixture, KnowsALoadThatFailed)
{
    Start();
    Say("Reading the configuration from Tarnhaven configuration.");
    EXPECT_TRUE(Get().lastLoadFailed);
    Say("Configuration file successfully read.");
    EXPECT_FALSE(Get().lastLoadFailed);
    EXPECT_EQ(Get().lastLoad, 1001);
}

TEST_F(HistoryFixture, LeavesTheSettingsInForceWhereASecondStartReadThem)
{
    const auto load = [this](int interval) {
        Say("Reading the configuration from Tarnhaven configuration.");
        Say("Configuration file successfully read.");
        Say("Processes will be monitored regularly after " + std::to_string(interval) +
            " seconds. It can be modified by changing THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    };
    load(600);
    Start();
    Pass();
    const auto before = Get().lastLoad;
    ASSERT_EQ(Get().interval, 600);
    load(5);
    EXPECT_EQ(Get().interval, 600);
    EXPECT_EQ(Get().lastLoad, before);
    Pass();
    EXPECT_EQ(Get().interval, 5) << "the service reads them just before a pass";
    EXPECT_GT(Get().lastLoad, before);
}

TEST_F(HistoryFixture, KeepsWhatTheServiceComplainedOfAsItEndedByItself)
{
    const std::string complaint =
        "Tarnhaven configuration has invalid values. Check thsentinel log for details. Stopping Tarnhaven "
        "Health Sentinel Service/Daemon.";
    Start();
    Say("Reading the configuration from Tarnhaven configuration.");
    Say("Error: Failed to get the helper object."); // of a capture meanwhile
    EXPECT_EQ(Get().endFailure, std::nullopt);
    Say("Error:" + complaint);
    Say("Tarnhaven Health Sentinel Service stopped.");
    EXPECT_EQ(Get().endFailure, complaint);
    Say("Reading the configuration from Tarnhaven configuration.");
    EXPECT_EQ(Get().endFailure, complaint) << "a start that fails";
    Start();
    EXPECT_EQ(Get().endFailure, std::nullopt);
}
