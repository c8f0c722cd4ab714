#include "counters/CounterMgr.h"

#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace
{
/** Notes what is asked of it in place of adding. */
class NotingMgr : public OpenMgr<>
{
public:
    using OpenMgr::OpenMgr;

    void AddCounterHelper(std::string processName, std::string counterNamePrefix,
                          std::string counterNameSuffix) override
    {
        mAsked.push_back(counterNamePrefix + processName + counterNameSuffix);
    }

    std::vector<std::string> mAsked;
};
} // namespace

using CounterManager = CounterFixture;

TEST_F(CounterManager, StartsEmptyWithItsLabel)
{
    OpenMgr<> manager("Any label");
    EXPECT_EQ(manager.GetMessageStr(), "Any label");
    EXPECT_THAT(manager.GetProcessesRegisteredMonitoring(), IsEmpty());
    EXPECT_THAT(manager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_FALSE(manager.mSpareFlag1 || manager.mSpareFlag2 || manager.mSpareFlag3);
}

TEST_F(CounterManager, ReadsZeroUnlessAResourceIsRead)
{
    OpenMgr<> manager("CPU");
    EXPECT_EQ(manager.ReadCounterIndexValue(&manager.Add(42, "abc")), 0.0);
    EXPECT_EQ(manager.ReadCounterIndexValue(nullptr), 0.0);
    EXPECT_EQ(manager.GetCounterValueFromOS(42), 0.0);
}

TEST_F(CounterManager, ReturnsItsOwnListAndLabel)
{
    OpenMgr<> manager("CPU");
    manager.GetProcessesRegisteredMonitoring()["abc"] = 80;
    manager.GetMessageStr() = "Memory";
    EXPECT_THAT(manager.mProcessesRegisteredMonitoring, UnorderedElementsAre(Pair("abc", 80)));
    EXPECT_EQ(manager.GetMessageStr(), "Memory");
}

TEST_F(CounterManager, AsksForEachNameInOrderWithTheSamePrefixAndSuffix)
{
    NotingMgr manager("CPU");
    std::map<std::string, int> processes = {{"tbrd", 90}, {"abc", 80}, {"ABC", 70}};
    manager.AddCounterToMonitor(processes, "<", ">");
    EXPECT_THAT(manager.mAsked, ElementsAre("<ABC>", "<abc>", "<tbrd>"));
    EXPECT_THAT(manager.mProcessesRegisteredMonitoring, IsEmpty()) << "the list is not taken over";
}

TEST_F(CounterManager, AsksForNothingWithoutNames)
{
    NotingMgr manager("CPU");
    std::map<std::string, int> processes;
    manager.AddCounterToMonitor(processes, "<", ">");
    EXPECT_THAT(manager.mAsked, IsEmpty());
}

TEST_F(CounterManager, DeletesItsCountersAtItsEndAndPassesOverMissingOnes)
{
    struct NotingCounter : Counter
    {
        explicit NotingCounter(int& deleted) : mDeleted(deleted) {}
        ~NotingCounter() override { ++mDeleted; }
        int& mDeleted;
    };
    int deleted = 0;
    {
        OpenMgr<> manager("CPU");
        manager.mProcessIDAndCouterMap[1] = new NotingCounter(deleted);
        manager.mProcessIDAndCouterMap[2] = nullptr;
        manager.mProcessIDAndCouterMap[3] = new NotingCounter(deleted);
    }
    EXPECT_EQ(deleted, 2);
}

// ---- One pass
// -------------------------------------------------------------------------------------------------

namespace
{
class CounterPass : public CounterFixture
{
protected:
    ReadingMgr mCPU{"CPU"};
    ReadingMgr mMemory{"Memory"};
};
} // namespace

TEST_F(CounterPass, ReadsNothingAndMovesNoWindowWithoutAHelper)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    mConfig->mVerbose = 1;
    mConfig->mCaptureWithoutThreshold = 1;
    const Counter& counter = mCPU.Add(42, "abc");
    int readings = 0;
    mCPU.mRead = [&readings](const Counter&) { return ++readings; };
    mCPU.HandleThresholdBreach();
    EXPECT_EQ(readings, 0);
    EXPECT_EQ(counter.mReadingNumber, 1);
    EXPECT_EQ(counter.mSum, 0);
    EXPECT_THAT(GetLogLines(), ElementsAre("Error: Failed to get the helper object."));
}

TEST_F(CounterPass, TakesOneReadingOfEachCounterInTheOrderOfTheIdsWithOneHelper)
{
    std::vector<int> read;
    mCPU.mRead = [&read](const Counter& counter) {
        read.push_back(counter.mCounterIndex);
        return 1.0;
    };
    for (const int pid : {42, 7, 1000}) {
        mCPU.Add(pid, "abc");
    }
    mCPU.HandleThresholdBreach();
    EXPECT_THAT(read, ElementsAre(7, 42, 1000));
    EXPECT_EQ(mRecord.mHelpersMade, 1);
    EXPECT_EQ(mRecord.mHelpersAlive, 0);
    EXPECT_THAT(GetLogLines(), IsEmpty()) << "quiet without verbose";
}

TEST_F(CounterPass, TracesTheWindowOfAProcessorCounterThroughACycle)
{
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "PERCENT";
    mCPU.mProcessesRegisteredMonitoring["abc"] = 95;
    mCPU.Add(42, "abc");
    mCPU.Pass(10.99);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre(
            "CPU usage for process abc(42) : 10.99 Percent", "CPU threshold for process abc(42) : 95 Percent",
            "Sum : 10 Percent, Reading# : 1, Running Average : 10 Percent for CPU for process abc(42)",
            "Running Average : 10 for CPU for process abc(42)"));
    ForgetLog();
    mCPU.Pass(21.0);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre(
            "CPU usage for process abc(42) : 21.00 Percent", "CPU threshold for process abc(42) : 95 Percent",
            "Sum : 31 Percent, Reading# : 2, Running Average : 15 Percent for CPU for process abc(42)",
            "Running Average : 15 for CPU for process abc(42)"));
    for (int pass = 3; pass <= 5; ++pass) {
        mCPU.Pass(30.0);
    }
    ForgetLog();
    mCPU.Pass(99.0);
    EXPECT_THAT(GetLogLines(), ElementsAre("CPU usage for process abc(42) : 99.00 Percent",
                                           "CPU threshold for process abc(42) : 95 Percent",
                                           "Running Average : 0 for CPU for process abc(42)"))
        << "the sixth value is dropped";
}

TEST_F(CounterPass, ShowsMegabytesForMemoryWhenTheUnitIsAbsoluteInAnyCase)
{
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "absolute";
    mMemory.mProcessesRegisteredMonitoring["abc"] = 512;
    mMemory.Add(42, "abc");
    mMemory.Pass(100.5);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("Memory unit is ABSOLUTE.", "Memory usage for process abc(42) : 100.50 MB",
                    "Memory threshold for process abc(42) : 512 MB",
                    "Sum : 100 MB, Reading# : 1, Running Average : 100 MB for Memory for process abc(42)",
                    "Running Average : 100 for Memory for process abc(42)"));
}

TEST_F(CounterPass, ShowsPercentForMemoryInAnyOtherUnit)
{
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "PERCENT";
    mMemory.mProcessesRegisteredMonitoring["abc"] = 60;
    mMemory.Add(42, "abc");
    mMemory.Pass(1.0);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre(
            "Memory usage for process abc(42) : 1.00 Percent",
            "Memory threshold for process abc(42) : 60 Percent",
            "Sum : 1 Percent, Reading# : 1, Running Average : 1 Percent for Memory for process abc(42)",
            "Running Average : 1 for Memory for process abc(42)"));
}

TEST_F(CounterPass, LogsTheAbsoluteUnitOncePerCallForTheProcessorManagerToo)
{
    mConfig->mVerbose = 1;
    mCPU.HandleThresholdBreach();
    EXPECT_THAT(GetLogLines(), ElementsAre("Memory unit is ABSOLUTE."));
    ForgetLog();
    mCPU.mProcessesRegisteredMonitoring["abc"] = 80;
    mCPU.Add(42, "abc");
    mCPU.HandleThresholdBreach();
    EXPECT_EQ(GetLogLines().at(1), "CPU usage for process abc(42) : 0.00 Percent");
}

TEST_F(CounterPass, TakesTheLabelMemoryInAnyCaseForTheUnit)
{
    mConfig->mVerbose = 1;
    ReadingMgr memory("mEMORY");
    memory.Add(42, "abc");
    memory.HandleThresholdBreach();
    EXPECT_EQ(GetLogLines().at(2), "mEMORY usage for process abc(42) : 0.00 MB");
}

TEST_F(CounterPass, NamesAJavaCounterByItsConfiguredNameExceptInTheLastLine)
{
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "PERCENT";
    mCPU.mProcessesRegisteredMonitoring["adminconsole"] = 80;
    mCPU.mProcessesRegisteredMonitoring["java"] = 10;
    mCPU.Add(42, "java", "adminconsole");
    mCPU.Pass(5.0);
    EXPECT_THAT(GetLogLines(),
                ElementsAre("CPU usage for process adminconsole(42) : 5.00 Percent",
                            "CPU threshold for process adminconsole(42) : 80 Percent",
                            "Sum : 5 Percent, Reading# : 1, Running Average : 5 Percent for CPU for "
                            "process adminconsole(42)",
                            "Running Average : 5 for CPU for process java(42)"));
}

TEST_F(CounterPass, SaysThatAThresholdIsMissingAndShowsMinusOne)
{
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "PERCENT";
    mCPU.mProcessesRegisteredMonitoring["ABC"] = 80;
    mCPU.Add(42, "abc");
    mCPU.Pass(5.0);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("Could not find threshold value for process abc",
                    "CPU usage for process abc(42) : 5.00 Percent",
                    "CPU threshold for process abc(42) : -1 Percent",
                    "Sum : 5 Percent, Reading# : 1, Running Average : 5 Percent for CPU for process abc(42)",
                    "Running Average : 5 for CPU for process abc(42)"));
}

TEST_F(CounterPass, TracesOnlyWhenVerboseIsExactlyOne)
{
    mCPU.Add(42, "abc");
    for (const int verbose : {0, 2, -1}) {
        mConfig->mVerbose = verbose;
        mCPU.Pass(5.0);
    }
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(CounterPass, PrintsANegativeSumAsTheUnsignedNumberOfItsBits)
{
    mConfig->mVerbose = 1;
    mConfig->mMemoryUnit = "PERCENT";
    mCPU.mProcessesRegisteredMonitoring["abc"] = 80;
    mCPU.Add(42, "abc");
    mCPU.Pass(-3.5);
    EXPECT_EQ(GetLogLines().at(3), "Running Average : 18446744073709551613 for CPU for process abc(42)");
}
