#pragma once

#include "page/read/ReportData.h"

#include <optional>

namespace ctl
{

constexpr Wall SECONDS_OF_DAY = 86400;

/** Gives times of day, which come in their order, the day that they belong to. */
class WallClock
{
public:
    /** `start` is when the first of them can be. */
    explicit WallClock(Wall start) : mLast(start) {}

    /**
     * The time of day on the day on which it is nearest to the one before it; without one, the one before.
     */
    Wall At(std::optional<int> clock)
    {
        if (clock) {
            const Wall day = mLast - mLast % SECONDS_OF_DAY;
            mLast = Nearest(day + *clock);
        }
        return mLast;
    }

private:
    Wall Nearest(Wall wall) const
    {
        if (wall < mLast - SECONDS_OF_DAY / 2) {
            return wall + SECONDS_OF_DAY;
        }
        return wall > mLast + SECONDS_OF_DAY / 2 ? wall - SECONDS_OF_DAY : wall;
    }

    Wall mLast;
};

} // namespace ctl
