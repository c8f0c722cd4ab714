#pragma once

#include "page/parse/Columns.h"

#include <optional>
#include <string_view>
#include <vector>

namespace ctl
{

/** All processors together over one interval of mpstat, in percent. What the version doesn't print is -1. */
struct ProcessorSample
{
    std::optional<int> mClock; ///< seconds since midnight, at the interval's end
    double mUser = -1;
    double mNice = -1;
    double mSystem = -1;
    double mWait = -1;
    double mInterrupts = -1; ///< hard and soft ones
    double mSteal = -1;
    double mIdle = -1;
};

/** Reads `mpstat`, of sysstat 7 to 12, line by line. */
class MpstatParser
{
public:
    void TakeLine(std::string_view line);
    const std::vector<ProcessorSample>& Get() const { return mSamples; }

private:
    double Either(std::string_view name, std::string_view olderName) const;

    std::vector<ProcessorSample> mSamples;
    std::vector<std::string_view> mWords;
    Columns mColumns;
};

} // namespace ctl
