#include "page/html/Findings.h"

#include "page/html/Format.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr double LITTLE_MEMORY = 10; ///< percent available
constexpr double VERY_LITTLE_MEMORY = 4;
constexpr double MUCH_SWAPPED = 64.0 * 1024; ///< kilobytes within the set
constexpr double MUCH_GROWTH = 10.0 * 1024;  ///< kilobytes
constexpr double MUCH_WAIT = 20;             ///< percent of processor time
constexpr double MUCH_STEAL = 10;            ///< percent of processor time
constexpr double BUSY_DISK = 90;             ///< percent of the time
constexpr double SLOW_DISK = 50;             ///< milliseconds a request
constexpr int MANY_CLOSE_WAIT = 10;
constexpr double MANY_ZOMBIES = 10;
constexpr std::size_t MANY_AT_ONE_PLACE = 8;

using Findings = std::vector<Finding>;

class RangeMaker
{
public:
    void Take(double value)
    {
        if (value < 0) {
            return;
        }
        mRange.mFirst = mCount == 0 ? value : mRange.mFirst;
        mRange.mLowest = mCount == 0 ? value : std::min(mRange.mLowest, value);
        mRange.mHighest = std::max(mRange.mHighest, value);
        mRange.mLast = value;
        mSum += value;
        mRange.mMean = mSum / ++mCount;
    }
    Range Get() const { return mRange; }

private:
    Range mRange;
    double mSum = 0;
    int mCount = 0;
};

void FindMemory(const ReportData& data, Findings& found)
{
    const Range available = RangeOf(data.mSamples, &HostSample::mMemoryAvailable);
    const double total = RangeOf(data.mSamples, &HostSample::mMemoryTotal).mHighest;
    const double share = total > 0 && available.mLowest >= 0 ? 100 * available.mLowest / total : 100;
    if (share < LITTLE_MEMORY) {
        found.push_back({share < VERY_LITTLE_MEMORY ? Weight::Bad : Weight::Watch,
                         "The machine ran short of memory: only " + FormatKilobytes(available.mLowest) +
                             " of " + FormatKilobytes(total) + " (" + FormatPercent(share) +
                             ") were available at the lowest.",
                         "host"});
    }
    const Range swap = RangeOf(data.mSamples, &HostSample::mSwapUsed);
    if (swap.mLast - swap.mFirst > MUCH_SWAPPED) {
        found.push_back({Weight::Bad,
                         "The machine was swapping out: " + FormatKilobytes(swap.mLast - swap.mFirst) +
                             " more swap in use at the last sample than at the first.",
                         "host"});
    }
}

void FindLoad(const ReportData& data, Findings& found)
{
    const double load = RangeOf(data.mSamples, &HostSample::mLoad1).mHighest;
    if (data.mProcessors > 0 && load > 2.0 * data.mProcessors) {
        found.push_back({Weight::Watch,
                         "The load reached " + FormatPlain(load, 1) + " on " +
                             FormatCount(data.mProcessors, "processor") + ".",
                         "host"});
    }
    const double wait = RangeOf(data.mProcessorPoints, &ProcessorSample::mWait).mHighest;
    if (wait > MUCH_WAIT) {
        found.push_back({Weight::Watch,
                         "Processors waited for disks up to " + FormatPercent(wait) + " of the time.",
                         "host"});
    }
    const double steal = RangeOf(data.mProcessorPoints, &ProcessorSample::mSteal).mHighest;
    if (steal > MUCH_STEAL) {
        found.push_back(
            {Weight::Watch,
             "The hypervisor kept up to " + FormatPercent(steal) + " of processor time from this machine.",
             "host"});
    }
    const double zombies = RangeOf(data.mSamples, &HostSample::mZombies).mHighest;
    if (zombies > MANY_ZOMBIES) {
        found.push_back(
            {Weight::Note,
             FormatPlain(zombies, 0) + " zombie processes: their parents don't ask how they ended.",
             "processes"});
    }
}

void FindGrowth(const ReportData& data, Findings& found)
{
    const Range resident = RangeOf(data.mSamples, &HostSample::mTargetResident);
    if (resident.mLast - resident.mFirst > MUCH_GROWTH) {
        found.push_back({Weight::Watch,
                         data.mProcess + " grew by " + FormatKilobytes(resident.mLast - resident.mFirst) +
                             " while the samples were taken.",
                         "host"});
    }
    if (!data.mEarlier || !data.mMappings.mHasResident) {
        return;
    }
    const double growth = data.mMappings.mTotal.mResident - data.mEarlier->mMappings.mTotal.mResident;
    if (growth > MUCH_GROWTH) {
        found.push_back({Weight::Watch,
                         data.mProcess + " holds " + FormatKilobytes(growth) +
                             " more memory than at the set of " + FormatWall(data.mEarlier->mWall) + ".",
                         "mappings"});
    }
}

void FindDisks(const ReportData& data, Findings& found)
{
    for (const auto& [device, points] : data.mDisks) {
        const double busy = RangeOf(points, &DiskRow::mUtilisation).mMean;
        const double latency = RangeOf(points, &DiskRow::mLatency).mMean;
        if (busy > BUSY_DISK || latency > SLOW_DISK) {
            found.push_back({Weight::Watch,
                             "Disk " + device + " was busy " + FormatPercent(busy) +
                                 " of the time, and a request took " + FormatMilliseconds(latency) +
                                 " on average.",
                             "disks"});
        }
    }
}

void FindSockets(const ReportData& data, Findings& found)
{
    int sockets = 0;
    for (const SocketListing::Peer& peer : data.mSockets.mCloseWait) {
        sockets += peer.mSockets;
    }
    if (sockets < MANY_CLOSE_WAIT) {
        return;
    }
    const auto most =
        std::max_element(data.mSockets.mCloseWait.begin(), data.mSockets.mCloseWait.end(),
                         [](const auto& left, const auto& right) { return left.mSockets < right.mSockets; });
    found.push_back({Weight::Watch,
                     FormatCount(sockets, "socket") +
                         " in CLOSE_WAIT: the other side has closed and the program has "
                         "not. Most of them with " +
                         most->mForeign + (most->mProgram.empty() ? "" : ", held by " + most->mProgram) + ".",
                     "network"});
}

void FindThreads(const ReportData& data, Findings& found)
{
    if (!data.mJava.mDeadlocks.empty()) {
        found.push_back(
            {Weight::Bad, "Java threads are deadlocked: they wait for each other for ever.", "java"});
    }
    if (!data.mJava.mContended.empty()) {
        const JavaLock& lock = data.mJava.mContended.front();
        found.push_back({lock.mWaiters.size() >= MANY_AT_ONE_PLACE ? Weight::Watch : Weight::Note,
                         FormatCount(static_cast<double>(lock.mWaiters.size()), "thread") +
                             " waited for one lock (" + lock.mClass + ")" +
                             (lock.mOwner.empty() ? "." : ", held by " + lock.mOwner + "."),
                         "java"});
    }
    if (!data.mStacks.mGroups.empty() && data.mStacks.mGroups.front().mThreadCount >= MANY_AT_ONE_PLACE) {
        const StackGroup& group = data.mStacks.mGroups.front();
        found.push_back({Weight::Note,
                         FormatCount(static_cast<double>(group.mThreadCount), "thread") + " of " +
                             FormatPlain(static_cast<double>(data.mStacks.mThreadCount), 0) +
                             " stood at the same place" +
                             (group.mFrames.empty() ? "." : ", " + GetInnermostKnown(group.mFrames) + "."),
                         "threads"});
    }
}

void FindMissing(const ReportData& data, Findings& found)
{
    if (data.mState == "in-progress" && !data.mProblems.empty()) {
        const std::size_t more = data.mProblems.size() - 1;
        found.push_back(
            {Weight::Watch,
             "A capture is still at work. So far: " + data.mProblems.front() +
                 (more > 0 ? ", and " + FormatPlain(static_cast<double>(more), 0) + " more" : "") +
                 ". See thsentinelctl verify " + data.mSetId + ".",
             "files"});
    } else if (data.mState == "unknown") {
        found.push_back({Weight::Note, "It isn't known whether the evidence is whole.", "files"});
    } else if (data.mState == "incomplete" && !data.mProblems.empty()) {
        found.push_back({Weight::Watch,
                         "The evidence is not whole: " +
                             FormatCount(static_cast<double>(data.mProblems.size()), "problem") + ".",
                         "files"});
    }
}

template <typename Point, typename Row>
Range RangeOfRows(const std::vector<Point>& points, Row Point::*row, double Row::*member)
{
    RangeMaker maker;
    for (const Point& point : points) {
        maker.Take(point.*row.*member);
    }
    return maker.Get();
}
} // namespace

Range RangeOf(const std::vector<HostSample>& samples, double HostSample::*member)
{
    RangeMaker maker;
    for (const HostSample& sample : samples) {
        maker.Take(sample.*member);
    }
    return maker.Get();
}

Range RangeOf(const std::vector<DiskPoint>& points, double DiskRow::*member)
{
    return RangeOfRows(points, &DiskPoint::mRow, member);
}

Range RangeOf(const std::vector<ProcessorPoint>& points, double ProcessorSample::*member)
{
    return RangeOfRows(points, &ProcessorPoint::mSample, member);
}

double GrowthOf(const ReportData& data, const Mapping& mapping)
{
    if (!data.mEarlier) {
        return 0;
    }
    const auto& names = data.mEarlier->mMappings.mByName;
    const auto earlier = names.find(mapping.mName);
    return mapping.mResident - (earlier == names.end() ? 0 : earlier->second.mResident);
}

std::vector<Finding> FindWhatStandsOut(const ReportData& data)
{
    Findings found;
    for (const auto find :
         {FindMemory, FindLoad, FindGrowth, FindDisks, FindSockets, FindThreads, FindMissing}) {
        find(data, found);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Finding& left, const Finding& right) { return left.mWeight > right.mWeight; });
    return found;
}

} // namespace ctl
