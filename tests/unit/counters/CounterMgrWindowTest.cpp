#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

#include <numeric>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr int PLENTY = 1000000;

/** The passes, counted from 1, in which a manager finds a breach of its one counter. */
class CounterWindow : public CounterFixture
{
protected:
    void SetUp() override
    {
        CounterFixture::SetUp();
        mConfig->mMaxDumpCount = PLENTY;
    }

    std::vector<int> GetBreaches(const std::vector<double>& readings)
    {
        std::vector<int> passes;
        for (std::size_t pass = 1; pass <= readings.size(); ++pass) {
            const int before = mCounter.mDumpCount;
            mManager.Pass(readings[pass - 1]);
            if (mCounter.mDumpCount != before) {
                passes.push_back(static_cast<int>(pass));
            }
        }
        return passes;
    }

    void SetThreshold(int threshold) { mManager.mProcessesRegisteredMonitoring["abc"] = threshold; }

    ReadingMgr mManager{"CPU"};
    Counter& mCounter = mManager.Add(42, "abc");
};

struct SequenceCase
{
    const char* mName;
    std::vector<double> mReadings;
    int mThreshold;
    std::vector<int> mBreaches;
    int mAlwaysDump = 0;

    friend std::ostream& operator<<(std::ostream& out, const SequenceCase& row) { return out << row.mName; }
};

class CounterWindowSequence : public CounterWindow, public testing::WithParamInterface<SequenceCase>
{
};
} // namespace

TEST_P(CounterWindowSequence, BreachesInThesePassesAlone)
{
    SetThreshold(GetParam().mThreshold);
    mConfig->mAlwaysDump = GetParam().mAlwaysDump;
    EXPECT_EQ(GetBreaches(GetParam().mReadings), GetParam().mBreaches);
}

INSTANTIATE_TEST_SUITE_P(
    Readings, CounterWindowSequence,
    testing::Values(SequenceCase{"AboveForACycle", {90, 90, 90, 90, 90, 90}, 80, {5}},
                    SequenceCase{"AboveForThreeCycles", std::vector<double>(18, 90), 80, {5, 11, 17}},
                    SequenceCase{"AboveForFourPasses", {90, 90, 90, 90}, 80, {}},
                    SequenceCase{"FifthNotAbove", {100, 100, 100, 100, 81}, 90, {}},
                    SequenceCase{"FifthAloneAbove", {0, 0, 0, 0, 91}, 90, {}},
                    SequenceCase{"FifthAloneAboveAlwaysDump", {0, 0, 0, 0, 91}, 90, {5}, 1},
                    SequenceCase{"FifthAloneAboveOtherSwitchValue", {0, 0, 0, 0, 91}, 90, {}, 2},
                    SequenceCase{"FifthNotAboveAlwaysDump", {100, 100, 100, 100, 90}, 90, {}, 1},
                    SequenceCase{"FourthAboveAlwaysDump", {0, 0, 0, 100, 90, 100}, 90, {}, 1},
                    SequenceCase{"AverageEqualAfterTruncation", {90, 90, 90, 90, 91}, 90, {}},
                    SequenceCase{"AverageOneAbove", {90, 90, 90, 90, 95}, 90, {5}},
                    SequenceCase{"FractionsDoNotCount", {85.99, 85.99, 85.99, 85.99, 85.99}, 85, {}},
                    SequenceCase{"FractionsAreCutBeforeTheSum", {86, 85.99, 85.99, 85.99, 86}, 85, {}},
                    SequenceCase{"SixthIsNotCounted", {0, 0, 0, 0, 0, 10000, 80, 80, 80, 80, 91}, 90, {}},
                    SequenceCase{"SixthIsNotDecidedUpon", {0, 0, 0, 0, 0, 10000, 0, 0, 0, 0, 0}, 90, {}},
                    SequenceCase{
                        "SeventhOpensAFreshSum", {100, 100, 100, 100, 100, 0, 80, 80, 80, 80, 91}, 90, {5}},
                    SequenceCase{"SecondCycleAlone", {0, 0, 0, 0, 0, 0, 91, 91, 91, 91, 91, 91}, 90, {11}},
                    SequenceCase{"NoThreshold", std::vector<double>(12, 100), -1, {}},
                    SequenceCase{"NoThresholdAlwaysDump", std::vector<double>(12, 100), -1, {}, 1},
                    SequenceCase{"ThresholdZero", {1, 1, 1, 1, 1}, 0, {5}},
                    SequenceCase{"ThresholdZeroIdle", {0.9, 0.9, 0.9, 0.9, 0.9}, 0, {}},
                    SequenceCase{"FailedReadingPullsTheAverageDown", {92, 92, 0, 92, 92}, 90, {}}),
    [](const auto& test) { return test.param.mName; });

TEST_F(CounterWindow, RunsInCyclesOfSixPasses)
{
    SetThreshold(1000);
    std::vector<int> numbers;
    std::vector<std::int64_t> sums;
    for (const double reading : {1.9, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0}) {
        mManager.Pass(reading);
        numbers.push_back(mCounter.mReadingNumber);
        sums.push_back(mCounter.mSum);
    }
    EXPECT_THAT(numbers, ElementsAre(2, 3, 4, 5, 6, 1, 2, 3));
    EXPECT_THAT(sums, ElementsAre(1, 3, 6, 10, 15, 0, 7, 15));
    EXPECT_EQ(mCounter.mFirstReading, 1);
}

TEST_F(CounterWindow, RunsOnThroughABreach)
{
    SetThreshold(80);
    EXPECT_THAT(GetBreaches(std::vector<double>(5, 90)), ElementsAre(5));
    EXPECT_EQ(mCounter.mReadingNumber, 6);
    EXPECT_EQ(mCounter.mSum, 450);
}

TEST_F(CounterWindow, LooksTheThresholdUpAnewInEachPass)
{
    SetThreshold(95);
    EXPECT_THAT(GetBreaches(std::vector<double>(4, 90)), IsEmpty());
    SetThreshold(80);
    EXPECT_THAT(GetBreaches({90}), ElementsAre(1));
}

TEST_F(CounterWindow, FindsNoBreachWithoutAnEntryForTheName)
{
    mManager.mProcessesRegisteredMonitoring["ABC"] = 1;
    mConfig->mAlwaysDump = 1;
    EXPECT_THAT(GetBreaches(std::vector<double>(12, 100)), IsEmpty());
}

TEST_F(CounterWindow, LooksUpAJavaCounterByItsConfiguredName)
{
    mCounter.mIsJavaProcess = true;
    mCounter.mProcessName = "java";
    mCounter.mJavaProcessName = "thwmc";
    mManager.mProcessesRegisteredMonitoring["java"] = 1;
    EXPECT_THAT(GetBreaches(std::vector<double>(6, 90)), IsEmpty());
    mManager.mProcessesRegisteredMonitoring["thwmc"] = 80;
    EXPECT_THAT(GetBreaches(std::vector<double>(6, 90)), ElementsAre(5));
}

TEST_F(CounterWindow, IsLeftAsideWithoutThresholdSoThatEveryPassBreaches)
{
    mConfig->mCaptureWithoutThreshold = 1;
    EXPECT_THAT(GetBreaches({0, 0, 0, 0, 0, 0, 0, 0}), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(mCounter.mReadingNumber, 3) << "the window moves on all the same";
}

TEST_F(CounterWindow, TakesMegabytesAsPlainNumbers)
{
    ReadingMgr memory("Memory");
    const Counter& counter = memory.Add(42, "abc");
    memory.mProcessesRegisteredMonitoring["abc"] = 512;
    for (int pass = 1; pass <= 5; ++pass) {
        memory.Pass(513.0);
    }
    EXPECT_EQ(counter.mDumpCount, 1);
}

// ---- Random readings against a model
// ---------------------------------------------------------------------------

namespace
{
/** The decision, from the history of the readings alone. */
bool IsExpected(const std::vector<double>& history, const ConfigurationMgr& config, int threshold)
{
    const std::size_t place = (history.size() - 1) % 6;
    const auto sum =
        std::accumulate(history.end() - static_cast<std::ptrdiff_t>(place) - 1, history.end(), 0L,
                        [](long total, double reading) { return total + static_cast<long>(reading); });
    const bool isLoud =
        static_cast<long>(history.back()) > threshold && (config.mAlwaysDump == 1 || sum / 5 > threshold);
    return config.mCaptureWithoutThreshold != 0 || (place == 4 && threshold >= 0 && isLoud);
}

/** Settings that a reload has brought. Readings lie close to the thresholds, so that boundaries are met. */
void Reload(ConfigurationMgr& config, std::map<std::string, int>& thresholds, std::mt19937& random)
{
    const auto isOneIn = [&random](int count) {
        return std::uniform_int_distribution(1, count)(random) == 1;
    };
    config.mAlwaysDump = isOneIn(3) ? 1 : 0;
    config.mCaptureWithoutThreshold = isOneIn(10) ? 1 : 0;
    thresholds.clear();
    if (!isOneIn(8)) {
        thresholds["abc"] = std::uniform_int_distribution(88, 92)(random);
    }
}
} // namespace

TEST_F(CounterWindow, AgreesWithItsModelOnRandomReadingsAndReloads)
{
    std::mt19937 random(GetRandomSeed());
    std::map<int, std::vector<double>> histories;
    std::map<int, int> expectedSets;
    mManager.mRead = [&](const Counter& counter) {
        std::vector<double>& history = histories[counter.mCounterIndex];
        history.push_back(std::uniform_real_distribution(86.0, 95.0)(random));
        return history.back();
    };
    for (int pass = 0; pass < 600; ++pass) {
        if (pass % 50 == 0) {
            mManager.Add(1000 + pass, "abc"); // so that the windows stand at different places
        }
        if (pass % 7 == 0) {
            Reload(*mConfig, mManager.mProcessesRegisteredMonitoring, random);
        }
        const auto entry = mManager.mProcessesRegisteredMonitoring.find("abc");
        const int threshold = entry == mManager.mProcessesRegisteredMonitoring.end() ? -1 : entry->second;
        mManager.HandleThresholdBreach();
        for (const auto& [pid, counter] : mManager.mProcessIDAndCouterMap) {
            expectedSets[pid] += IsExpected(histories[pid], *mConfig, threshold) ? 1 : 0;
            ASSERT_EQ(counter->mDumpCount, expectedSets[pid])
                << "pass " << pass << ", counter " << pid << ", last readings "
                << testing::PrintToString(histories[pid]);
        }
    }
}
