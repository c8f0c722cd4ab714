#pragma once

#include "page/read/ReportData.h"

#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

enum class Weight
{
    Note,
    Watch,
    Bad
};

/** One thing that a reader should see first. */
struct Finding
{
    Weight mWeight = Weight::Note;
    std::string mText;
    std::string_view mPart; ///< id of the part of the page that shows more
};

/** What stands out in a set, the worst first; things of one weight stay in the order of the page. */
std::vector<Finding> FindWhatStandsOut(const ReportData& data);

/** Highest and mean of the values that are known; -1 without any. */
struct Range
{
    double mLowest = -1;
    double mHighest = -1;
    double mFirst = -1;
    double mLast = -1;
    double mMean = -1;
};

/** The range of one member over the samples of the machine. */
Range RangeOf(const std::vector<HostSample>& samples, double HostSample::*member);

/** The range of one member over the points of a disk. */
Range RangeOf(const std::vector<DiskPoint>& points, double DiskRow::*member);

/** The range of one member over the samples of the processors. */
Range RangeOf(const std::vector<ProcessorPoint>& points, double ProcessorSample::*member);

/** Growth of a mapping of this name since the earlier set, kilobytes. 0 without an earlier set. */
double GrowthOf(const ReportData& data, const Mapping& mapping);

} // namespace ctl
