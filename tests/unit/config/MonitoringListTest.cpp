#include "config/MonitoringList.h"

#include "config/ConfigurationMgr.h"
#include "config/SettingsFixture.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"
#include "support/HelperSeam.h"

#include <map>
#include <ostream>
#include <set>
#include <utility>

namespace
{
constexpr char CPU[] = "THHS_MONITOR_CPU";
constexpr char MEMORY[] = "THHS_MONITOR_MEMORY";
constexpr char DEADLOCK[] = "THHS_MONITOR_DEADLOCK";

using Thresholds = std::map<std::string, int>;

/** Reads one list, keeping all that comes of it. */
class MonitoringLists : public SettingsFixture
{
protected:
    void Read(const char* key, const std::string& list)
    {
        GetStore().mValues[key] = list;
        Read(key);
    }

    void Read(const char* key)
    {
        const std::map<std::string, const char*> labels = {
            {CPU, "CPU"}, {MEMORY, "Memory"}, {DEADLOCK, "Deadlock"}};
        mConsole = GetConsole([&] { mResult = ReadMapValue(key, labels.at(key), mThresholds); });
    }

    int mResult = -1;
    Thresholds mThresholds = {{"of the load before", 1}};
    std::string mConsole;
};

TEST_F(MonitoringLists, AreNotReadWithoutAHelper)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    Read(CPU, "tbrd:90");
    EXPECT_EQ(mResult, 15);
    EXPECT_EQ(mThresholds, Thresholds());
    EXPECT_EQ(GetLogLines(), Lines());
}

struct AcceptedRow
{
    const char* mName;
    const char* mKey;
    const char* mList;
    Thresholds mThresholds;
    Lines mLog;

    friend void PrintTo(const AcceptedRow& row, std::ostream* out) { *out << row.mName; }
};

class AcceptedList : public MonitoringLists, public testing::WithParamInterface<AcceptedRow>
{
};

TEST_P(AcceptedList, GivesThresholdsAndALineForEachElement)
{
    const AcceptedRow& row = GetParam();
    Read(row.mKey, row.mList);
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mThresholds, row.mThresholds);
    EXPECT_EQ(GetLogLines(), row.mLog);
    EXPECT_EQ(mConsole, "");
    std::set<std::string> names;
    for (const auto& [name, threshold] : row.mThresholds) {
        names.insert(name);
    }
    EXPECT_EQ(mConfig->mMonitoredProcessNames, names);
}

/** The lines of a list of CPU limits. */
Lines CpuLines(const std::vector<std::pair<const char*, int>>& elements)
{
    Lines lines;
    for (const auto& [name, limit] : elements) {
        lines.push_back(std::string("Process ") + name + " requested monitoring of CPU threshold of " +
                        std::to_string(limit) + " ABSOLUTE.");
    }
    return lines;
}

INSTANTIATE_TEST_SUITE_P(
    Cpu, AcceptedList,
    testing::Values(
        AcceptedRow{"Usual",
                    CPU,
                    "tbrd:90, tbcs : 75",
                    {{"tbcs", 75}, {"tbrd", 90}},
                    CpuLines({{"tbrd", 90}, {"tbcs", 75}})},
        AcceptedRow{"AtTheLimit", CPU, "a:100", {{"a", 100}}, CpuLines({{"a", 100}})},
        AcceptedRow{"Zero", CPU, "a:0", {{"a", 0}}, CpuLines({{"a", 0}})},
        AcceptedRow{"TextForANumber", CPU, "a:abc", {{"a", 0}}, CpuLines({{"a", 0}})},
        AcceptedRow{"NumberWithATail", CPU, "a:12x", {{"a", 12}}, CpuLines({{"a", 12}})},
        AcceptedRow{"NumberCutToThirtyTwoBits", CPU, "a:4294967346", {{"a", 50}}, CpuLines({{"a", 50}})},
        AcceptedRow{
            "OfANameThatComesTwiceTheFirst", CPU, "a:10,a:20", {{"a", 10}}, CpuLines({{"a", 10}, {"a", 20}})},
        AcceptedRow{"CommaAtTheEnd", CPU, "a:10,", {{"a", 10}}, CpuLines({{"a", 10}})},
        AcceptedRow{
            "NamesDifferByCase", CPU, "a:1,A:2", {{"A", 2}, {"a", 1}}, CpuLines({{"a", 1}, {"A", 2}})},
        AcceptedRow{"NamesOfEveryKindOfCharacter",
                    CPU,
                    "a b:3,a/b:4,a\\b:5,@-_.:6",
                    {{"a b", 3}, {"a/b", 4}, {"a\\b", 5}, {"@-_.", 6}},
                    CpuLines({{"a b", 3}, {"a/b", 4}, {"a\\b", 5}, {"@-_.", 6}})},
        AcceptedRow{"NumbersByTheirBegin",
                    CPU,
                    "a:1.9,b:0x10,c:-0,d:7-",
                    {{"a", 1}, {"b", 0}, {"c", 0}, {"d", 7}},
                    CpuLines({{"a", 1}, {"b", 0}, {"c", 0}, {"d", 7}})},
        AcceptedRow{"ASecondColonBelongsToTheNumber",
                    CPU,
                    "a:5:6,b::7",
                    {{"a", 5}, {"b", 0}},
                    CpuLines({{"a", 5}, {"b", 0}})},
        AcceptedRow{"ANegativeNumberThatIsPositiveInThirtyTwoBits",
                    CPU,
                    "a:-4294967290",
                    {{"a", 6}},
                    CpuLines({{"a", 6}})},
        AcceptedRow{"TabsStayWithTheName", CPU, " \ta\t : 5", {{"\ta\t", 5}}, CpuLines({{"\ta\t", 5}})}),
    NameOfRow());

INSTANTIATE_TEST_SUITE_P(
    Memory, AcceptedList,
    testing::Values(AcceptedRow{"HasNoUpperBound",
                                MEMORY,
                                "a:5000",
                                {{"a", 5000}},
                                {"Process a requested monitoring of Memory threshold of 5000 ABSOLUTE."}},
                    AcceptedRow{
                        "AtTheLargestNumber",
                        MEMORY,
                        "a:2147483647",
                        {{"a", 2147483647}},
                        {"Process a requested monitoring of Memory threshold of 2147483647 ABSOLUTE."}},
                    AcceptedRow{"Zero",
                                MEMORY,
                                "a:0",
                                {{"a", 0}},
                                {"Process a requested monitoring of Memory threshold of 0 ABSOLUTE."}}),
    NameOfRow());

INSTANTIATE_TEST_SUITE_P(
    Deadlock, AcceptedList,
    testing::Values(AcceptedRow{"BareNames",
                                DEADLOCK,
                                "a, b",
                                {{"a", 0}, {"b", 0}},
                                {"Process a requested monitoring for Deadlock conditions.",
                                 "Process b requested monitoring for Deadlock conditions."}},
                    AcceptedRow{"NameAndZero",
                                DEADLOCK,
                                "a:0",
                                {{"a", 0}},
                                {"Process a requested monitoring for Deadlock conditions."}},
                    AcceptedRow{"NameAndTextForANumber",
                                DEADLOCK,
                                "a:abc",
                                {{"a", 0}},
                                {"Process a requested monitoring for Deadlock conditions."}},
                    AcceptedRow{"NumbersThatBeginWithZero",
                                DEADLOCK,
                                "a : 0x,b:0:3",
                                {{"a", 0}, {"b", 0}},
                                {"Process a requested monitoring for Deadlock conditions.",
                                 "Process b requested monitoring for Deadlock conditions."}},
                    AcceptedRow{"AnElementWithoutANameIsANameAsAWhole",
                                DEADLOCK,
                                " :5",
                                {{":5", 0}},
                                {"Process :5 requested monitoring for Deadlock conditions."}},
                    AcceptedRow{"BlanksAlone",
                                DEADLOCK,
                                "a,  ",
                                {{"  ", 0}, {"a", 0}},
                                {"Process a requested monitoring for Deadlock conditions.",
                                 "Process    requested monitoring for Deadlock conditions."}}),
    NameOfRow());

struct RejectedRow
{
    const char* mName;
    const char* mKey;
    const char* mList;
    std::string mMessage; ///< on the console and in the log
    Thresholds mThresholds = {};
    Lines mLogBefore = {};
    int mResult = 101;

    friend void PrintTo(const RejectedRow& row, std::ostream* out) { *out << row.mName; }
};

class RejectedList : public MonitoringLists, public testing::WithParamInterface<RejectedRow>
{
};

TEST_P(RejectedList, SaysWhyInTheLogAndOnTheConsole)
{
    const RejectedRow& row = GetParam();
    Read(row.mKey, row.mList);
    EXPECT_EQ(mResult, row.mResult);
    EXPECT_EQ(mThresholds, row.mThresholds);
    EXPECT_EQ(mConsole, row.mMessage + "\n");
    Lines log = row.mLogBefore;
    log.push_back(row.mMessage);
    EXPECT_EQ(GetLogLines(), log);
}

std::string InvalidValue(const std::string& element, const std::string& key)
{
    return "Invalid configuration value " + element + " for the " + key + " in Tarnhaven configuration file.";
}

INSTANTIATE_TEST_SUITE_P(
    Elements, RejectedList,
    testing::Values(
        RejectedRow{"CpuWithoutANumber", CPU, "a", InvalidValue("a", CPU)},
        RejectedRow{"CpuWithAnEmptyNumber", CPU, "a:", InvalidValue("a:", CPU)},
        RejectedRow{"CpuWithoutAName", CPU, ":5", InvalidValue(":5", CPU)},
        RejectedRow{"CpuBelowZero", CPU, "a:-1", InvalidValue("a:-1", CPU)},
        RejectedRow{"CpuCutBelowZero", CPU, "a:2147483648", InvalidValue("a:2147483648", CPU)},
        RejectedRow{"CpuEmptyFirstElement", CPU, ",a:10", InvalidValue("", CPU)},
        RejectedRow{"CpuCommaAlone", CPU, ",", InvalidValue("", CPU)},
        RejectedRow{"CpuBlanksAlone", CPU, "   ", InvalidValue("   ", CPU)},
        RejectedRow{"CpuWithoutANameAndWithBlanks", CPU, " : 5", InvalidValue(": 5", CPU)},
        RejectedRow{"CpuBelowZeroAndWithBlanks", CPU, "a : -1", InvalidValue("a : -1", CPU)},
        RejectedRow{"CpuBeyondSixtyFourBits", CPU, "a:9223372036854775808",
                    InvalidValue("a:9223372036854775808", CPU)},
        RejectedRow{"CpuAnEmptyElementAmongOthers",
                    CPU,
                    "a:1,,b:1",
                    InvalidValue("", CPU),
                    {{"a", 1}},
                    CpuLines({{"a", 1}})},
        RejectedRow{"CpuABlankElementAmongOthers",
                    CPU,
                    "a:1,  ,b:1",
                    InvalidValue("  ", CPU),
                    {{"a", 1}},
                    CpuLines({{"a", 1}})},
        RejectedRow{"ElementStandsWithoutTheBlanksAround", CPU, "  a b  ", InvalidValue("a b", CPU)},
        RejectedRow{"MemoryWithoutANumber", MEMORY, "a", InvalidValue("a", MEMORY)},
        RejectedRow{"MemoryWithAnEmptyNumber", MEMORY, "a:", InvalidValue("a:", MEMORY)},
        RejectedRow{"MemoryWithoutAName", MEMORY, ":5", InvalidValue(":5", MEMORY)},
        RejectedRow{"MemoryBelowZero", MEMORY, "a:-1", InvalidValue("a:-1", MEMORY)},
        RejectedRow{"DeadlockWithAnEmptyNumber", DEADLOCK, "a:", InvalidValue("a:", DEADLOCK)},
        RejectedRow{"DeadlockWithAnEmptyElement", DEADLOCK, ",a", InvalidValue("", DEADLOCK)},
        RejectedRow{"DeadlockWithABlankBeforeTheColon", DEADLOCK, "a :", InvalidValue("a :", DEADLOCK)},
        RejectedRow{"DeadlockWithANumberAndATail", DEADLOCK, "a:4x",
                    "Invalid Value a for the THHS_MONITOR_DEADLOCK in Tarnhaven configuration file."},
        RejectedRow{"DeadlockBelowZero", DEADLOCK, "a:-1", InvalidValue("a:-1", DEADLOCK)},
        RejectedRow{"DeadlockWithANumber", DEADLOCK, "a:3",
                    "Invalid Value a for the THHS_MONITOR_DEADLOCK in Tarnhaven configuration file."},
        RejectedRow{"CpuAboveTheLimit", CPU, "a:101",
                    "Invalid Value for CPU threshold. Process a requested threshold of 101 percent. "
                    "Use a value less than 100."},
        RejectedRow{"CpuAboveTheLimitWithATail", CPU, "a:101x",
                    "Invalid Value for CPU threshold. Process a requested threshold of 101 percent. "
                    "Use a value less than 100."},
        RejectedRow{"CpuAboveTheLimitInThirtyTwoBits", CPU, "a:4294967397",
                    "Invalid Value for CPU threshold. Process a requested threshold of 101 percent. "
                    "Use a value less than 100."},
        RejectedRow{"CpuFarAboveTheLimit", CPU, "a:2147483647",
                    "Invalid Value for CPU threshold. Process a requested threshold of 2147483647 percent. "
                    "Use a value less than 100."},
        RejectedRow{"FirstBadElementEndsTheReading",
                    CPU,
                    "a:1,b:2,c,d:4,e",
                    InvalidValue("c", CPU),
                    {{"a", 1}, {"b", 2}},
                    CpuLines({{"a", 1}, {"b", 2}})},
        RejectedRow{"ForbiddenSequenceBeforeAnySplit",
                    CPU,
                    "a:1,b..c:2",
                    "There are invalid characters in the input for THHS_MONITOR_CPU.",
                    {},
                    {"There are unauthorized characters detected in the input. Returning Error."},
                    102},
        RejectedRow{"BadCharacterBeforeAnySplit",
                    MEMORY,
                    "a:1,b;c:2",
                    "There are invalid characters in the input for THHS_MONITOR_MEMORY.",
                    {},
                    {"There are non alpha numeric characters in the input ';'. Returning Error."},
                    102}),
    NameOfRow());

TEST_F(MonitoringLists, WithoutItsKeyIsEmptyAndNoError)
{
    for (const char* const key : {CPU, MEMORY, DEADLOCK}) {
        mThresholds = {{"of the load before", 1}};
        Read(key);
        EXPECT_EQ(mResult, 103);
        EXPECT_EQ(mThresholds, Thresholds());
        EXPECT_EQ(mConsole, "");
    }
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(MonitoringLists, WithoutItsKeyIsTracedWhenVerbose)
{
    mConfig->mVerbose = 1;
    Read(CPU);
    EXPECT_EQ(GetLogLines(), Lines{"THHS_MONITOR_CPU not defined in Tarnhaven configuration."});
}

TEST_F(MonitoringLists, WithAnUnusualCodeOfTheStoreCountsAsNotDefined)
{
    GetStore().mResults[CPU] = 228;
    Read(CPU, "a:5");
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mThresholds, Thresholds());
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(MonitoringLists, WithAnEmptyValueIsReportedInTheLogAlone)
{
    for (const char* const key : {CPU, MEMORY, DEADLOCK}) {
        ForgetLog();
        Read(key, "");
        EXPECT_EQ(mResult, 101);
        EXPECT_EQ(mThresholds, Thresholds());
        EXPECT_EQ(mConsole, "");
        EXPECT_EQ(GetLogLines(), Lines{"Unable to read the " + std::string(key) +
                                       " data from Tarnhaven configuration file."});
    }
}

TEST_F(MonitoringLists, OfMemoryIsUnlimitedAndLabelledAbsoluteWhateverTheUnit)
{
    for (const char* const unit : {"PERCENT", "percent", "ABSOLUTE", "absolute", "", "MB"}) {
        ForgetLog();
        mConfig->mMemoryUnit = unit;
        Read(MEMORY, "a:5000");
        EXPECT_EQ(mResult, 0) << unit;
        EXPECT_EQ(GetLogLines(),
                  Lines{"Process a requested monitoring of Memory threshold of 5000 ABSOLUTE."});
    }
}

TEST_F(MonitoringLists, WouldBeLabelledMegabytesOnlyUnderTheKeyOfTheUnit)
{
    for (const char* const unit : {"absolute", "PERCENT"}) {
        mConfig->mMemoryUnit = unit;
        GetStore().mValues["THHS_MEMORY_UNIT"] = "a:5000";
        EXPECT_EQ(ReadMapValue("THHS_MEMORY_UNIT", "Memory", mThresholds), 0);
    }
    EXPECT_EQ(GetLogLines(), (Lines{"Process a requested monitoring of Memory threshold of 5000 MB.",
                                    "Process a requested monitoring of Memory threshold of 5000 ABSOLUTE."}));
}

TEST_F(MonitoringLists, KeysAreComparedWithoutTheirCase)
{
    GetStore().mValues["thhs_monitor_cpu"] = "a:101";
    EXPECT_EQ(GetConsole([&] { EXPECT_EQ(ReadMapValue("thhs_monitor_cpu", "CPU", mThresholds), 101); }),
              "Invalid Value for CPU threshold. Process a requested threshold of 101 percent. "
              "Use a value less than 100.\n");
    GetStore().mValues["thhs_monitor_deadlock"] = "a";
    EXPECT_EQ(ReadMapValue("thhs_monitor_deadlock", "Deadlock", mThresholds), 0);
    EXPECT_EQ(mThresholds, (Thresholds{{"a", 0}}));
}

TEST_F(MonitoringLists, KeepsAJavaNameAndRecordsItAsJava)
{
    Read(CPU, "adminconsole:80, thwmc:70, Adminconsole:60");
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mThresholds, (Thresholds{{"Adminconsole", 60}, {"adminconsole", 80}, {"thwmc", 70}}));
    EXPECT_EQ(mConfig->mMonitoredProcessNames, (std::set<std::string>{"Adminconsole", "java"}));
    EXPECT_EQ(GetLogLines(),
              (Lines{"Process java requested monitoring of CPU threshold of 80 ABSOLUTE.",
                     "Process java requested monitoring of CPU threshold of 70 ABSOLUTE.",
                     "Process Adminconsole requested monitoring of CPU threshold of 60 ABSOLUTE."}));
}

TEST_F(MonitoringLists, NamesAJavaProcessAsConfiguredWhenItIsRejected)
{
    Read(CPU, "thwmc:101");
    EXPECT_EQ(mConsole, "Invalid Value for CPU threshold. Process thwmc requested threshold of 101 percent. "
                        "Use a value less than 100.\n");
    EXPECT_EQ(mConfig->mMonitoredProcessNames, std::set<std::string>());
}

TEST_F(MonitoringLists, KeepsTheNamesOfEarlierLists)
{
    Read(CPU, "a:1,b:2");
    Read(CPU, "c:3");
    EXPECT_EQ(mThresholds, (Thresholds{{"c", 3}}));
    Read(CPU, "d");
    EXPECT_EQ(mResult, 101);
    EXPECT_EQ(mConfig->mMonitoredProcessNames, (std::set<std::string>{"a", "b", "c"}));
}

/** A helper for a system that has another name for Java. */
class HelperWithAnotherJava : public UnixHelperFunction
{
public:
    void GetJavaProcessOSName(std::string& name) override { name = "jvm"; }
};

TEST_F(MonitoringLists, AskTheHelperForTheNameOfJava)
{
    GetHelperSeam().mMake = [] { return new HelperWithAnotherJava; };
    Read(CPU, "adminconsole:1,a:2");
    EXPECT_EQ(mThresholds, (Thresholds{{"adminconsole", 1}, {"a", 2}}));
    EXPECT_EQ(mConfig->mMonitoredProcessNames, (std::set<std::string>{"jvm", "a"}));
}

TEST_F(MonitoringLists, CutsAMessageAtTheSizeOfItsBuffer)
{
    const std::string element(5000, 'x');
    Read(CPU, element);
    EXPECT_EQ(mResult, 101);
    EXPECT_EQ(mConsole, "Invalid configuration value " + std::string(1023 - 28, 'x') + "\n");
    EXPECT_EQ(GetLogLines(), Lines{mConsole.substr(0, 1023)});
}

TEST_F(MonitoringLists, LogsANameOfAnyLengthWhole)
{
    const std::string name(50000, 'x');
    Read(CPU, name + ":5");
    EXPECT_EQ(mResult, 0);
    const std::string log = ReadFile(GetTHPerfMonLogFilePath());
    EXPECT_TRUE(log.substr(26) ==
                "Process " + name + " requested monitoring of CPU threshold of 5 ABSOLUTE.\n");
}

/** A helper whose `trim` makes names that the list doesn't hold. It is counted while it lives. */
class SpoilingHelper : public UnixHelperFunction
{
public:
    SpoilingHelper(std::string spoilt, int& count) : mSpoilt(std::move(spoilt)), mCount(count) { ++mCount; }
    ~SpoilingHelper() override { --mCount; }

    std::string trim(const std::string& text) override
    {
        return text == "spoil" ? mSpoilt : UnixHelperFunction::trim(text);
    }

private:
    std::string mSpoilt;
    int& mCount;
};

class MonitoringListHelpers : public MonitoringLists
{
protected:
    void SetUp() override
    {
        MonitoringLists::SetUp();
        GetHelperSeam().mMake = [this] { return new SpoilingHelper(mSpoilt, mAlive); };
    }

    std::string mSpoilt = "a;b";
    int mAlive = 0;
};

TEST_F(MonitoringListHelpers, ANameWithBadCharactersStopsTheService)
{
    Read(CPU, "ok:1,spoil:5");
    EXPECT_EQ(mResult, 102);
    EXPECT_EQ(mThresholds, (Thresholds{{"ok", 1}}));
    EXPECT_EQ(mConsole, "There are invalid characters in the input. Service will be stopped.\n");
    EXPECT_EQ(GetLogLines(),
              (Lines{"Process ok requested monitoring of CPU threshold of 1 ABSOLUTE.",
                     "There are non alpha numeric characters in the input ';'. Returning Error.",
                     "There are invalid characters in the input. Service will be stopped."}));
}

TEST_F(MonitoringListHelpers, ANameIsCheckedBeforeItsNumber)
{
    Read(CPU, "spoil:101");
    EXPECT_EQ(mResult, 102);
    Read(DEADLOCK, "spoil:3");
    EXPECT_EQ(mResult, 102);
}

TEST_F(MonitoringListHelpers, AreFreedOnEveryPath)
{
    for (const char* const list : {"a:1,b:2", "", "a", "a;b", "a:101", "spoil:5"}) {
        Read(CPU, list);
        EXPECT_EQ(mAlive, 0) << list;
    }
    Read(DEADLOCK, "a:3");
    GetStore().mValues.clear();
    Read(CPU);
    EXPECT_EQ(mAlive, 0);
}
} // namespace
