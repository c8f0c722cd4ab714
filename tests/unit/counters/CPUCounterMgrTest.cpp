#include "counters/CPUCounterMgr.h"

#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr double PROBE = 200.0;

/** Answers the processor probe; every other probe would be noticed by its shell line. */
class ProbeHelper : public EvidenceHelper
{
public:
    ProbeHelper(EvidenceRecord& record, std::vector<std::string>& asked)
        : EvidenceHelper(record), mAsked(asked)
    {}

    double GetCPUUsageForProcessInPercent(std::string processName, int pid) override
    {
        mAsked.push_back(processName + " " + std::to_string(pid));
        return PROBE;
    }

private:
    std::vector<std::string>& mAsked;
};

class CPUReader : public CounterFixture
{
protected:
    void SetUp() override
    {
        CounterFixture::SetUp();
        GetHelperSeam().mMake = [this] { return new ProbeHelper(mRecord, mAsked); };
    }

    std::vector<std::string> mAsked;
    OpenMgr<CPUCounterMgr> mManager{"CPU"};
};

struct ProcessorCase
{
    const char* mName;
    int mProcessors;
    double mReading;

    friend std::ostream& operator<<(std::ostream& out, const ProcessorCase& row) { return out << row.mName; }
};

class CPUReaderOnProcessors : public CPUReader, public testing::WithParamInterface<ProcessorCase>
{
};
} // namespace

TEST_P(CPUReaderOnProcessors, DividesByTheirNumberWhenItIsAboveZero)
{
    mConfig->mCPUCount = GetParam().mProcessors;
    EXPECT_DOUBLE_EQ(mManager.ReadCounterIndexValue(&mManager.Add(42, "abc")), GetParam().mReading);
    EXPECT_THAT(mAsked, ElementsAre("abc 42"));
    EXPECT_THAT(mRecord.mScript.mLines, IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Counts, CPUReaderOnProcessors,
                         testing::Values(ProcessorCase{"Four", 4, 50.0}, ProcessorCase{"Three", 3, PROBE / 3},
                                         ProcessorCase{"One", 1, PROBE}, ProcessorCase{"None", 0, PROBE},
                                         ProcessorCase{"LessThanNone", -4, PROBE}),
                         [](const auto& test) { return test.param.mName; });

TEST_F(CPUReader, ReadsAJavaProcessUnderItsNameInTheProcessTables)
{
    (void)mManager.ReadCounterIndexValue(&mManager.Add(42, "java", "adminconsole"));
    EXPECT_THAT(mAsked, ElementsAre("java 42"));
}

TEST_F(CPUReader, LogsTheDividedValueWhenVerbose)
{
    mConfig->mVerbose = 1;
    mConfig->mCPUCount = 3;
    (void)mManager.ReadCounterIndexValue(&mManager.Add(42, "abc"));
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process abc (Pid 42) 66.666667."));
}

TEST_F(CPUReader, ReadsZeroWithoutAHelperAndStillLogsItsLine)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    mConfig->mVerbose = 1;
    mConfig->mCPUCount = 4;
    EXPECT_EQ(mManager.ReadCounterIndexValue(&mManager.Add(42, "abc")), 0.0);
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process abc (Pid 42) 0.000000."));
}

TEST_F(CPUReader, ReadsThroughTheProbeOfTheRealHelper)
{
    GetHelperSeam().mMake = [this] { return new EvidenceHelper(mRecord); };
    mRecord.mScript.mAnswer = [](const std::string&) { return "   42 12.5 /usr/bin/abc -x\n"; };
    EXPECT_DOUBLE_EQ(mManager.ReadCounterIndexValue(&mManager.Add(42, "abc")), 12.5);
    EXPECT_EQ(mManager.ReadCounterIndexValue(&mManager.Add(43, "abc")), 0.0)
        << "the line is of another process";
}
