#include "log/LogEvents.h"

#include <gtest/gtest.h>

using ctl::LogEvent;
using ctl::LogEventKind;
using ctl::ParseLogText;

TEST(LogEvents, ReadABreachWithItsNumbers)
{
    const auto event =
        ParseLogText("CPU threshold exceeded by process : exampled (4321), Threshold : 80 Percent , "
                     "Usage : 90.25 Percent");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, LogEventKind::Breach);
    EXPECT_EQ(event->process, "exampled");
    EXPECT_EQ(event->pid, 4321);
    EXPECT_EQ(event->resource, "cpu");
    EXPECT_EQ(event->limit, 80);
    EXPECT_EQ(event->unit, "Percent");
    EXPECT_DOUBLE_EQ(event->reading, 90.25);
}

TEST(LogEvents, ReadEvidenceThatIsTakenWithoutAThreshold)
{
    const auto event =
        ParseLogText("Memory Capturing evidence for process a (7) without threshold , Threshold : -1 MB , "
                     "Usage : 5.00 MB");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, LogEventKind::Forced);
    EXPECT_EQ(event->resource, "memory");
    EXPECT_EQ(event->limit, -1);
    EXPECT_EQ(event->unit, "MB");
}

TEST(LogEvents, TakeNamesFromTheEndOfTheLine)
{
    const auto event =
        ParseLogText("CPU threshold exceeded by process : a (1), Threshold : 1 b (2), Threshold : 80 "
                     "Percent , Usage : 90.25 Percent");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->process, "a (1), Threshold : 1 b");
    EXPECT_EQ(event->pid, 2);
}

TEST(LogEvents, ReadCapturesCountersAndTheService)
{
    const auto capture = ParseLogText("Taking Process Dump (Count #2) for process java (77).");
    ASSERT_TRUE(capture);
    EXPECT_EQ(capture->kind, LogEventKind::Capture);
    EXPECT_EQ(capture->number, 2);
    EXPECT_EQ(capture->pid, 77);
    const auto counter = ParseLogText("Memory counter added for process java with PID - 77 : java#77");
    ASSERT_TRUE(counter);
    EXPECT_EQ(counter->kind, LogEventKind::CounterAdded);
    EXPECT_EQ(counter->pid, 77);
    EXPECT_EQ(ParseLogText("Tarnhaven Health Sentinel Service started")->kind, LogEventKind::Started);
    EXPECT_EQ(ParseLogText("Tarnhaven Health Sentinel Service is monitoring the resources.")->kind,
              LogEventKind::Pass);
    EXPECT_EQ(ParseLogText("Dump count reached max allowed for process a : 3")->number, 3);
    EXPECT_EQ(ParseLogText("TakeMemorySnapshotAndDump (TID: 1) Dump has generated for pid 9")->kind,
              LogEventKind::CoreWritten);
    EXPECT_EQ(ParseLogText("TakeMemorySnapshotAndDump (TID : 1) Error: Failed to generate the dump for pid 9")
                  ->kind,
              LogEventKind::Failure);
    EXPECT_EQ(ParseLogText("Error: Failed to get the helper object.")->kind, LogEventKind::Failure);
}

TEST(LogEvents, ReadTheWindowFromVerboseLines)
{
    const auto event =
        ParseLogText("Sum : 180 Percent, Reading# : 2, Running Average : 90 Percent for CPU for process "
                     "exampled(4321)");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, LogEventKind::Reading);
    EXPECT_EQ(event->number, 2);
    EXPECT_EQ(event->pid, 4321);
    EXPECT_EQ(event->process, "exampled");
}

TEST(LogEvents, PassOverLinesThatAreCutOrSaySomethingElse)
{
    for (const char* const text :
         {"", "CPU ", "CPU threshold exceeded by process : a (1", "Taking Process Dump (Count #", "Sum : 1",
          "Cmd:/usr/bin/ps", "CPU counter added for process a with PID - x", "Inside CounterMgr"}) {
        EXPECT_FALSE(ParseLogText(text)) << text;
    }
}
