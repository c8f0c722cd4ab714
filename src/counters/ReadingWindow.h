#pragma once

#include <cstdint>

class Counter;

/**
 * The reading window of a counter. Five readings are summed, the sixth is dropped and empties the window, so
 * a breach can be found once in six passes. Worker thread.
 */

/**
 * A reading truncated toward zero, for the window and the decision. A reading that no process can have is
 * bounded, so that five of them can be summed. One that is no number counts as 0.
 */
std::int64_t TruncateReading(double reading);

/** Adds a reading to the window. False when the reading was dropped and the window emptied. */
bool AddReading(Counter& counter, std::int64_t value);

/** Settings of the decision. */
struct BreachRules
{
    int mAlwaysDump;              ///< THHS_ALWAYS_DUMP; 1 drops the test of the average
    int mCaptureWithoutThreshold; ///< THHS_CAPTURE_WITHOUT_THRESHOLD; any number but 0 drops all tests
};

/**
 * Whether this reading is a breach, which needs the fifth reading of the window and both it and the average
 * of the five strictly above the threshold. The rules can drop the test of the average, or all tests.
 *
 * @param value      the reading, truncated
 * @param threshold  in the unit of the reading, -1 for none
 */
bool IsBreach(const Counter& counter, std::int64_t value, int threshold, const BreachRules& rules);
