#include "counters/ReadingWindow.h"

#include "counters/Counter.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr int WINDOW_LENGTH = 5;
constexpr int NO_THRESHOLD = -1;
constexpr double LARGEST_READING = 1e18; // five of them fit into 64 bits
} // namespace

std::int64_t TruncateReading(double reading)
{
    if (std::isnan(reading)) {
        return 0;
    }
    return static_cast<std::int64_t>(std::clamp(reading, -LARGEST_READING, LARGEST_READING));
}

bool AddReading(Counter& counter, std::int64_t value)
{
    if (counter.mFirstReading == -1) {
        counter.mFirstReading = value;
    }
    if (counter.mReadingNumber > WINDOW_LENGTH) {
        counter.mSum = 0;
        counter.mReadingNumber = 0;
        counter.mRunningAverage = 0;
        return false;
    }
    counter.mSum += value;
    counter.mRunningAverage = counter.mSum / counter.mReadingNumber;
    return true;
}

bool IsBreach(const Counter& counter, std::int64_t value, int threshold, const BreachRules& rules)
{
    if (rules.mCaptureWithoutThreshold != 0) {
        return true;
    }
    const bool isFullWindow = counter.mReadingNumber == WINDOW_LENGTH;
    const bool isAverageAbove = rules.mAlwaysDump == 1 || threshold < counter.mSum / WINDOW_LENGTH;
    return value > threshold && threshold != NO_THRESHOLD && isFullWindow && isAverageAbove;
}
