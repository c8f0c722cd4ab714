#include "counters/MemoryCounterMgr.h"

#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr double MEGABYTES = 512.25;
constexpr double PERCENT = 12.5;

class ProbeHelper : public EvidenceHelper
{
public:
    ProbeHelper(EvidenceRecord& record, std::vector<std::string>& asked)
        : EvidenceHelper(record), mAsked(asked)
    {}

    double GetMemoryUsageForProcessInMB(std::string processName, int pid) override
    {
        mAsked.push_back("MB of " + processName + " " + std::to_string(pid));
        return MEGABYTES;
    }

    double GetMemoryUsageForProcessInPercent(std::string processName, int pid) override
    {
        mAsked.push_back("percent of " + processName + " " + std::to_string(pid));
        return PERCENT;
    }

private:
    std::vector<std::string>& mAsked;
};

class MemoryReader : public CounterFixture
{
protected:
    void SetUp() override
    {
        CounterFixture::SetUp();
        GetHelperSeam().mMake = [this] { return new ProbeHelper(mRecord, mAsked); };
    }

    double Read(const std::string& unit)
    {
        mConfig->mMemoryUnit = unit;
        return mManager.ReadCounterIndexValue(&mCounter);
    }

    std::vector<std::string> mAsked;
    OpenMgr<MemoryCounterMgr> mManager{"Memory"};
    Counter& mCounter = mManager.Add(42, "abc");
};

struct UnitCase
{
    const char* mName;
    const char* mUnit;
    bool mIsAbsolute;

    friend std::ostream& operator<<(std::ostream& out, const UnitCase& row) { return out << row.mName; }
};

class MemoryReaderInUnit : public MemoryReader, public testing::WithParamInterface<UnitCase>
{
};
} // namespace

TEST_P(MemoryReaderInUnit, ChoosesItsProbe)
{
    const bool isAbsolute = GetParam().mIsAbsolute;
    EXPECT_EQ(Read(GetParam().mUnit), isAbsolute ? MEGABYTES : PERCENT);
    EXPECT_THAT(mAsked, ElementsAre(isAbsolute ? "MB of abc 42" : "percent of abc 42"));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Units, MemoryReaderInUnit,
    testing::Values(UnitCase{"Absolute", "ABSOLUTE", true}, UnitCase{"LowerCase", "absolute", true},
                    UnitCase{"MixedCase", "aBsOlUtE", true}, UnitCase{"Percent", "PERCENT", false},
                    UnitCase{"Empty", "", false}, UnitCase{"Prefix", "ABSOLUT", false},
                    UnitCase{"WithBlank", "ABSOLUTE ", false}, UnitCase{"AnyText", "MB", false}),
    [](const auto& test) { return test.param.mName; });

TEST_F(MemoryReader, AsksTheHelpersOwnClassWhetherTheUnitIsAbsolute)
{
    class HelperWithOneUnit : public ProbeHelper
    {
    public:
        using ProbeHelper::ProbeHelper;
        bool CompareIgnoreCase(std::string /*first*/, std::string /*second*/) override { return false; }
    };
    GetHelperSeam().mMake = [this] { return new HelperWithOneUnit(mRecord, mAsked); };
    EXPECT_EQ(Read("PERCENT"), MEGABYTES);
}

TEST_F(MemoryReader, LooksAtTheUnitOnEachReading)
{
    EXPECT_EQ(Read("ABSOLUTE"), MEGABYTES);
    EXPECT_EQ(Read("PERCENT"), PERCENT);
    EXPECT_EQ(Read("ABSOLUTE"), MEGABYTES);
}

TEST_F(MemoryReader, IsNeverNormalised)
{
    mConfig->mCPUCount = 4;
    mConfig->mTotalMemoryInKB = 1024;
    EXPECT_EQ(Read("ABSOLUTE"), MEGABYTES);
    EXPECT_EQ(Read("PERCENT"), PERCENT);
}

TEST_F(MemoryReader, LogsMegabytesWhenVerbose)
{
    mConfig->mVerbose = 1;
    (void)Read("ABSOLUTE");
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("MemoryCounterMgr::ReadCounterIndexValue Memory Usage : 512.25 MB for process abc ."));
}

TEST_F(MemoryReader, LogsPercentWhenVerbose)
{
    mConfig->mVerbose = 1;
    (void)Read("PERCENT");
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("MemoryCounterMgr::ReadCounterIndexValue Memory Usage : 12.50 PERCENT of memory for "
                    "process abc."));
}

TEST_F(MemoryReader, ReadsZeroWithoutAHelperAndLogsNothing)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    mConfig->mVerbose = 1;
    EXPECT_EQ(Read("ABSOLUTE"), 0.0);
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(MemoryReader, ReadsAJavaProcessUnderItsNameInTheProcessTables)
{
    (void)mManager.ReadCounterIndexValue(&mManager.Add(43, "java", "thwmc"));
    EXPECT_THAT(mAsked, ElementsAre("MB of java 43"));
}
