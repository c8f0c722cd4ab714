#include "counters/CounterFixture.h"
#include "platform/THUEnv.h"

#include <gmock/gmock.h>

#include <syslog.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace
{
constexpr std::size_t STAMP_LENGTH = 26;
constexpr std::size_t BREACH_TEXT_LENGTH = 2047;
constexpr std::size_t EVENT_TEXT_LENGTH = 511;

class CounterBreach : public CounterFixture
{
protected:
    /** Five passes with this reading, the last of which is a breach. */
    void Breach(double reading = 90.5)
    {
        mCounter.mReadingNumber = 1;
        mCounter.mSum = 0;
        for (int pass = 1; pass <= 5; ++pass) {
            mManager.Pass(reading);
        }
    }

    std::vector<std::string> GetSystemLog()
    {
        std::vector<std::string> texts;
        for (const auto& [priority, text] : GetSeams().mSystemLog) {
            EXPECT_EQ(priority, LOG_WARNING);
            texts.push_back(text);
        }
        return texts;
    }

    ReadingMgr mManager{"CPU"};
    Counter& mCounter = mManager.Add(42, "abc");
    int& mThreshold = mManager.mProcessesRegisteredMonitoring["abc"] = 80;
};

constexpr char BREACH_LINE[] =
    "CPU threshold exceeded by process : abc (42), Threshold : 80 Percent , Usage : 90.50 Percent";
} // namespace

TEST_F(CounterBreach, IsLoggedWithoutVerboseAndFollowedByTheDumpLine)
{
    Breach();
    EXPECT_THAT(GetLogLines(),
                ElementsAre(BREACH_LINE, "Taking Process Dump (Count #1) for process abc (42)."));
}

TEST_F(CounterBreach, GoesToTheSystemLogAsAWarningWithTheStampOfTheLogLine)
{
    Breach();
    ASSERT_EQ(GetSystemLog().size(), 1U);
    const std::string text = GetSystemLog().front();
    EXPECT_THAT(text, MatchesRegex("[0-9-]+ [0-9]+:[0-9]+:[0-9]+:[0-9]+ - CPU threshold exceeded .*"));
    EXPECT_EQ(text.substr(STAMP_LENGTH), BREACH_LINE);
    const std::string log = ReadFile(GetTHPerfMonLogFilePath());
    EXPECT_EQ(log.substr(0, log.find('\n')), text);
}

TEST_F(CounterBreach, IsInTheLogBeforeItIsInTheSystemLog)
{
    std::vector<Lines> logs;
    GetSeams().mSyslog = [&logs] { logs.push_back(GetLogLines()); };
    Breach();
    EXPECT_THAT(logs, ElementsAre(Lines{BREACH_LINE}));
}

TEST_F(CounterBreach, ComesAfterTheTraceOfItsPass)
{
    mThreshold = 1000;
    Breach();
    mCounter.mReadingNumber = 5;
    mCounter.mSum = 360;
    mThreshold = 80;
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "PERCENT";
    mManager.Pass(90.5);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre(
            "CPU usage for process abc(42) : 90.50 Percent", "CPU threshold for process abc(42) : 80 Percent",
            "Sum : 450 Percent, Reading# : 5, Running Average : 90 Percent for CPU for process abc(42)",
            "Running Average : 90 for CPU for process abc(42)", BREACH_LINE,
            "Taking Process Dump (Count #1) for process abc (42)."));
}

TEST_F(CounterBreach, IsNotReportedAtOrBelowTheThreshold)
{
    Breach(80.99);
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_THAT(GetSystemLog(), IsEmpty());
    EXPECT_THAT(mRecord.mActions, IsEmpty());
    EXPECT_EQ(mCounter.mDumpCount, 0);
}

TEST_F(CounterBreach, OfMemoryShowsMegabytesInTheAbsoluteUnitAlone)
{
    ReadingMgr memory("Memory");
    memory.mProcessesRegisteredMonitoring["abc"] = 80;
    memory.Add(42, "abc").mReadingNumber = 5;
    memory.mProcessIDAndCouterMap.at(42)->mSum = 400;
    memory.Pass(90.5);
    EXPECT_EQ(GetLogLines().front(),
              "Memory threshold exceeded by process : abc (42), Threshold : 80 MB , Usage : 90.50 MB");
    ForgetLog();
    mConfig->mMemoryUnit = "PERCENT";
    memory.mProcessIDAndCouterMap.at(42)->mReadingNumber = 5;
    memory.Pass(90.5);
    EXPECT_EQ(
        GetLogLines().front(),
        "Memory threshold exceeded by process : abc (42), Threshold : 80 Percent , Usage : 90.50 Percent");
}

TEST_F(CounterBreach, OfAJavaProcessNamesItTwoWays)
{
    mCounter.mIsJavaProcess = true;
    mCounter.mProcessName = "java";
    mCounter.mJavaProcessName = "thwmc";
    mManager.mProcessesRegisteredMonitoring["thwmc"] = 80;
    mConfig->mMaxDumpCount = 1;
    Breach();
    Breach();
    const std::string breachLine =
        "CPU threshold exceeded by process : thwmc (42), Threshold : 80 Percent , Usage : 90.50 Percent";
    EXPECT_THAT(GetLogLines(),
                ElementsAre(breachLine, "Taking Process Dump (Count #1) for process java (42).", breachLine,
                            "Dump count reached max allowed for process java : 1"));
}

TEST_F(CounterBreach, StartsNothingMoreOnceTheDumpCountIsReached)
{
    for (int breach = 1; breach <= 3; ++breach) {
        Breach();
        EXPECT_EQ(mCounter.mDumpCount, breach);
    }
    mRecord.mActions.clear();
    for (int breach = 4; breach <= 5; ++breach) {
        ForgetLog();
        GetSeams().mSystemLog.clear();
        Breach();
        EXPECT_THAT(GetLogLines(),
                    ElementsAre(BREACH_LINE, "Dump count reached max allowed for process abc : 3"));
        EXPECT_EQ(GetSystemLog().size(), 1U);
    }
    EXPECT_THAT(mRecord.mActions, IsEmpty());
    EXPECT_EQ(mCounter.mDumpCount, 3);
}

TEST_F(CounterBreach, StartsEvidenceAgainWhenAReloadRaisesTheDumpCount)
{
    mConfig->mMaxDumpCount = 1;
    Breach();
    Breach();
    mConfig->mMaxDumpCount = 2;
    Breach();
    EXPECT_EQ(mCounter.mDumpCount, 2);
    mConfig->mMaxDumpCount = 1;
    ForgetLog();
    Breach();
    EXPECT_EQ(mCounter.mDumpCount, 2) << "a count above the limit stays";
    EXPECT_EQ(GetLogLines().back(), "Dump count reached max allowed for process abc : 1");
}

TEST_F(CounterBreach, CountsForEachManagerByItself)
{
    ReadingMgr memory("Memory");
    memory.mProcessesRegisteredMonitoring["abc"] = 80;
    const Counter& other = memory.Add(42, "abc");
    Breach();
    Breach();
    EXPECT_EQ(other.mDumpCount, 0);
    mConfig->mCaptureWithoutThreshold = 1;
    memory.Pass(0.0);
    EXPECT_EQ(other.mDumpCount, 1);
    EXPECT_EQ(mCounter.mDumpCount, 2);
}

TEST_F(CounterBreach, WithoutThresholdFiresThreeTimesInARowAndThenWritesTwoLinesAPass)
{
    mManager.mProcessesRegisteredMonitoring.clear();
    mConfig->mCaptureWithoutThreshold = 1;
    const std::string breachLine =
        "CPU Capturing evidence for process abc (42) without threshold , Threshold : -1 Percent , Usage : "
        "7.25 Percent";
    for (int pass = 1; pass <= 8; ++pass) {
        ForgetLog();
        mManager.Pass(7.25);
        const std::string second =
            pass <= 3 ? "Taking Process Dump (Count #" + std::to_string(pass) + ") for process abc (42)."
                      : "Dump count reached max allowed for process abc : 3";
        EXPECT_THAT(GetLogLines(), ElementsAre(breachLine, second)) << "pass " << pass;
    }
    EXPECT_EQ(mCounter.mDumpCount, 3);
    EXPECT_THAT(GetSystemLog(), IsEmpty()) << "nothing of this mode goes to the system log";
}

TEST_F(CounterBreach, StartsItsEvidenceAlsoWithoutALog)
{
    LoseLog();
    Breach();
    EXPECT_EQ(mCounter.mDumpCount, 1);
    EXPECT_EQ(mRecord.mActions.size(), 4U);
    EXPECT_EQ(GetSystemLog().size(), 1U);
}

// ---- Cut texts
// -------------------------------------------------------------------------------------------------

namespace
{
/** The breach of a process with a name of this length; the text has room for some names only. */
class LongBreachText : public CounterFixture, public testing::WithParamInterface<std::size_t>
{
};
} // namespace

TEST_P(LongBreachText, IsCutAtItsLimitInBothLogs)
{
    const std::string name(GetParam(), 'p');
    ReadingMgr manager("CPU");
    manager.mProcessesRegisteredMonitoring[name] = 80;
    Counter& counter = manager.Add(42, name);
    counter.mReadingNumber = 5;
    counter.mSum = 400;
    manager.Pass(90.5);
    const std::string whole = "CPU threshold exceeded by process : " + name +
                              " (42), Threshold : 80 Percent , Usage : 90.50 Percent";
    const std::string expected = whole.substr(0, BREACH_TEXT_LENGTH - STAMP_LENGTH);
    EXPECT_EQ(GetLogLines().at(0), expected);
    EXPECT_EQ(GetLogLines().at(1), "Taking Process Dump (Count #1) for process " + name + " (42).");
    ASSERT_EQ(GetSeams().mSystemLog.size(), 1U);
    EXPECT_EQ(GetSeams().mSystemLog.front().mText.substr(STAMP_LENGTH), expected);
}

// 1932 is the last name that fits whole: the text around it and the stamp take 115 characters.
INSTANTIATE_TEST_SUITE_P(NameLengths, LongBreachText, testing::Values(0, 1, 1932, 1933, 3000, 100000));

namespace
{
/** An event with a label of this length. */
class LongEventText : public CounterFixture, public testing::WithParamInterface<std::size_t>
{
};
} // namespace

TEST_P(LongEventText, IsCutAtItsLimit)
{
    const std::string label(GetParam(), 'l');
    mConfig->mCaptureProcessDump = 1;
    ReadingMgr manager(label);
    manager.mProcessesRegisteredMonitoring["abc"] = 80;
    Counter& counter = manager.Add(42, "abc");
    counter.mReadingNumber = 5;
    counter.mSum = 400;
    manager.Pass(90.5);
    const std::string whole =
        "Dump Event : " + label +
        " threshold detected by Tarnhaven Health Sentinel Service (Current Usage : 90.50 "
        "Percent,  Threshold Set : 80 Percent)";
    EXPECT_EQ(mRecord.mActions.front(),
              "#1 CreateProcessDump | abc | 42 | " + whole.substr(0, EVENT_TEXT_LENGTH) + " | " + label);
}

// 381 is the last label that fits whole: the text around it takes 130 characters.
INSTANTIATE_TEST_SUITE_P(LabelLengths, LongEventText, testing::Values(0, 3, 381, 382, 600, 100000));
