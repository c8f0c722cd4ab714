#include "counters/CounterFixture.h"
#include "support/NothrowNew.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

namespace
{
constexpr char NO_HELPER[] = "Error: Failed to get the helper object.";

class CounterRegistry : public CounterFixture
{
protected:
    /** One add phase of the worker. */
    void Add() { mManager.AddCounterToMonitor(mManager.GetProcessesRegisteredMonitoring(), "", ""); }

    void Register(const std::string& processName)
    {
        mManager.mProcessesRegisteredMonitoring[processName] = 90;
    }

    const Counter& At(int pid) { return *mManager.mProcessIDAndCouterMap.at(pid); }

    ReadingMgr mManager{"CPU"};
};
} // namespace

TEST_F(CounterRegistry, AddsACounterForARunningProcessAndSaysSoWithoutVerbose)
{
    Register("abc");
    Run("abc", 42);
    Run("other", 43);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(42)));
    const Counter& counter = At(42);
    EXPECT_EQ(counter.mCounterName, "abc#42");
    EXPECT_EQ(counter.mProcessName, "abc");
    EXPECT_EQ(counter.mCounterIndex, 42);
    EXPECT_TRUE(counter.mIsActive);
    EXPECT_FALSE(counter.mIsJavaProcess);
    EXPECT_EQ(counter.mJavaProcessName, "");
    EXPECT_EQ(counter.mReadingNumber, 1);
    EXPECT_THAT(mRecord.mJavaMarkers, IsEmpty());
    EXPECT_THAT(GetLogLines(), ElementsAre("CounterName abc#42",
                                           "CPU counter added for process abc with PID - 42 : abc#42"));
}

TEST_F(CounterRegistry, GivesEachInstanceOfANameItsCounterInTheOrderOfTheTable)
{
    Register("abc");
    Run("abc", 42);
    Run("abc", 7);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(7), Key(42)));
    EXPECT_THAT(GetLogLines(),
                ElementsAre("CounterName abc#42", "CPU counter added for process abc with PID - 42 : abc#42",
                            "CounterName abc#7", "CPU counter added for process abc with PID - 7 : abc#7"));
}

TEST_F(CounterRegistry, TracesEachLookUpWhenVerbose)
{
    mConfig->mVerbose = 1;
    Register("abc");
    Run("abc", 42);
    Run("abc", 7);
    Add();
    EXPECT_THAT(GetLogLines(),
                ElementsAre("Inside CounterMgr::AddCounterHelper() for CPU processes.",
                            "GetProcessNameAndProcessIDMap.count(abc) : 2 ",
                            "Finding process id 42 inside mProcessIDAndCouterMap and Not Found.",
                            "CounterName abc#42", "CPU counter added for process abc with PID - 42 : abc#42",
                            "<42(For CPU) : abc (index : 42) >",
                            "Finding process id 7 inside mProcessIDAndCouterMap and Not Found.",
                            "CounterName abc#7", "CPU counter added for process abc with PID - 7 : abc#7"));
    ForgetLog();
    Add();
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("Inside CounterMgr::AddCounterHelper() for CPU processes.",
                    "GetProcessNameAndProcessIDMap.count(abc) : 2 ", "<7(For CPU) : abc (index : 7) >",
                    "<42(For CPU) : abc (index : 42) >",
                    "Finding process id 42 inside mProcessIDAndCouterMap and Found.",
                    "CPU counter already added for process abc with PID - 42 with index : 42 : abc#42",
                    "<7(For CPU) : abc (index : 7) >", "<42(For CPU) : abc (index : 42) >",
                    "Finding process id 7 inside mProcessIDAndCouterMap and Found.",
                    "CPU counter already added for process abc with PID - 7 with index : 7 : abc#7"));
}

TEST_F(CounterRegistry, LeavesACounterAsItIsOnLaterPasses)
{
    Register("abc");
    Run("abc", 42);
    Add();
    Counter& counter = *mManager.mProcessIDAndCouterMap.at(42);
    counter.mDumpCount = 2;
    counter.mReadingNumber = 4;
    ForgetLog();
    mManager.AddCounterToMonitor(mManager.mProcessesRegisteredMonitoring, "new ", " new");
    EXPECT_EQ(&At(42), &counter);
    EXPECT_EQ(counter.mDumpCount, 2);
    EXPECT_EQ(counter.mReadingNumber, 4);
    EXPECT_EQ(counter.mCounterName, "abc#42");
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(CounterRegistry, TracesAnAbsentProcessAndAddsNothing)
{
    mConfig->mVerbose = 1;
    Register("abc");
    Run("ABC", 42);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_THAT(GetLogLines(), ElementsAre("Inside CounterMgr::AddCounterHelper() for CPU processes.",
                                           "GetProcessNameAndProcessIDMap.count(abc) : 0 "));
}

TEST_F(CounterRegistry, StaysSilentAboutAnAbsentProcessWithoutVerbose)
{
    Register("abc");
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_EQ(mRecord.mHelpersMade, 1);
}

TEST_F(CounterRegistry, CleansUpThroughTheOperationOfTheManagersOwnClass)
{
    class NotingMgr : public ReadingMgr
    {
    public:
        using ReadingMgr::ReadingMgr;
        void CleanUpStaleCounters() override { mSizes.push_back(mProcessIDAndCouterMap.size()); }
        std::vector<std::size_t> mSizes;
    };
    NotingMgr manager("CPU");
    Run("abc", 42);
    manager.AddCounterHelper("abc", "", "");
    EXPECT_THAT(manager.mSizes, ElementsAre(0U)) << "before the counter is added";
    EXPECT_THAT(manager.mProcessIDAndCouterMap, ElementsAre(Key(42)));
}

TEST_F(CounterRegistry, AsksTheHelpersOwnClassForTheNameOfAJavaProcess)
{
    class NamingHelper : public EvidenceHelper
    {
    public:
        using EvidenceHelper::EvidenceHelper;
        void GetJavaProcessOSName(std::string& name) override { name = "jvm of " + name; }
    };
    GetHelperSeam().mMake = [this] { return new NamingHelper(mRecord); };
    mRecord.mJavaPids["Dthwmc"] = 42;
    Run("jvm of thwmc", 42);
    Register("thwmc");
    Add();
    EXPECT_EQ(At(42).mProcessName, "jvm of thwmc");
}

TEST_F(CounterRegistry, CleansUpOnceForEachRegisteredNameBeforeItIsLookedAt)
{
    mConfig->mVerbose = 1;
    Register("abc");
    Register("def");
    mManager.Add(10, "gone");
    mManager.Add(20, "gone");
    mManager.Add(30, "alive");
    Run("alive", 30);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(30)));
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("ProcessId (10) is not alive. Removing performance counter (Index : 10) gone#10",
                    "Removing from ProcessIDAndCouterMap Process gone (PID : 10) with Counter Index : 10 "
                    "and Counter Name gone#10",
                    "Inside CounterMgr::AddCounterHelper() for CPU processes.",
                    "GetProcessNameAndProcessIDMap.count(abc) : 0 ",
                    "ProcessId (20) is not alive. Removing performance counter (Index : 20) gone#20",
                    "Removing from ProcessIDAndCouterMap Process gone (PID : 20) with Counter Index : 20 "
                    "and Counter Name gone#20",
                    "Inside CounterMgr::AddCounterHelper() for CPU processes.",
                    "GetProcessNameAndProcessIDMap.count(def) : 0 "));
}

TEST_F(CounterRegistry, DoesNothingAtAllWithoutRegisteredNames)
{
    mConfig->mVerbose = 1;
    mManager.Add(10, "gone");
    Run("abc", 42);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(10))) << "no cleanup either";
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_EQ(mRecord.mHelpersMade, 0);
}

TEST_F(CounterRegistry, KeepsTheCountersOfANameThatIsNoLongerRegistered)
{
    Register("abc");
    Register("def");
    Run("abc", 42);
    Add();
    mManager.mProcessesRegisteredMonitoring.erase("abc");
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(42)));
    End(42);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
}

TEST_F(CounterRegistry, StartsANewCounterWhenAProcessComesBackUnderANewId)
{
    Register("abc");
    Run("abc", 42);
    Add();
    mManager.mProcessIDAndCouterMap.at(42)->mDumpCount = 3;
    End(42);
    Run("abc", 43);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(43)));
    EXPECT_EQ(At(43).mDumpCount, 0);
}

TEST_F(CounterRegistry, KeepsTheCountersOfManagersApart)
{
    ReadingMgr memory("Memory");
    Register("abc");
    memory.mProcessesRegisteredMonitoring["abc"] = 512;
    Run("abc", 42);
    Add();
    memory.AddCounterToMonitor(memory.mProcessesRegisteredMonitoring, "", "");
    EXPECT_NE(&At(42), memory.mProcessIDAndCouterMap.at(42));
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("CounterName abc#42", "CPU counter added for process abc with PID - 42 : abc#42",
                    "CounterName abc#42", "Memory counter added for process abc with PID - 42 : abc#42"));
}

TEST_F(CounterRegistry, AddsAJavaProcessUnderTheIdOfItsMarkAlone)
{
    Register("adminconsole");
    Run("java", 41);
    Run("java", 42);
    mRecord.mJavaPids["tarn.thx.AdminConsole"] = 42;
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(42)));
    EXPECT_EQ(At(42).mProcessName, "java");
    EXPECT_EQ(At(42).mCounterName, "java#42");
    EXPECT_TRUE(At(42).mIsJavaProcess);
    EXPECT_EQ(At(42).mJavaProcessName, "adminconsole");
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("CounterName java#41",
                    "Skipping the add of counter as pid not matching with counter index. PID - 42 : "
                    "counter Index 41",
                    "CounterName java#42", "CPU counter added for process java with PID - 42 : java#42"));
    EXPECT_THAT(mRecord.mJavaMarkers, ElementsAre("tarn.thx.AdminConsole", "tarn.thx.AdminConsole"));
}

TEST_F(CounterRegistry, TriesASkippedJavaProcessAgainButNotOneThatHasItsCounter)
{
    Register("adminconsole");
    Run("java", 41);
    Run("java", 42);
    mRecord.mJavaPids["tarn.thx.AdminConsole"] = 42;
    Add();
    ForgetLog();
    mRecord.mJavaMarkers.clear();
    mRecord.mJavaPids["tarn.thx.AdminConsole"] = 41;
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(41), Key(42)));
    EXPECT_THAT(mRecord.mJavaMarkers, ElementsAre("tarn.thx.AdminConsole"));
    EXPECT_THAT(GetLogLines(), ElementsAre("CounterName java#41",
                                           "CPU counter added for process java with PID - 41 : java#41"));
}

TEST_F(CounterRegistry, DistinguishesTheTwoJavaNamesByTheirMarks)
{
    Register("adminconsole");
    Register("thwmc");
    Run("java", 41);
    Run("java", 42);
    mRecord.mJavaPids = {{"tarn.thx.AdminConsole", 42}, {"Dthwmc", 41}};
    Add();
    EXPECT_EQ(At(42).mJavaProcessName, "adminconsole");
    EXPECT_EQ(At(41).mJavaProcessName, "thwmc");
}

TEST_F(CounterRegistry, SkipsEveryJavaProcessWhileNoneHasTheMark)
{
    Register("thwmc");
    Run("java", 41);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_THAT(GetLogLines(),
                ElementsAre("CounterName java#41",
                            "Skipping the add of counter as pid not matching with counter index. PID - -1 : "
                            "counter Index 41"));
}

TEST_F(CounterRegistry, CountsJavaProcessesUnderTheirNameInTheTablesWhenVerbose)
{
    mConfig->mVerbose = 1;
    Register("thwmc");
    Add();
    EXPECT_THAT(GetLogLines(), ElementsAre("Inside CounterMgr::AddCounterHelper() for CPU processes.",
                                           "GetProcessNameAndProcessIDMap.count(java) : 0 "));
}

TEST_F(CounterRegistry, TakesAJavaNameInAnotherCaseForAnOrdinaryProcess)
{
    Register("Adminconsole");
    Run("java", 41);
    Run("Adminconsole", 42);
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(42)));
    EXPECT_FALSE(At(42).mIsJavaProcess);
}

TEST_F(CounterRegistry, ReportsAMissingHelperAfterTheCleanup)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    Register("abc");
    Run("abc", 42);
    mManager.Add(10, "gone");
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_THAT(GetLogLines(), ElementsAre(NO_HELPER));
}

TEST_F(CounterRegistry, LeavesTheRestToTheNextPassWhenThereIsNoMemory)
{
    Register("abc");
    Run("abc", 42);
    Run("abc", 43);
    {
        const NothrowNewFails noMemory;
        Add();
    }
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to allocate memory for Counter object."));
    Add();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(42), Key(43)));
}

TEST_F(CounterRegistry, WorksWithoutALog)
{
    LoseLog();
    mConfig->mVerbose = 1;
    Register("abc");
    Run("abc", 42);
    mManager.Add(10, "gone");
    Add();
    mManager.PrintProcessIDAndCouterMap();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(42)));
}

namespace
{
struct LabelCase
{
    const char* mName;
    std::size_t mNameLength;
    const char* mPrefix;
    const char* mSuffix;
    std::size_t mLabelLength; ///< what is left of the name, "#" and "12345"

    friend std::ostream& operator<<(std::ostream& out, const LabelCase& row) { return out << row.mName; }
};

class CounterLabel : public CounterRegistry, public testing::WithParamInterface<LabelCase>
{
};
} // namespace

TEST_P(CounterLabel, IsPrefixThenNameAndIdCutTogetherThenSuffix)
{
    const LabelCase& row = GetParam();
    const std::string name(row.mNameLength, 'p');
    Run(name, 12345);
    mManager.AddCounterHelper(name, row.mPrefix, row.mSuffix);
    EXPECT_EQ(At(12345).mCounterName,
              row.mPrefix + (name + "#12345").substr(0, row.mLabelLength) + row.mSuffix);
    EXPECT_EQ(At(12345).mProcessName, name) << "only the label is cut";
}

INSTANTIATE_TEST_SUITE_P(Lengths, CounterLabel,
                         testing::Values(LabelCase{"Plain", 3, "", "", 9},
                                         LabelCase{"Both", 3, "pre-", "-post", 9},
                                         LabelCase{"LastThatFits", 57, "", "", 63},
                                         LabelCase{"FirstThatIsCut", 58, "", "", 63},
                                         LabelCase{"CutBeforeTheSuffix", 58, "pre-", "-post", 63},
                                         LabelCase{"Huge", 100000, "", "!", 63}),
                         [](const auto& test) { return test.param.mName; });

TEST_F(CounterRegistry, PrintsItsCountersInTheOrderOfTheirIds)
{
    mManager.Add(42, "abc");
    mManager.Add(7, "java", "thwmc").mCounterIndex = 8;
    mManager.PrintProcessIDAndCouterMap();
    EXPECT_THAT(GetLogLines(),
                ElementsAre("<7(For CPU) : java (index : 8) >", "<42(For CPU) : abc (index : 42) >"));
}

TEST_F(CounterRegistry, PrintsNothingWithoutCounters)
{
    mManager.PrintProcessIDAndCouterMap();
    EXPECT_THAT(GetLogLines(), IsEmpty());
}
