#include "config/LoadFixture.h"
#include "counters/CounterMgr.h"

#include <climits>
#include <ostream>

namespace
{
/** An integer key that falls back to its default. */
struct KeyRow
{
    const char* mName;
    const char* mKey;
    int ConfigurationMgr::*mField;
    int mDefault;
    std::vector<int> mGood; ///< the last one is not the default
    std::vector<int> mBad;
    const char* mRest; ///< of the line, after the value

    friend void PrintTo(const KeyRow& row, std::ostream* out) { *out << row.mName; }
};

class RevertingKey : public LoadFixture, public testing::WithParamInterface<KeyRow>
{
protected:
    void SetUp() override
    {
        LoadFixture::SetUp();
        GetStore().mValues["_FORCE_READING_INTERVAL_"] = "1"; // any readings will do
    }

    int GetField() const { return mConfig->*GetParam().mField; }

    std::string GetLine(int value) const
    {
        return std::string("Invalid value for ") + GetParam().mKey + " : " + std::to_string(value) +
               GetParam().mRest;
    }

    /** The log of a load in which the key alone reverts. */
    Lines GetRevertedLog(int value) const
    {
        const std::string key = GetParam().mKey;
        LogOfLoad load = {{}, {}, 600, true};
        Lines& lines = key == "THHS_VERBOSE" ? load.mAfterEvidencePath : load.mBeforeJdkHome;
        lines = {GetLine(value)};
        if (key == "THHS_PURGE_OLD_EVIDENCE") {
            lines.push_back("Make sure that required evidences are copied before setting it to 1.");
        }
        return GetLog(load);
    }
};

TEST_P(RevertingKey, TakesEveryValueOfItsRange)
{
    for (const int value : GetParam().mGood) {
        mConfig->mVerbose = 0;
        Load(GetParam().mKey, std::to_string(value));
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(GetField(), value);
        EXPECT_EQ(GetLogLines(), GetLog({}));
        EXPECT_EQ(mConsole, "");
    }
}

TEST_P(RevertingKey, RevertsWithALineAndAWarning)
{
    for (const int value : GetParam().mBad) {
        Load(GetParam().mKey, std::to_string(value));
        EXPECT_EQ(mResult, 0) << value;
        EXPECT_EQ(GetField(), GetParam().mDefault) << value;
        EXPECT_EQ(GetLogLines(), GetRevertedLog(value));
        EXPECT_EQ(mConsole, std::string(WARNING) + "\n");
    }
}

TEST_P(RevertingKey, KeepsItsValueWhenTheKeyHasGone)
{
    const int value = GetParam().mGood.back();
    ASSERT_NE(value, GetParam().mDefault);
    Load(GetParam().mKey, std::to_string(value));
    GetStore().mValues.erase(GetParam().mKey);
    Load();
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(GetField(), value);
    EXPECT_EQ(mConsole, "");
}

TEST_P(RevertingKey, KeepsItsValueWhenTheNewOneIsNoNumber)
{
    const int value = GetParam().mGood.back();
    Load(GetParam().mKey, std::to_string(value));
    Load(GetParam().mKey, "abc");
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(GetField(), value);
    const std::string message =
        std::string("Invalid numeric value for ") + GetParam().mKey + " key in Tarnhaven configuration.";
    EXPECT_EQ(mConsole, message + "\n");
    EXPECT_EQ(GetLogLinesWith("nvalid"), Lines{message});
}

TEST_P(RevertingKey, DoesNotBringAStoredErrorBackWhenTheKeyHasGone)
{
    Load(GetParam().mKey, std::to_string(GetParam().mBad.front()));
    GetStore().mValues.erase(GetParam().mKey);
    Load();
    EXPECT_EQ(GetField(), GetParam().mDefault);
    EXPECT_EQ(GetLogLines(), GetLog({}));
    EXPECT_EQ(mConsole, "");
}

constexpr char SWITCH_TO_0[] = ". Value should be either 0 or 1. Proceeding with default value of 0.";
constexpr char SWITCH_TO_1[] = ". Value should be either 0 or 1. Proceeding with default value of 1.";
const std::vector<int> NO_SWITCH = {2, -1, 256, INT_MAX, INT_MIN};

INSTANTIATE_TEST_SUITE_P(
    Keys, RevertingKey,
    testing::Values(
        KeyRow{"DumpCount",
               "THHS_DUMP_COUNT",
               &ConfigurationMgr::mMaxDumpCount,
               3,
               {3, 1, 10},
               {0, 11, -1, INT_MAX, INT_MIN},
               ". Value should be greater between 1 and 10. Proceeding with default value of 3."},
        KeyRow{"CaptureNetworkStat",
               "THHS_CAPTURE_NETWORK_STAT",
               &ConfigurationMgr::mCaptureNetworkStat,
               1,
               {1, 0},
               NO_SWITCH,
               // without the dot of the others
               ". Value should be either 0 or 1. Proceeding with default value of 1"},
        KeyRow{"DeadlockInterval",
               "THHS_DEADLOCK_INTERVAL",
               &ConfigurationMgr::mDeadlockInterval,
               60,
               {60, INT_MAX, 1},
               {0, -1, INT_MIN},
               ". Value should be greater than 0. Proceeding with default value of 60 minutes. "},
        KeyRow{"IncreaseLogLevel",
               "THHS_INCREASE_LOG_LEVEL",
               &ConfigurationMgr::mIncreaseLogLevel,
               0,
               {0, 1},
               NO_SWITCH,
               SWITCH_TO_0},
        KeyRow{"CaptureProcessDump",
               "THHS_CAPTURE_PROCESS_DUMP",
               &ConfigurationMgr::mCaptureProcessDump,
               0,
               {0, 1},
               NO_SWITCH,
               SWITCH_TO_0},
        KeyRow{"AlwaysDump",
               "THHS_ALWAYS_DUMP",
               &ConfigurationMgr::mAlwaysDump,
               0,
               {0, 1},
               NO_SWITCH,
               SWITCH_TO_0},
        KeyRow{"CaptureDiskIO",
               "THHS_CAPTURE_DISK_IO",
               &ConfigurationMgr::mCaptureDiskIO,
               1,
               {1, 0},
               NO_SWITCH,
               SWITCH_TO_1},
        KeyRow{"NumberOfReadings",
               "THHS_NUMBER_OF_READINGS",
               &ConfigurationMgr::mNumberOfReadings,
               50,
               {50, INT_MAX, 1},
               {0, -1, INT_MIN},
               ". Value should be greater than 0. "},
        KeyRow{"ReadingInterval",
               "THHS_READING_INTERVAL",
               &ConfigurationMgr::mReadingInterval,
               5,
               {5, INT_MAX, 1},
               {0, -1, INT_MIN},
               ". Value should be greater than 0."},
        KeyRow{"PurgeOldEvidence",
               "THHS_PURGE_OLD_EVIDENCE",
               &ConfigurationMgr::mPurgeOldEvidence,
               0,
               {0, 1},
               NO_SWITCH,
               SWITCH_TO_0},
        KeyRow{"CaptureWithoutThreshold",
               "THHS_CAPTURE_WITHOUT_THRESHOLD",
               &ConfigurationMgr::mCaptureWithoutThreshold,
               0,
               {0, 1},
               NO_SWITCH,
               SWITCH_TO_0},
        KeyRow{"Verbose", "THHS_VERBOSE", &ConfigurationMgr::mVerbose, 0, {0, 1}, NO_SWITCH, SWITCH_TO_0}),
    NameOfRow());

using StoppingKey = LoadFixture;

TEST_F(StoppingKey, TheMemoryUnitStaysAsItWasTyped)
{
    for (const char* const unit : {"PERCENT", "ABSOLUTE", "percent", "Absolute", "pErCeNt"}) {
        Load("THHS_MEMORY_UNIT", unit);
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(mConfig->mMemoryUnit, unit);
        EXPECT_EQ(GetLogLines(), GetLog({}));
        EXPECT_EQ(mConsole, "");
    }
}

TEST_F(StoppingKey, TheMemoryUnitIsAbsoluteWithoutItsKey)
{
    Load("THHS_MEMORY_UNIT", "PERCENT");
    GetStore().mValues.erase("THHS_MEMORY_UNIT");
    Load();
    EXPECT_EQ(mConfig->mMemoryUnit, "ABSOLUTE");
    GetStore().mResults["THHS_MEMORY_UNIT"] = 228; // a text that comes with an unusual result
    Load("THHS_MEMORY_UNIT", "PERCENT");
    EXPECT_EQ(mConfig->mMemoryUnit, "ABSOLUTE");
    EXPECT_EQ(mResult, 0);
}

TEST_F(StoppingKey, AnyOtherMemoryUnitStops)
{
    for (const std::string unit : {"MB", "", "PERCENT ", "PERCENTS", "PERCEN"}) {
        Load("THHS_MEMORY_UNIT", unit);
        const std::string message =
            "Invalid value for THHS_MEMORY_UNIT : " + unit + ". Can only have values PERCENT or ABSOLUTE.";
        EXPECT_EQ(mResult, 101);
        EXPECT_EQ(GetLogLines(), (Lines{READING, message}));
        EXPECT_EQ(mConsole, message + "\n");
        EXPECT_EQ(GetStore().mReads, Lines{"THHS_MEMORY_UNIT"});
    }
}

TEST_F(StoppingKey, AMemoryUnitWithBadCharactersStops)
{
    Load("THHS_MEMORY_UNIT", "MB;");
    EXPECT_EQ(mResult, 102);
    EXPECT_EQ(mConfig->mMemoryUnit, "MB;");
    EXPECT_EQ(GetLogLines(),
              (Lines{READING, "There are non alpha numeric characters in the input ';'. Returning Error.",
                     "There are invalid characters in the input for THHS_MEMORY_UNIT."}));
    EXPECT_EQ(GetStore().mReads, Lines{"THHS_MEMORY_UNIT"});
}

TEST_F(StoppingKey, AMessageIsCutAtTheSizeOfItsBuffer)
{
    Load("THHS_MEMORY_UNIT", std::string(5000, 'x'));
    EXPECT_EQ(mResult, 101);
    EXPECT_EQ(mConsole, "Invalid value for THHS_MEMORY_UNIT : " + std::string(1023 - 37, 'x') + "\n");
    EXPECT_EQ(GetLogLines(), (Lines{READING, mConsole.substr(0, 1023)}));
}

TEST_F(StoppingKey, TheListsFillTheirManagers)
{
    GetStore().mValues["THHS_MONITOR_CPU"] = "a:1";
    GetStore().mValues["THHS_MONITOR_MEMORY"] = "b:2";
    GetStore().mValues["THHS_MONITOR_DEADLOCK"] = "c";
    Load();
    using Thresholds = std::map<std::string, int>;
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConfig->mCPUCounterMgr->GetProcessesRegisteredMonitoring(), (Thresholds{{"a", 1}}));
    EXPECT_EQ(mConfig->mMemoryCounterMgr->GetProcessesRegisteredMonitoring(), (Thresholds{{"b", 2}}));
    EXPECT_EQ(mConfig->mDeadLockCounterMgr->GetProcessesRegisteredMonitoring(), (Thresholds{{"c", 0}}));
    EXPECT_EQ(GetLogLines(), GetLog({{"Process a requested monitoring of CPU threshold of 1 ABSOLUTE.",
                                      "Process b requested monitoring of Memory threshold of 2 ABSOLUTE.",
                                      "Process c requested monitoring for Deadlock conditions."}}));

    // Lists that have gone are empty, and the names that they held stay known.
    GetStore().mValues = {{"THHS_EVIDENCE_PATH", mFolder}};
    Load();
    EXPECT_EQ(mResult, 0);
    for (CounterMgr* const manager :
         {mConfig->mCPUCounterMgr, mConfig->mMemoryCounterMgr, mConfig->mDeadLockCounterMgr}) {
        EXPECT_TRUE(manager->GetProcessesRegisteredMonitoring().empty());
    }
    EXPECT_EQ(mConfig->mMonitoredProcessNames, (std::set<std::string>{"a", "b", "c"}));
    EXPECT_EQ(GetLogLines(), GetLog({}));
}

TEST_F(StoppingKey, ABadListStopsWithItsOwnResult)
{
    const Lines lists = {"THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY", "THHS_MONITOR_DEADLOCK"};
    for (std::size_t index = 0; index < lists.size(); ++index) {
        Lines reads = {"THHS_MEMORY_UNIT"};
        reads.insert(reads.end(), lists.begin(), lists.begin() + static_cast<std::ptrdiff_t>(index) + 1);
        Load(lists[index], "a:");
        EXPECT_EQ(mResult, 101);
        EXPECT_EQ(GetStore().mReads, reads);
        Load(lists[index], "a:1..");
        EXPECT_EQ(mResult, 102);
        EXPECT_EQ(GetStore().mReads, reads);
        GetStore().mValues.erase(lists[index]);
    }
    Load();
    EXPECT_EQ(mResult, 0);
}

TEST_F(StoppingKey, ThePollIntervalTakesEveryPositiveNumber)
{
    GetStore().mValues["_FORCE_READING_INTERVAL_"] = "1";
    for (const int seconds : {1, 599, INT_MAX}) {
        Load("THHS_POLL_INTERVAL", std::to_string(seconds));
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(mConfig->mPollInterval, seconds);
        EXPECT_EQ(GetLogLines(), GetLog({{}, {}, seconds}));
    }
}

TEST_F(StoppingKey, ThePollIntervalIsItsDefaultWithoutItsKey)
{
    Load("THHS_POLL_INTERVAL", "900");
    GetStore().mValues.erase("THHS_POLL_INTERVAL");
    Load();
    EXPECT_EQ(mConfig->mPollInterval, 600);
    GetStore().mResults["THHS_POLL_INTERVAL"] = 228;
    Load("THHS_POLL_INTERVAL", "900");
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConfig->mPollInterval, 600);
}

TEST_F(StoppingKey, AnyOtherPollIntervalStops)
{
    for (const int seconds : {0, -1, INT_MIN}) {
        Load("THHS_POLL_INTERVAL", std::to_string(seconds));
        const std::string message = "Invalid value for THHS_POLL_INTERVAL : " + std::to_string(seconds) +
                                    ". Value should be greater than 0.";
        EXPECT_EQ(mResult, 101);
        EXPECT_EQ(mConfig->mPollInterval, seconds) << "read in place";
        EXPECT_EQ(GetLogLines(), (Lines{READING, message}));
        EXPECT_EQ(mConsole, message + "\n");
        EXPECT_EQ(GetStore().mReads.back(), "THHS_POLL_INTERVAL");
    }
}

TEST_F(StoppingKey, APollIntervalThatIsNoNumberStops)
{
    Load("THHS_POLL_INTERVAL", "900");
    Load("THHS_POLL_INTERVAL", "abc");
    const std::string message =
        "Invalid numeric value for THHS_POLL_INTERVAL key in Tarnhaven configuration.";
    EXPECT_EQ(mResult, 101);
    EXPECT_EQ(mConfig->mPollInterval, 900);
    EXPECT_EQ(GetLogLines(), (Lines{READING, message}));
    EXPECT_EQ(mConsole, message + "\n");
}

TEST_F(StoppingKey, FieldsReadBeforeTheBadOneHaveTheirNewValues)
{
    GetStore().mValues["THHS_MEMORY_UNIT"] = "PERCENT";
    GetStore().mValues["THHS_MONITOR_CPU"] = "a:1";
    GetStore().mValues["THHS_DUMP_COUNT"] = "7";
    Load("THHS_POLL_INTERVAL", "0");
    EXPECT_EQ(mConfig->mMemoryUnit, "PERCENT");
    EXPECT_EQ(mConfig->mCPUCounterMgr->GetProcessesRegisteredMonitoring().size(), 1U);
    EXPECT_EQ(mConfig->mMaxDumpCount, 3);
}
} // namespace
