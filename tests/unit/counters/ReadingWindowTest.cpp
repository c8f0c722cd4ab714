#include "counters/ReadingWindow.h"

#include "counters/CounterFixture.h"

#include <cmath>
#include <limits>

namespace
{
struct TruncationCase
{
    double mReading;
    std::int64_t mValue;

    friend std::ostream& operator<<(std::ostream& out, const TruncationCase& row)
    {
        return out << row.mReading;
    }
};

class Truncation : public testing::TestWithParam<TruncationCase>
{
};

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t LARGEST = 1000000000000000000;
} // namespace

TEST_P(Truncation, GoesTowardZeroAndStaysSummable)
{
    EXPECT_EQ(TruncateReading(GetParam().mReading), GetParam().mValue);
}

INSTANTIATE_TEST_SUITE_P(
    Readings, Truncation,
    testing::Values(TruncationCase{0.0, 0}, TruncationCase{0.99, 0}, TruncationCase{1.0, 1},
                    TruncationCase{85.99, 85}, TruncationCase{86.0, 86}, TruncationCase{-0.99, 0},
                    TruncationCase{-85.99, -85}, TruncationCase{4294967296.5, 4294967296},
                    TruncationCase{1e17, LARGEST / 10}, TruncationCase{1e18, LARGEST},
                    TruncationCase{1e300, LARGEST}, TruncationCase{INFINITE, LARGEST},
                    TruncationCase{-1e300, -LARGEST}, TruncationCase{-INFINITE, -LARGEST},
                    TruncationCase{NOT_A_NUMBER, 0}));

TEST(ReadingWindow, SumsFiveReadingsDropsTheSixthAndStartsAnew)
{
    struct Step
    {
        std::int64_t mValue;
        bool mIsCounted;
        std::int64_t mSum;
        std::int64_t mAverage;
        int mNumber; ///< before the caller raises it
    };
    const Step steps[] = {{10, true, 10, 10, 1}, {11, true, 21, 10, 2}, {12, true, 33, 11, 3},
                          {14, true, 47, 11, 4}, {18, true, 65, 13, 5}, {999, false, 0, 0, 0},
                          {7, true, 7, 7, 1},    {8, true, 15, 7, 2}};
    Counter counter;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.mValue);
        EXPECT_EQ(AddReading(counter, step.mValue), step.mIsCounted);
        EXPECT_EQ(counter.mSum, step.mSum);
        EXPECT_EQ(counter.mRunningAverage, step.mAverage);
        EXPECT_EQ(counter.mReadingNumber, step.mNumber);
        EXPECT_EQ(counter.mFirstReading, 10) << "the first reading is never replaced";
        ++counter.mReadingNumber;
    }
}

TEST(ReadingWindow, TakesTheReadingAfterMinusOneForTheFirstAgain)
{
    Counter counter;
    (void)AddReading(counter, -1);
    EXPECT_EQ(counter.mFirstReading, -1);
    (void)AddReading(counter, 7);
    (void)AddReading(counter, 8);
    EXPECT_EQ(counter.mFirstReading, 7);
}

TEST(ReadingWindow, DividesTheSumTowardZero)
{
    Counter counter;
    counter.mReadingNumber = 2;
    (void)AddReading(counter, -5);
    EXPECT_EQ(counter.mRunningAverage, -2);
}

TEST(ReadingWindow, HoldsFiveOfTheLargestReadings)
{
    Counter counter;
    for (int reading = 1; reading <= 5; ++reading) {
        EXPECT_TRUE(AddReading(counter, LARGEST));
        ++counter.mReadingNumber;
    }
    EXPECT_EQ(counter.mSum, 5 * LARGEST);
    EXPECT_EQ(counter.mRunningAverage, LARGEST);
}

namespace
{
/** One decision with all that enters it. What isn't named is as in the breach of the first row. */
struct DecisionCase
{
    const char* mName;
    bool mIsBreach;
    std::int64_t mValue = 91;
    int mThreshold = 90;
    int mReadingNumber = 5;
    std::int64_t mSum = 455;
    int mAlwaysDump = 0;
    int mCaptureWithoutThreshold = 0;

    friend std::ostream& operator<<(std::ostream& out, const DecisionCase& row) { return out << row.mName; }
};

class Decision : public testing::TestWithParam<DecisionCase>
{
};
} // namespace

TEST_P(Decision, FollowsItsTable)
{
    const DecisionCase& row = GetParam();
    Counter counter;
    counter.mReadingNumber = row.mReadingNumber;
    counter.mSum = row.mSum;
    counter.mRunningAverage = 1000000; // is for the log alone
    const BreachRules rules = {row.mAlwaysDump, row.mCaptureWithoutThreshold};
    EXPECT_EQ(IsBreach(counter, row.mValue, row.mThreshold, rules), row.mIsBreach);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Decision,
    testing::Values(
        DecisionCase{.mName = "ValueAndAverageAbove", .mIsBreach = true},
        DecisionCase{.mName = "ValueEqual", .mIsBreach = false, .mValue = 90},
        DecisionCase{.mName = "ValueBelow", .mIsBreach = false, .mValue = 81, .mSum = 481},
        DecisionCase{.mName = "AverageJustAbove", .mIsBreach = true, .mSum = 455},
        DecisionCase{.mName = "AverageEqualAfterTruncation", .mIsBreach = false, .mSum = 454},
        DecisionCase{.mName = "AverageEqual", .mIsBreach = false, .mSum = 450},
        DecisionCase{.mName = "AverageBelow", .mIsBreach = false, .mSum = 91},
        DecisionCase{.mName = "NoReadingYet", .mIsBreach = false, .mReadingNumber = 0},
        DecisionCase{.mName = "FirstReading", .mIsBreach = false, .mReadingNumber = 1},
        DecisionCase{.mName = "FourthReading", .mIsBreach = false, .mReadingNumber = 4},
        DecisionCase{.mName = "SixthReading", .mIsBreach = false, .mReadingNumber = 6},
        DecisionCase{.mName = "NoThreshold", .mIsBreach = false, .mThreshold = -1},
        DecisionCase{
            .mName = "NoThresholdWithAlwaysDump", .mIsBreach = false, .mThreshold = -1, .mAlwaysDump = 1},
        DecisionCase{.mName = "ThresholdZero", .mIsBreach = true, .mValue = 1, .mThreshold = 0, .mSum = 5},
        DecisionCase{
            .mName = "ThresholdZeroIdle", .mIsBreach = false, .mValue = 0, .mThreshold = 0, .mSum = 5},
        DecisionCase{.mName = "AlwaysDumpDropsTheAverage", .mIsBreach = true, .mSum = 91, .mAlwaysDump = 1},
        DecisionCase{.mName = "AlwaysDumpIsExactlyOne", .mIsBreach = false, .mSum = 91, .mAlwaysDump = 2},
        DecisionCase{.mName = "AlwaysDumpKeepsTheValue", .mIsBreach = false, .mValue = 90, .mAlwaysDump = 1},
        DecisionCase{.mName = "AlwaysDumpKeepsTheFifthReading",
                     .mIsBreach = false,
                     .mReadingNumber = 4,
                     .mAlwaysDump = 1},
        DecisionCase{.mName = "WithoutThresholdDropsAll",
                     .mIsBreach = true,
                     .mValue = 0,
                     .mThreshold = -1,
                     .mReadingNumber = 1,
                     .mSum = 0,
                     .mCaptureWithoutThreshold = 1},
        DecisionCase{.mName = "WithoutThresholdIsAnyButZero",
                     .mIsBreach = true,
                     .mValue = 0,
                     .mCaptureWithoutThreshold = 2},
        DecisionCase{.mName = "WideValue", .mIsBreach = true, .mValue = 1LL << 40, .mSum = 5LL << 40},
        DecisionCase{.mName = "WideNegativeValue", .mIsBreach = false, .mValue = -(1LL << 40)}),
    [](const auto& test) { return test.param.mName; });
