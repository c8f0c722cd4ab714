#pragma once

/** How the statistics captures sample: mCount readings, mInterval seconds apart. */
struct ReadingPlan
{
    int mInterval;
    int mCount;
};

/** True when all readings fit into one poll interval, in seconds. The product wraps around at 32 bits. */
bool FitsInto(const ReadingPlan& plan, int pollInterval);

/** A plan that fits: a longer interval for longer poll intervals, fewer readings for the shortest. */
ReadingPlan FitTo(ReadingPlan plan, int pollInterval);
