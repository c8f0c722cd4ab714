#include "config/ReadingPlan.h"

#include <algorithm>
#include <cstdint>

namespace
{
constexpr int FITTED_COUNT = 50;

struct FittedInterval
{
    int mAbovePollInterval;
    int mInterval;
};

constexpr FittedInterval FITTED_INTERVALS[] = {{200, 4}, {150, 3}, {100, 2}};

int ChooseInterval(int pollInterval)
{
    for (const FittedInterval& row : FITTED_INTERVALS) {
        if (pollInterval > row.mAbovePollInterval) {
            return row.mInterval;
        }
    }
    return 1;
}
} // namespace

bool FitsInto(const ReadingPlan& plan, int pollInterval)
{
    // Intentional: the product wraps around at 32 bits, so that stores with huge values keep their meaning.
    // Unsigned numbers wrap without undefined behaviour.
    const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(plan.mInterval) *
                                                   static_cast<std::uint32_t>(plan.mCount));
    return product < pollInterval;
}

ReadingPlan FitTo(ReadingPlan plan, int pollInterval)
{
    if (plan.mInterval > 1) {
        plan = {ChooseInterval(pollInterval), FITTED_COUNT};
    }
    if (plan.mInterval == 1 && plan.mCount >= pollInterval) {
        plan.mCount = std::min(FITTED_COUNT - 1, pollInterval - 1);
    }
    return plan;
}
