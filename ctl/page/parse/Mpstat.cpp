#include "page/parse/Mpstat.h"

namespace ctl
{

namespace
{
constexpr std::size_t MOST_SAMPLES = 20000;
} // namespace

double MpstatParser::Either(std::string_view name, std::string_view olderName) const
{
    return mColumns.Number(mColumns.Has(name) ? name : olderName, -1);
}

void MpstatParser::TakeLine(std::string_view line)
{
    if (line.find(" CPU ") != std::string_view::npos && line.find("%idle") != std::string_view::npos) {
        mColumns.TakeHead(line);
        return;
    }
    mColumns.TakeRow(line);
    if (mColumns.Text("CPU") != "all" || line.starts_with("Average") || mSamples.size() == MOST_SAMPLES) {
        return;
    }
    SplitFields(line, mWords);
    ProcessorSample& sample = mSamples.emplace_back();
    sample.mClock = FindClock(mWords);
    sample.mUser = Either("%usr", "%user");
    sample.mNice = Either("%nice", "%nice");
    sample.mSystem = Either("%sys", "%system");
    sample.mWait = Either("%iowait", "%iowait");
    sample.mInterrupts = mColumns.Number("%irq") + mColumns.Number("%soft");
    sample.mSteal = Either("%steal", "%steal");
    sample.mIdle = Either("%idle", "%idle");
}

} // namespace ctl
