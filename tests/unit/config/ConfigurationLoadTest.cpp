#include "config/LoadFixture.h"
#include "platform/THUEnv.h"
#include "support/HelperSeam.h"

#include <filesystem>
#include <ostream>

namespace
{
using ConfigurationLoad = LoadFixture;

const Lines KEYS = {"THHS_MEMORY_UNIT",
                    "THHS_MONITOR_CPU",
                    "THHS_MONITOR_MEMORY",
                    "THHS_MONITOR_DEADLOCK",
                    "THHS_POLL_INTERVAL",
                    "THHS_DUMP_COUNT",
                    "THHS_CAPTURE_NETWORK_STAT",
                    "THHS_DEADLOCK_INTERVAL",
                    "THHS_INCREASE_LOG_LEVEL",
                    "THHS_CAPTURE_PROCESS_DUMP",
                    "THHS_ALWAYS_DUMP",
                    "THHS_CAPTURE_DISK_IO",
                    "_FORCE_READING_INTERVAL_",
                    "THHS_NUMBER_OF_READINGS",
                    "THHS_READING_INTERVAL",
                    "THHS_PURGE_OLD_EVIDENCE",
                    "THHS_CAPTURE_WITHOUT_THRESHOLD",
                    "THHS_JDK_HOME",
                    "THHS_EVIDENCE_PATH",
                    "THHS_VERBOSE"};

TEST_F(ConfigurationLoad, ReadsEachKeyOnceInOrder)
{
    Load();
    EXPECT_EQ(GetStore().mReads, KEYS);
    EXPECT_EQ(GetStore().mHandles, 20);
    EXPECT_EQ(GetStore().mForcedReads, 0);
}

TEST_F(ConfigurationLoad, NeedsTheEvidencePathAlone)
{
    Load();
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConsole, "");
    EXPECT_EQ(
        GetLogLines(),
        (Lines{
            "Reading the configuration from Tarnhaven configuration.",
            "JDK Home is not set. Java stack dump will not be captured.",
            "THHS_EVIDENCE_PATH is set to " + mFolder + "/thsentinel. Check the folder for collected logs.",
            "Configuration file successfully read.",
            "Processes will be monitored regularly after 600 seconds. It can be modified by changing "
            "THHS_POLL_INTERVAL value in Tarnhaven configuration."}));
}

TEST_F(ConfigurationLoad, LeavesTheDefaultsOfAnEmptyStoreAndFailsForTheEvidencePath)
{
    GetStore().mValues.clear();
    Load();
    EXPECT_EQ(mResult, 101);
    EXPECT_EQ(GetStore().mReads, Lines(KEYS.begin(), KEYS.end() - 1));
    const std::string message =
        "THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the file system, "
        "that has sufficient space to store logs.";
    EXPECT_EQ(mConsole, message + "\n");
    EXPECT_EQ(GetLogLines(), (Lines{READING, NO_JDK_HOME, message}));
    EXPECT_EQ(mConfig->mMemoryUnit, "ABSOLUTE");
    EXPECT_EQ(mConfig->mPollInterval, 600);
    EXPECT_EQ(mConfig->mMaxDumpCount, 3);
    EXPECT_EQ(mConfig->mCaptureNetworkStat, 1);
    EXPECT_EQ(mConfig->mNumberOfReadings, 50);
    EXPECT_EQ(mConfig->mReadingInterval, 5);
    EXPECT_EQ(mConfig->mEvidencePath, "");
}

TEST_F(ConfigurationLoad, ReportsAllThatIsWrongInTheOrderOfTheKeys)
{
    GetStore().mValues = {{"THHS_MEMORY_UNIT", "percent"},
                          {"THHS_MONITOR_CPU", "thwmc:90, tbrd : 75"},
                          {"THHS_MONITOR_MEMORY", "tbrd:2048"},
                          {"THHS_MONITOR_DEADLOCK", "tbrd, tbcs"},
                          {"THHS_POLL_INTERVAL", "30"},
                          {"THHS_DUMP_COUNT", "11"},
                          {"THHS_CAPTURE_NETWORK_STAT", "2"},
                          {"THHS_DEADLOCK_INTERVAL", "0"},
                          {"THHS_INCREASE_LOG_LEVEL", "3"},
                          {"THHS_CAPTURE_PROCESS_DUMP", "4"},
                          {"THHS_ALWAYS_DUMP", "abc"},
                          {"THHS_CAPTURE_DISK_IO", "-1"},
                          {"_FORCE_READING_INTERVAL_", "x"},
                          {"THHS_NUMBER_OF_READINGS", "0"},
                          {"THHS_READING_INTERVAL", "-5"},
                          {"THHS_PURGE_OLD_EVIDENCE", "9"},
                          {"THHS_CAPTURE_WITHOUT_THRESHOLD", "7"},
                          {"THHS_JDK_HOME", "/opt/../jdk"},
                          {"THHS_EVIDENCE_PATH", mFolder},
                          {"THHS_VERBOSE", "2"}};
    Load();
    EXPECT_EQ(mResult, 0);
    const std::string switchText = "Value should be either 0 or 1. Proceeding with default value of ";
    EXPECT_EQ(
        GetLogLines(),
        (Lines{
            READING,
            "Process java requested monitoring of CPU threshold of 90 ABSOLUTE.",
            "Process tbrd requested monitoring of CPU threshold of 75 ABSOLUTE.",
            "Process tbrd requested monitoring of Memory threshold of 2048 ABSOLUTE.",
            "Process tbrd requested monitoring for Deadlock conditions.",
            "Process tbcs requested monitoring for Deadlock conditions.",
            "Invalid value for THHS_DUMP_COUNT : 11. Value should be greater between 1 and 10. "
            "Proceeding with default value of 3.",
            "Invalid value for THHS_CAPTURE_NETWORK_STAT : 2. " + switchText + "1",
            "Invalid value for THHS_DEADLOCK_INTERVAL : 0. Value should be greater than 0. "
            "Proceeding with default value of 60 minutes. ",
            "Invalid value for THHS_INCREASE_LOG_LEVEL : 3. " + switchText + "0.",
            "Invalid value for THHS_CAPTURE_PROCESS_DUMP : 4. " + switchText + "0.",
            "Invalid numeric value for THHS_ALWAYS_DUMP key in Tarnhaven configuration.",
            "Invalid value for THHS_CAPTURE_DISK_IO : -1. " + switchText + "1.",
            "Invalid numeric value for _FORCE_READING_INTERVAL_ key in Tarnhaven configuration.",
            "Invalid value for THHS_NUMBER_OF_READINGS : 0. Value should be greater than 0. ",
            "Invalid value for THHS_READING_INTERVAL : -5. Value should be greater than 0.",
            "Invalid combination of THHS_READING_INTERVAL : 5 and THHS_NUMBER_OF_READINGS : 50 and "
            "THHS_POLL_INTERVAL : 30. The product of THHS_READING_INTERVAL and THHS_NUMBER_OF_READINGS "
            "should be less than the THHS_POLL_INTERVAL.",
            "THHS_READING_INTERVAL is set to : 1, optimized based on the value of THHS_POLL_INTERVAL",
            "THHS_NUMBER_OF_READINGS is set to : 29, optimized based on the value of THHS_POLL_INTERVAL",
            "Invalid value for THHS_PURGE_OLD_EVIDENCE : 9. " + switchText + "0.",
            "Make sure that required evidences are copied before setting it to 1.",
            "Invalid value for THHS_CAPTURE_WITHOUT_THRESHOLD : 7. " + switchText + "0.",
            "There are unauthorized characters detected in the input. Returning Error.",
            "There are invalid characters in the input for THHS_JDK_HOME.",
            "THHS_EVIDENCE_PATH is set to " + mFolder + "/thsentinel. Check the folder for collected logs.",
            "Invalid value for THHS_VERBOSE : 2. " + switchText + "0.",
            SUCCESS,
            "Processes will be monitored regularly after 30 seconds. It can be modified by changing "
            "THHS_POLL_INTERVAL value in Tarnhaven configuration.",
            WARNING}));
    EXPECT_EQ(mConsole, "Invalid numeric value for THHS_ALWAYS_DUMP key in Tarnhaven configuration.\n"
                        "Invalid numeric value for _FORCE_READING_INTERVAL_ key in Tarnhaven configuration.\n"
                        "There are invalid characters in the input for THHS_JDK_HOME.\n" +
                            std::string(WARNING) + "\n");
}

TEST_F(ConfigurationLoad, TracesEveryAbsentKeyInOrderWhenVerbose)
{
    mConfig->mVerbose = 1;
    GetStore().mValues["THHS_JDK_HOME"] = "/opt/jdk";
    Load();
    Lines log = {READING};
    for (const std::string& key : KEYS) {
        if (key == "THHS_JDK_HOME") {
            log.push_back("JDK Home is set to /opt/jdk . ");
        } else if (key == "THHS_EVIDENCE_PATH") {
            log.push_back("THHS_EVIDENCE_PATH is set to " + mFolder +
                          "/thsentinel. Check the folder for collected logs.");
        } else {
            log.push_back(key + " not defined in Tarnhaven configuration.");
        }
    }
    log.push_back(SUCCESS);
    log.push_back("Processes will be monitored regularly after 600 seconds. It can be modified by changing "
                  "THHS_POLL_INTERVAL value in Tarnhaven configuration.");
    EXPECT_EQ(GetLogLines(), log);
    EXPECT_EQ(mConsole, "");
}

TEST_F(ConfigurationLoad, IsTracedByTheValueOfTheLoadBefore)
{
    const struct
    {
        const char* mVerbose;
        std::size_t mTraces;
    } loads[] = {{"1", 0}, {"1", 18}, {"0", 18}, {"1", 0}, {"2", 18}, {"1", 0}};
    for (const auto& load : loads) {
        Load("THHS_VERBOSE", load.mVerbose);
        EXPECT_EQ(GetLogLinesWith(" not defined in Tarnhaven configuration.").size(), load.mTraces)
            << &load - loads;
    }
}

TEST_F(ConfigurationLoad, PrintsBeforeItLogs)
{
    const std::vector<off_t> refused = GetConsoleSizesAtLogLines([] {
        GetStore().mValues["THHS_POLL_INTERVAL"] = "0";
        EXPECT_EQ(ConfigurationMgr::GetInstance()->ReadConfigurationFile(), 101);
    });
    ASSERT_EQ(refused.size(), 2U);
    EXPECT_EQ(refused[0], 0);
    EXPECT_GT(refused[1], 0);

    const std::vector<off_t> warned = GetConsoleSizesAtLogLines([] {
        GetStore().mValues["THHS_POLL_INTERVAL"] = "600";
        GetStore().mValues["THHS_DUMP_COUNT"] = "0";
        EXPECT_EQ(ConfigurationMgr::GetInstance()->ReadConfigurationFile(), 0);
    });
    ASSERT_EQ(warned.size(), 7U);
    EXPECT_EQ(warned[5], 0);
    EXPECT_GT(warned[6], 0);
}

TEST_F(ConfigurationLoad, LeavesReadersAndListsToLogBeforeTheyPrint)
{
    const std::vector<off_t> sizes = GetConsoleSizesAtLogLines([] {
        GetStore().mValues["THHS_POLL_INTERVAL"] = "abc";
        EXPECT_EQ(ConfigurationMgr::GetInstance()->ReadConfigurationFile(), 101);
        GetStore().mValues["THHS_MONITOR_CPU"] = "a";
        EXPECT_EQ(ConfigurationMgr::GetInstance()->ReadConfigurationFile(), 101);
    });
    ASSERT_EQ(sizes.size(), 4U); // twice the first line of the load, and one of each kind
    EXPECT_EQ(sizes[1], 0);
    EXPECT_GT(sizes[2], 0);
    EXPECT_EQ(sizes[3], sizes[2]);
}

TEST_F(ConfigurationLoad, StopsWithoutAHelper)
{
    ForgetConfiguration();
    GetHelperSeam().mMake = [] { return nullptr; };
    mConfig = ConfigurationMgr::GetInstance();
    Load();
    EXPECT_EQ(mResult, 15);
    EXPECT_EQ(GetLogLines(), Lines{READING});
    EXPECT_EQ(mConsole, "");
    EXPECT_EQ(GetStore().mReads, Lines());
}

TEST_F(ConfigurationLoad, SucceedsWithoutALog)
{
    SpoilLogFolder();
    GetStore().mValues["THHS_DUMP_COUNT"] = "0";
    GetStore().mValues["THHS_MONITOR_CPU"] = "a:1";
    mConsole = GetConsole([this] { mResult = mConfig->ReadConfigurationFile(); });
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mConsole, std::string(WARNING) + "\n");
    EXPECT_EQ(mConfig->mMaxDumpCount, 3);
    EXPECT_TRUE(std::filesystem::is_directory(mFolder + "/thsentinel"));
    EXPECT_EQ(ReadFile(GetTHPerfMonLogPath()), "not a folder");
}

struct FitRow
{
    const char* mName;
    std::map<std::string, std::string> mValues;
    int mInterval;
    int mCount;
    Lines mLines; ///< empty when the readings fit

    friend void PrintTo(const FitRow& row, std::ostream* out) { *out << row.mName; }
};

Lines Fitted(const std::string& interval, const std::string& count, const std::string& poll,
             const std::string& newInterval, const std::string& newCount)
{
    return {"Invalid combination of THHS_READING_INTERVAL : " + interval +
                " and THHS_NUMBER_OF_READINGS : " + count + " and THHS_POLL_INTERVAL : " + poll +
                ". The product of THHS_READING_INTERVAL and THHS_NUMBER_OF_READINGS should be less than the "
                "THHS_POLL_INTERVAL.",
            "THHS_READING_INTERVAL is set to : " + newInterval +
                ", optimized based on the value of THHS_POLL_INTERVAL",
            "THHS_NUMBER_OF_READINGS is set to : " + newCount +
                ", optimized based on the value of THHS_POLL_INTERVAL"};
}

constexpr char POLL[] = "THHS_POLL_INTERVAL";
constexpr char COUNT[] = "THHS_NUMBER_OF_READINGS";
constexpr char INTERVAL[] = "THHS_READING_INTERVAL";
constexpr char FORCE[] = "_FORCE_READING_INTERVAL_";

class ReadingFit : public LoadFixture, public testing::WithParamInterface<FitRow>
{
};

TEST_P(ReadingFit, IsLoggedWithoutAWarningAtEachLoad)
{
    GetStore().mValues.insert(GetParam().mValues.begin(), GetParam().mValues.end());
    GetStore().mValues.insert({{INTERVAL, "5"}, {COUNT, "50"}}); // unless the row has its own
    for (int load = 0; load < 2; ++load) {
        Load();
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(mConfig->mReadingInterval, GetParam().mInterval);
        EXPECT_EQ(mConfig->mNumberOfReadings, GetParam().mCount);
        EXPECT_EQ(GetLogLines(), GetLog({GetParam().mLines, {}, mConfig->mPollInterval}));
        EXPECT_EQ(mConsole, "");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Combinations, ReadingFit,
    testing::Values(
        FitRow{"Fits", {}, 5, 50, {}}, FitRow{"JustFits", {{POLL, "251"}}, 5, 50, {}},
        FitRow{"JustDoesNot", {{POLL, "250"}}, 4, 50, Fitted("5", "50", "250", "4", "50")},
        FitRow{"At120", {{POLL, "120"}}, 2, 50, Fitted("5", "50", "120", "2", "50")},
        FitRow{"At60NothingIsLeftToLower", {{POLL, "60"}}, 1, 50, Fitted("5", "50", "60", "1", "50")},
        FitRow{"At30", {{POLL, "30"}}, 1, 29, Fitted("5", "50", "30", "1", "29")},
        FitRow{"At1", {{POLL, "1"}}, 1, 0, Fitted("5", "50", "1", "1", "0")},
        FitRow{"IntervalOfOne",
               {{INTERVAL, "1"}, {COUNT, "1000"}},
               1,
               49,
               Fitted("1", "1000", "600", "1", "49")},
        FitRow{"WrapsAround", {{INTERVAL, "65536"}, {COUNT, "65536"}}, 65536, 65536, {}},
        FitRow{"WrapsBelowZero", {{INTERVAL, "2"}, {COUNT, "1073741824"}}, 2, 1073741824, {}},
        FitRow{"Forced", {{FORCE, "1"}, {POLL, "60"}}, 5, 50, {}},
        FitRow{"ForcedByANegativeNumber", {{FORCE, "-7"}, {POLL, "60"}}, 5, 50, {}},
        FitRow{"NotForcedByZero", {{FORCE, "0"}, {POLL, "60"}}, 1, 50, Fitted("5", "50", "60", "1", "50")}),
    NameOfRow());

TEST_F(ConfigurationLoad, ForcesNothingOnceTheKeyHasGone)
{
    Load(FORCE, "1");
    EXPECT_EQ(mConfig->mForceReadingInterval, 1);
    GetStore().mValues.erase(FORCE);
    Load();
    EXPECT_EQ(mConfig->mForceReadingInterval, 0);
    Load(FORCE, "1");
    Load(FORCE, "abc");
    EXPECT_EQ(mConfig->mForceReadingInterval, 0);
    EXPECT_EQ(mConsole,
              "Invalid numeric value for _FORCE_READING_INTERVAL_ key in Tarnhaven configuration.\n");
}

TEST_F(ConfigurationLoad, FindsNoReadingsAfterAPollIntervalOfOneSecondAndRevertsEachTime)
{
    Load(POLL, "1");
    EXPECT_EQ(GetLogLines(), GetLog({Fitted("5", "50", "1", "1", "0"), {}, 1}));
    for (int load = 0; load < 2; ++load) {
        Load();
        Lines lines = Fitted("1", "50", "1", "1", "0");
        lines.insert(lines.begin(),
                     "Invalid value for THHS_NUMBER_OF_READINGS : 0. Value should be greater than 0. ");
        EXPECT_EQ(GetLogLines(), GetLog({lines, {}, 1, true}));
        EXPECT_EQ(mConsole, std::string(WARNING) + "\n");
        EXPECT_EQ(mConfig->mNumberOfReadings, 0);
    }
}
} // namespace
