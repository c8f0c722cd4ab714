#pragma once

#include "page/html/Html.h"
#include "page/read/ReportData.h"

#include <string>
#include <vector>

namespace ctl
{

enum class ChartUnit
{
    Number,
    Percent,
    Kilobytes,
    Megabytes, ///< of the daemon, which never says more
    Milliseconds
};

/** A line of a chart. Points without a value are -1 and leave a gap. */
struct ChartSeries
{
    std::string mName;
    std::vector<double> mValues; ///< one a time of the chart
};

/** A chart over time: a static picture, and the numbers for the interactive one that replaces it. */
struct Chart
{
    std::string mId; ///< of ours
    std::string mTitle;
    ChartUnit mUnit = ChartUnit::Number;
    std::vector<Wall> mTimes;
    std::vector<ChartSeries> mSeries;
    double mCeiling = -1; ///< the axis reaches at least so far; -1 for the highest value
    double mLimit = -1;   ///< a line across; -1 for none
    Wall mMark = 0;       ///< moment of the breach, drawn if it lies within
};

/** Series with nothing but gaps are left out; a chart without series or with one time writes nothing. */
void WriteChart(Html& html, Chart chart);

/** Series beyond this many have no colour of their own. */
constexpr std::size_t MOST_SERIES = 6;

/** The step between the marks of an axis that reaches from 0 to `highest`: 1, 2 or 5 of some power of ten. */
double GetTickStep(double highest, int marks);

/** The seconds between the marks of a time axis: a usual part of a minute, an hour or a day, 1 at least. */
Wall GetTimeStep(Wall span, int marks);

} // namespace ctl
