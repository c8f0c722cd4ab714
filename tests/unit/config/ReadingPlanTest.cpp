#include "config/ReadingPlan.h"

#include "config/SettingsFixture.h"

#include <climits>
#include <ostream>

namespace
{
struct FitRow
{
    const char* mName;
    int mInterval;
    int mCount;
    int mPollInterval;
    bool mFits;

    friend void PrintTo(const FitRow& row, std::ostream* out) { *out << row.mName; }
};

class ReadingPlanFit : public testing::TestWithParam<FitRow>
{
};

TEST_P(ReadingPlanFit, ComparesTheProductInThirtyTwoBits)
{
    const FitRow& row = GetParam();
    EXPECT_EQ(FitsInto({row.mInterval, row.mCount}, row.mPollInterval), row.mFits);
}

INSTANTIATE_TEST_SUITE_P(Plans, ReadingPlanFit,
                         testing::Values(FitRow{"Default", 5, 50, 600, true},
                                         FitRow{"OneSecondShort", 5, 50, 251, true},
                                         FitRow{"ExactlyThePollInterval", 5, 50, 250, false},
                                         FitRow{"OneSecondOver", 5, 50, 249, false},
                                         FitRow{"SmallestPollInterval", 1, 1, 1, false},
                                         FitRow{"NoReadings", 1, 0, 1, true},
                                         FitRow{"LargestPlanWithoutWrap", 1, INT_MAX, INT_MAX, false},
                                         FitRow{"WrapsToZero", 65536, 65536, 1, true},
                                         FitRow{"WrapsToTheLowestNumber", 2, 1 << 30, 1, true},
                                         FitRow{"WrapsBelowZero", 46341, 46341, 600, true},
                                         FitRow{"LargestSquareWithoutWrap", 46340, 46340, 600, false},
                                         FitRow{"WrapsToTwoThatFits", 3, 1431655766, 3, true},
                                         FitRow{"WrapsToTwoThatDoesNot", 3, 1431655766, 2, false},
                                         FitRow{"WrapsToOne", INT_MAX, INT_MAX, 2, true}),
                         NameOfRow());

struct PlanRow
{
    const char* mName;
    ReadingPlan mBefore;
    int mPollInterval;
    ReadingPlan mAfter;

    friend void PrintTo(const PlanRow& row, std::ostream* out) { *out << row.mName; }
};

class ReadingPlanChoice : public testing::TestWithParam<PlanRow>
{
};

TEST_P(ReadingPlanChoice, FollowsThePollInterval)
{
    const PlanRow& row = GetParam();
    const ReadingPlan fitted = FitTo(row.mBefore, row.mPollInterval);
    EXPECT_EQ(fitted.mInterval, row.mAfter.mInterval);
    EXPECT_EQ(fitted.mCount, row.mAfter.mCount);
}

INSTANTIATE_TEST_SUITE_P(
    Plans, ReadingPlanChoice,
    testing::Values(PlanRow{"Above200", {5, 50}, 201, {4, 50}}, PlanRow{"At200", {5, 50}, 200, {3, 50}},
                    PlanRow{"Above150", {5, 50}, 151, {3, 50}}, PlanRow{"At150", {5, 50}, 150, {2, 50}},
                    PlanRow{"Above100", {5, 50}, 101, {2, 50}}, PlanRow{"At100", {5, 50}, 100, {1, 50}},
                    PlanRow{"At51", {5, 50}, 51, {1, 50}}, PlanRow{"At50", {5, 50}, 50, {1, 49}},
                    PlanRow{"At49", {5, 50}, 49, {1, 48}}, PlanRow{"At30", {5, 50}, 30, {1, 29}},
                    PlanRow{"At2", {5, 50}, 2, {1, 1}}, PlanRow{"At1", {5, 50}, 1, {1, 0}},
                    PlanRow{"CountIsSetWhateverItWas", {300, 2}, 600, {4, 50}},
                    PlanRow{"SmallCountIsRaised", {60, 1}, 60, {1, 50}},
                    PlanRow{"IntervalOfTwo", {2, 100}, 200, {3, 50}},
                    PlanRow{"IntervalOfOneKeepsTheTableAway", {1, 1000}, 600, {1, 49}},
                    PlanRow{"IntervalOfOneAtItsPollInterval", {1, 50}, 50, {1, 49}},
                    PlanRow{"IntervalOfOneThatFits", {1, 49}, 50, {1, 49}},
                    PlanRow{"IntervalOfOneAtPollIntervalOne", {1, 1}, 1, {1, 0}},
                    PlanRow{"LargestOfAll", {1, INT_MAX}, INT_MAX, {1, 49}},
                    PlanRow{"LongestPollInterval", {INT_MAX, 1}, INT_MAX, {4, 50}}),
    NameOfRow());
} // namespace
