#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

#include <stdexcept>

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{
constexpr char DUMP[] = "#1 CreateProcessDump | abc | 42 | Dump Event : CPU threshold detected by Tarnhaven "
                        "Health Sentinel Service "
                        "(Current Usage : 90.50 Percent,  Threshold Set : 80 Percent) | CPU";
constexpr char JAVA_DUMP[] = "#1 CreateJavaProcessDump | thwmc | /opt/jdk | 42 | CPU";
constexpr char MEMORY[] = "#1 MemoryPerformanceCounters | abc | 42 | no counters | CPU | ";
constexpr char NETWORK[] = "#1 CaptureNetworkPerformance | abc | 42 | no counters | CPU | ";
constexpr char DISK[] = "#1 CaptureDiskPerformanceCounters | abc | 42 | no counters | CPU | ";
constexpr char PROCESS_DATA[] = "#1 CaptureProcessSpecificData | abc | 42 | CPU | ";
constexpr char LOGGING[] = "#-1 IncreaseLogging | abc"; // has no need of the number, so it isn't stored anew

class CounterEvidence : public CounterFixture
{
protected:
    void SetUp() override
    {
        CounterFixture::SetUp();
        mConfig->mJdkHome = "/opt/jdk";
    }

    void SetGates(int processDump, int network, int disk, int logging)
    {
        mConfig->mCaptureProcessDump = processDump;
        mConfig->mCaptureNetworkStat = network;
        mConfig->mCaptureDiskIO = disk;
        mConfig->mIncreaseLogLevel = logging;
    }

    void MakeJava()
    {
        mCounter.mIsJavaProcess = true;
        mCounter.mProcessName = "java";
        mCounter.mJavaProcessName = "thwmc";
        mManager.mProcessesRegisteredMonitoring["thwmc"] = 80;
    }

    /** One pass that is a breach; its actions alone are in the record after it. */
    const std::vector<std::string>& Breach()
    {
        mRecord.mActions.clear();
        mCounter.mReadingNumber = 5;
        mCounter.mSum = 1000;
        mManager.Pass(90.5);
        return mRecord.mActions;
    }

    ReadingMgr mManager{"CPU"};
    Counter& mCounter = mManager.Add(42, "abc");
    int& mThreshold = mManager.mProcessesRegisteredMonitoring["abc"] = 80;
};

struct GateCase
{
    const char* mName;
    int mProcessDump;
    int mNetwork;
    int mDisk;
    int mLogging;
    std::vector<std::string> mActions;

    friend std::ostream& operator<<(std::ostream& out, const GateCase& row) { return out << row.mName; }
};

class CounterEvidenceGates : public CounterEvidence, public testing::WithParamInterface<GateCase>
{
};
} // namespace

TEST_P(CounterEvidenceGates, OpenTheirActionsInFixedOrder)
{
    const GateCase& row = GetParam();
    SetGates(row.mProcessDump, row.mNetwork, row.mDisk, row.mLogging);
    EXPECT_EQ(Breach(), row.mActions);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, CounterEvidenceGates,
    testing::Values(GateCase{"AllClosed", 0, 0, 0, 0, {MEMORY, PROCESS_DATA}},
                    GateCase{"AllOpen", 1, 1, 1, 1, {DUMP, MEMORY, NETWORK, DISK, PROCESS_DATA, LOGGING}},
                    GateCase{"ProcessDump", 1, 0, 0, 0, {DUMP, MEMORY, PROCESS_DATA}},
                    GateCase{"ProcessDumpIsAnyButZero", -1, 0, 0, 0, {DUMP, MEMORY, PROCESS_DATA}},
                    GateCase{"Network", 0, 1, 0, 0, {MEMORY, NETWORK, PROCESS_DATA}},
                    GateCase{"NetworkIsExactlyOne", 0, 2, 0, 0, {MEMORY, PROCESS_DATA}},
                    GateCase{"Disk", 0, 0, 1, 0, {MEMORY, DISK, PROCESS_DATA}},
                    GateCase{"DiskIsAnyButZero", 0, 0, 2, 0, {MEMORY, DISK, PROCESS_DATA}},
                    GateCase{"Logging", 0, 0, 0, 1, {MEMORY, PROCESS_DATA, LOGGING}},
                    GateCase{"LoggingIsAnyButZero", 0, 0, 0, -1, {MEMORY, PROCESS_DATA, LOGGING}}),
    [](const auto& test) { return test.param.mName; });

TEST_F(CounterEvidence, OfAJavaProcessHasItsOwnDumpAndCarriesTheConfiguredName)
{
    MakeJava();
    SetGates(1, 1, 1, 1);
    EXPECT_THAT(Breach(),
                ElementsAre(JAVA_DUMP, "#1 MemoryPerformanceCounters | java | 42 | no counters | CPU | thwmc",
                            "#1 CaptureNetworkPerformance | java | 42 | no counters | CPU | thwmc",
                            "#1 CaptureDiskPerformanceCounters | java | 42 | no counters | CPU | thwmc",
                            "#1 CaptureProcessSpecificData | java | 42 | CPU | thwmc",
                            "#-1 IncreaseLogging | thwmc"));
}

TEST_F(CounterEvidence, OfAJavaProcessHasNoDumpWhenDumpsAreOff)
{
    MakeJava();
    SetGates(0, 0, 0, 0);
    EXPECT_THAT(Breach(), ElementsAre("#1 MemoryPerformanceCounters | java | 42 | no counters | CPU | thwmc",
                                      "#1 CaptureProcessSpecificData | java | 42 | CPU | thwmc"));
}

TEST_F(CounterEvidence, OfAnOrdinaryProcessCarriesNoJavaNameWhateverTheCounterHolds)
{
    mCounter.mJavaProcessName = "thwmc";
    SetGates(1, 0, 0, 1);
    EXPECT_THAT(Breach(), ElementsAre(DUMP, MEMORY, PROCESS_DATA, LOGGING));
}

TEST_F(CounterEvidence, IsNumberedByTheSetsOfItsCounter)
{
    SetGates(0, 1, 1, 0);
    for (const char* const number : {"#1 ", "#2 ", "#3 "}) {
        EXPECT_THAT(Breach(), Each(StartsWith(number)));
    }
    EXPECT_THAT(Breach(), IsEmpty()) << "the fourth set is over the limit";
}

TEST_F(CounterEvidence, StoresTheNumberBeforeTheFirstActionAlsoWhenThatIsGated)
{
    SetGates(0, 0, 0, 0);
    mCounter.mDumpCount = 1;
    EXPECT_THAT(Breach(), Each(StartsWith("#2 ")));
}

TEST_F(CounterEvidence, LeavesTheNumberAloneWithoutABreach)
{
    mConfig->mCurrentEvidenceNumber = 7;
    mManager.Pass(90.5);
    EXPECT_EQ(mConfig->mCurrentEvidenceNumber, 7);
    mCounter.mDumpCount = mConfig->mMaxDumpCount;
    EXPECT_THAT(Breach(), IsEmpty());
    EXPECT_EQ(mConfig->mCurrentEvidenceNumber, 7) << "a breach over the limit numbers nothing";
}

TEST_F(CounterEvidence, CountsItsSetAfterTheLastAction)
{
    SetGates(1, 1, 1, 1);
    std::vector<int> counts;
    mRecord.mOnAction = [&] { counts.push_back(mCounter.mDumpCount); };
    (void)Breach();
    EXPECT_THAT(counts, ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_EQ(mCounter.mDumpCount, 1);
}

TEST_F(CounterEvidence, CountsItsSetAlsoWhenTheDumpFails)
{
    SetGates(1, 0, 0, 0);
    mRecord.mResult = false;
    EXPECT_THAT(Breach(), ElementsAre(DUMP, MEMORY, PROCESS_DATA));
    EXPECT_EQ(mCounter.mDumpCount, 1);
    MakeJava();
    (void)Breach();
    EXPECT_EQ(mCounter.mDumpCount, 2);
}

TEST_F(CounterEvidence, DescribesADumpOfMemoryInItsUnit)
{
    SetGates(1, 0, 0, 0);
    ReadingMgr memory("Memory");
    memory.mProcessesRegisteredMonitoring["abc"] = 512;
    Counter& counter = memory.Add(42, "abc");
    counter.mReadingNumber = 5;
    counter.mSum = 5000;
    memory.Pass(1024.129);
    EXPECT_EQ(mRecord.mActions.front(),
              "#1 CreateProcessDump | abc | 42 | Dump Event : Memory threshold detected by Tarnhaven Health "
              "Sentinel "
              "Service (Current Usage : 1024.13 MB,  Threshold Set : 512 MB) | Memory");
}

TEST_F(CounterEvidence, WithoutThresholdDescribesTheDumpWithMinusOne)
{
    SetGates(1, 0, 0, 0);
    mManager.mProcessesRegisteredMonitoring.clear();
    mConfig->mCaptureWithoutThreshold = 1;
    mManager.Pass(0.0);
    EXPECT_EQ(
        mRecord.mActions.front(),
        "#1 CreateProcessDump | abc | 42 | Dump Event : CPU threshold detected by Tarnhaven Health Sentinel "
        "Service (Current Usage : 0.00 Percent,  Threshold Set : -1 Percent) | CPU");
}

TEST_F(CounterEvidence, OfSeveralCountersComesInTheOrderOfTheirIds)
{
    SetGates(0, 0, 0, 0);
    mConfig->mCaptureWithoutThreshold = 1;
    mManager.Add(7, "abc").mDumpCount = 1;
    mManager.Pass(0.0);
    EXPECT_THAT(mRecord.mActions,
                ElementsAre("#2 MemoryPerformanceCounters | abc | 7 | no counters | CPU | ",
                            "#2 CaptureProcessSpecificData | abc | 7 | CPU | ", MEMORY, PROCESS_DATA));
}

TEST_F(CounterEvidence, LetsAnErrorOfAnActionThroughUncaught)
{
    mRecord.mOnAction = [] { throw std::out_of_range("listing"); };
    EXPECT_THROW(Breach(), std::out_of_range);
    EXPECT_EQ(mCounter.mDumpCount, 0);
    EXPECT_EQ(mCounter.mReadingNumber, 5);
}
