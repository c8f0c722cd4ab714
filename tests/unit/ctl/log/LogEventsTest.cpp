#include "log/LogEvents.h"

#include <string>

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

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

TEST(LogEvents, ReadTheWindowFromVerboseLines)
{
    const auto event =
        ParseLogText("Sum : 180 Percent, Reading# : 2, Running Average : 90 Percent for CPU for process "
                     "exampled(4321)");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, LogEventKind::Window);
    EXPECT_EQ(event->number, 2);
    EXPECT_EQ(event->average, 90);
    EXPECT_EQ(event->resource, "cpu");
    EXPECT_EQ(event->pid, 4321);
    EXPECT_EQ(event->process, "exampled");
}

struct NameRow
{
    const char* text;
    const char* name;
};

class LogEventName : public testing::TestWithParam<NameRow>
{
};

TEST_P(LogEventName, EndsWhereAllThatFollowsFits)
{
    const auto event = ParseLogText(GetParam().text);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->process, GetParam().name);
    EXPECT_EQ(event->pid, 2);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LogEventName,
    testing::Values(
        NameRow{"CPU threshold exceeded by process : a (1), Threshold : 1 b (2), Threshold : 80 Percent , "
                "Usage : 90.25 Percent",
                "a (1), Threshold : 1 b"},
        NameRow{"Memory usage for process a(1) : 1.00 b(2) : 5.00 MB", "a(1) : 1.00 b"},
        NameRow{"Taking Process Dump (Count #1) for process a (b) (2).", "a (b)"},
        NameRow{"CPU counter added for process a with PID - b with PID - 2 : x", "a with PID - b"},
        NameRow{"Thread (TID : 14) created to take a process snapshot for a (PID : 1) (PID : 2)",
                "a (PID : 1)"}));

struct KindRow
{
    const char* text;
    LogEventKind kind;
    const char* process;
    int pid;
    int number;
    const char* detail;
};

TEST(LogEvents, PassOverTheLinesThatMostOfALogIsMadeOf)
{
    EXPECT_FALSE(MayReport("Process tbrd requested monitoring of CPU threshold of 80 ABSOLUTE."));
    EXPECT_FALSE(MayReport("Number of CPUs = 2"));
    EXPECT_FALSE(MayReport("Cmd:/usr/bin/ps -eo pid,%cpu,command"));
    EXPECT_TRUE(MayReport("CPU usage for process a(7) : 1.00 Percent"));
    EXPECT_FALSE(MayReportMore("CPU usage for process a(7) : 1.00 Percent"));
    EXPECT_TRUE(
        MayReportMore("Memory threshold exceeded by process : a (7), Threshold : 1 MB , Usage : 2.00 MB"));
    EXPECT_FALSE(MayReport(""));
    EXPECT_TRUE(MayReport("CPU threshold exceeded by process : a (7), Threshold : 80 Percent , Usage : 90.25 "
                          "Percent"));
}

class LogEventOfKind : public testing::TestWithParam<KindRow>
{
};

TEST_P(LogEventOfKind, IsKnownByItsText)
{
    const auto event = ParseLogText(GetParam().text);
    ASSERT_TRUE(event);
    EXPECT_TRUE(MayReport(GetParam().text));
    EXPECT_EQ(event->kind, GetParam().kind);
    EXPECT_EQ(event->process, GetParam().process);
    EXPECT_EQ(event->pid, GetParam().pid);
    EXPECT_EQ(event->number, GetParam().number);
    EXPECT_EQ(event->detail, GetParam().detail);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LogEventOfKind,
    testing::Values(
        KindRow{"Tarnhaven Health Sentinel Service started", LogEventKind::Started, "", 0, 0, ""},
        KindRow{"Tarnhaven Health Sentinel Service stopped.", LogEventKind::Stopped, "", 0, 0, ""},
        KindRow{"Tarnhaven Health Sentinel Service is monitoring the resources.", LogEventKind::Pass, "", 0,
                0, ""},
        KindRow{"Reading the configuration from Tarnhaven configuration.", LogEventKind::Load, "", 0, 0, ""},
        KindRow{"Configuration file successfully read.", LogEventKind::LoadDone, "", 0, 0, ""},
        KindRow{"Memory counter added for process java with PID - 77 : java#77", LogEventKind::CounterAdded,
                "java", 77, 0, ""},
        KindRow{"Taking Process Dump (Count #2) for process tbrd (66).", LogEventKind::Capture, "tbrd", 66, 2,
                ""},
        KindRow{"Dump count reached max allowed for process tbrd : 3", LogEventKind::Exhausted, "tbrd", 0, 3,
                ""},
        KindRow{"TakeMemorySnapshotAndDump (TID: 14) Dump has generated for pid 66",
                LogEventKind::CoreWritten, "", 66, 0, ""},
        KindRow{"TakeMemorySnapshotAndDump (TID : 14) Error: Failed to generate the dump for pid 66",
                LogEventKind::CoreFailed, "", 66, 0, ""},
        KindRow{
            "TakeMemorySnapshotAndDump (TID: 14) Error:/usr/bin/gcore file not found to generate the dump",
            LogEventKind::CoreToolMissing, "", 0, 0, "/usr/bin/gcore"},
        KindRow{"Thread (TID : 14) created to collect disk io performance data for threshold event "
                "generated by tbrd (PID : 66)",
                LogEventKind::CaptureStarted, "tbrd", 66, 0, "disk statistics"},
        KindRow{"Thread (TID : 14) created to take a process snapshot for tbrd (PID : 66)",
                LogEventKind::CaptureStarted, "tbrd", 66, 0, "core image"},
        KindRow{"Thread (TID : 14) created to take a java process snapshot for PID : 66",
                LogEventKind::CaptureStarted, "", 66, 0, "Java dump"},
        KindRow{"Memory Performance data collected successfully.", LogEventKind::CaptureDone, "", 0, 0,
                "memory statistics"},
        KindRow{"ThreadJavaProcessDump executed successfully.", LogEventKind::JavaDumpDone, "", 0, 0, ""},
        KindRow{"ThreadJavaProcessDump failed to execute : mv -f a \"b\"", LogEventKind::JavaDumpFailed, "",
                0, 0, "mv -f a \"b\""},
        KindRow{"Original DebugLevel for process 119 is : 1.", LogEventKind::LevelSaved, "119", 0, 1, ""},
        KindRow{"mDiagnosticLevel and  DebugLevel for the process 119 set to 6.", LogEventKind::LevelRaised,
                "119", 0, 0, ""},
        KindRow{"mDiagnosticLevel and  DebugLevel for the process 119 have been reset to original values.",
                LogEventKind::LevelRestored, "119", 0, 0, ""},
        KindRow{"Error: Failed to get the helper object.", LogEventKind::Failure, "", 0, 0,
                " Failed to get the helper object."}));

TEST(LogEvents, PassOverLinesThatAreCutOrSaySomethingElse)
{
    for (const char* const text :
         {"", "CPU ", "Disk Performance data collected successfully.", // its tools were started, no more
          "CPU threshold exceeded by process : a (1", "Taking Process Dump (Count #", "Sum : 1",
          "Cmd:/usr/bin/ps", "CPU counter added for process a with PID - x", "Inside CounterMgr",
          "Output: CPU usage for process tbrd(66) : 1.00 Percent",
          "CPU usage for process tbrd(99999999999) : 1.00 Percent",
          "CPU usage for process tbrd(66) : 1.00 Parsec", "Other Service started",
          "GPU usage for process tbrd(66) : 1.00 Percent"}) {
        EXPECT_FALSE(ParseLogText(text)) << text;
    }
    EXPECT_FALSE(ParseLogText(std::string(1 << 20, ')')));
}

TEST(LogEvents, MeetManyPlacesWhereANameCouldEndInNoLongTime)
{
    std::string text = "CPU usage for process ";
    for (int part = 0; part < 10000; ++part) {
        text += "(1) : ";
    }
    EXPECT_FALSE(ParseLogText(text));
}

TEST(LogEvents, TellFailuresFromWhatWentWell)
{
    EXPECT_TRUE(IsFailure(LogEventKind::CoreFailed));
    EXPECT_TRUE(IsFailure(LogEventKind::Failure));
    EXPECT_FALSE(IsFailure(LogEventKind::CoreWritten));
    EXPECT_FALSE(IsFailure(LogEventKind::Breach));
}

} // namespace
} // namespace ctl
