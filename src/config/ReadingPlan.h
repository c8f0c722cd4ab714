#pragma once

/** How the statistics captures sample: mCount readings, mInterval seconds apart. */
struct ReadingPlan
{
    int mInterval;
    int mCount;
};

/** True when all readings fit into one poll interval (seconds). The product is 32-bit signed arithmetic. */
bool FitsInto(const ReadingPlan& plan, int pollInterval);

/** A plan that fits: wider apart for longer poll intervals, fewer readings for the shortest. */
ReadingPlan FitTo(ReadingPlan plan, int pollInterval);
