#include "page/read/MemoryReader.h"

#include <algorithm>

namespace ctl
{

namespace
{
constexpr std::size_t MOST_SAMPLES = 20000;
/** Far more than a host runs over the time of a set; what comes beyond is counted. */
constexpr std::size_t MOST_PROCESSES = 60000;
constexpr std::size_t LONGEST_COMMAND = 200;

double OrElse(double value, double otherwise)
{
    return value >= 0 ? value : otherwise;
}
} // namespace

MemoryReader::MemoryReader(ReportData& data) : mData(data), mClock(data.mWall) {}

HostSample& MemoryReader::Sample()
{
    if (mData.mSamples.empty() || (!mHasSample && mData.mSamples.size() < MOST_SAMPLES)) {
        mData.mSamples.emplace_back().mWall = mClock.At(std::nullopt);
        mHasSample = true;
    }
    return mData.mSamples.back();
}

LineTaker MemoryReader::Begin(std::string_view toolLine)
{
    mEnd = nullptr;
    if (toolLine.starts_with("top ")) {
        mTop = TopParser();
        mHasSample = false; // a sample begins with top
        mEnd = &MemoryReader::EndTop;
        return [this](std::string_view line) { mTop.TakeLine(line); };
    }
    if (toolLine.starts_with("ps ")) {
        mListing = ProcessListingParser(GetListingWidth(toolLine));
        mEnd = &MemoryReader::EndListing;
        return [this](std::string_view line) { mListing.TakeLine(line); };
    }
    if (toolLine.starts_with("free")) {
        mFree = FreeParser();
        mEnd = &MemoryReader::EndFree;
        return [this](std::string_view line) { mFree.TakeLine(line); };
    }
    if (toolLine.starts_with("vmstat")) {
        mVmstat = VmstatParser();
        mEnd = &MemoryReader::EndFree;
        return [this](std::string_view line) { mVmstat.TakeLine(line); };
    }
    if (toolLine.starts_with("cat /proc/meminfo")) {
        mMeminfo = NamedValues();
        mEnd = &MemoryReader::EndMeminfo;
        return [this](std::string_view line) { mMeminfo.TakeLine(line); };
    }
    return {};
}

void MemoryReader::End()
{
    if (mEnd != nullptr) {
        (this->*mEnd)();
    }
}

void MemoryReader::EndTop()
{
    const TopReading& top = mTop.Get();
    const Wall wall = mClock.At(top.mClock);
    HostSample& sample = Sample();
    sample.mWall = wall;
    sample.mLoad1 = top.mLoad[0];
    sample.mLoad5 = top.mLoad[1];
    sample.mLoad15 = top.mLoad[2];
    sample.mTasks = top.mTasks;
    sample.mZombies = top.mZombies;
    sample.mMemoryTotal = top.mMemoryTotal;
    sample.mMemoryUsed = top.mMemoryUsed;
    sample.mMemoryAvailable = top.mMemoryAvailable;
    sample.mSwapTotal = top.mSwapTotal;
    sample.mSwapUsed = top.mSwapUsed;
    for (const ProcessRow& row : top.mProcesses) {
        AddCpu(row);
    }
}

void MemoryReader::EndListing()
{
    HostSample& sample = Sample();
    for (const ProcessRow& row : mListing.Get().mProcesses) {
        AddResident(row);
        if (row.mPid == mData.mPid) {
            sample.mTargetResident = row.mResident;
        }
    }
    mData.mProcessesLeftOut += mListing.Get().mRowsLeftOut;
}

/** After free and after vmstat: each reading is newly empty or the one of this sample. */
void MemoryReader::EndFree()
{
    HostSample& sample = Sample();
    const FreeReading& memory = mFree.Get();
    sample.mMemoryTotal = OrElse(memory.mTotal, sample.mMemoryTotal);
    sample.mMemoryUsed = OrElse(memory.mUsed, sample.mMemoryUsed);
    sample.mMemoryAvailable = OrElse(memory.mAvailable, sample.mMemoryAvailable);
    sample.mCache = OrElse(memory.mCache, sample.mCache);
    sample.mSwapTotal = OrElse(memory.mSwapTotal, sample.mSwapTotal);
    sample.mSwapUsed = OrElse(memory.mSwapUsed, sample.mSwapUsed);
    sample.mRunnable = OrElse(mVmstat.Get().mRunnable, sample.mRunnable);
    sample.mBlocked = OrElse(mVmstat.Get().mBlocked, sample.mBlocked);
    mFree = FreeParser();
    mVmstat = VmstatParser();
}

void MemoryReader::EndMeminfo()
{
    HostSample& sample = Sample();
    const double total = mMeminfo.Number("MemTotal");
    sample.mMemoryTotal = OrElse(total, sample.mMemoryTotal);
    sample.mCommitted = mMeminfo.Number("Committed_AS");
    if (sample.mMemoryAvailable < 0) {
        sample.mMemoryAvailable = mMeminfo.Number("MemAvailable");
    }
    // Kernels before 3.14 estimate nothing: free, buffers and cache come near.
    if (sample.mMemoryAvailable < 0 && mMeminfo.Number("MemFree") >= 0) {
        sample.mMemoryAvailable = mMeminfo.Number("MemFree") + std::max(mMeminfo.Number("Buffers"), 0.0) +
                                  std::max(mMeminfo.Number("Cached"), 0.0);
    }
}

ProcessSummary* MemoryReader::Summary(const ProcessRow& row)
{
    if (mData.mProcesses.size() >= MOST_PROCESSES && !mData.mProcesses.contains(row.mPid)) {
        ++mData.mProcessesLeftOut;
        return nullptr;
    }
    ProcessSummary& summary = mData.mProcesses[row.mPid];
    summary.mPid = row.mPid;
    summary.mMemory = std::max(summary.mMemory, row.mMemory);
    return &summary;
}

void MemoryReader::AddCpu(const ProcessRow& row)
{
    ProcessSummary* const summary = Summary(row);
    if (summary == nullptr) {
        return;
    }
    if (summary->mCommand.empty()) {
        summary->mCommand = row.mCommand.substr(0, LONGEST_COMMAND);
    }
    summary->mHighestCpu = std::max(summary->mHighestCpu, row.mCpu);
    summary->mCpuSum += std::max(row.mCpu, 0.0);
    ++summary->mCpuSamples;
    if (row.mPid == mData.mPid) {
        Sample().mTargetCpu = row.mCpu;
    }
}

void MemoryReader::AddResident(const ProcessRow& row)
{
    ProcessSummary* const summary = Summary(row);
    if (summary == nullptr) {
        return;
    }
    if (!row.mCommand.empty()) {
        summary->mCommand = row.mCommand.substr(0, LONGEST_COMMAND); // the whole line says more than the name
    }
    if (summary->mFirstResident < 0) {
        summary->mFirstResident = row.mResident;
    }
    summary->mLastResident = row.mResident;
    summary->mHighestResident = std::max(summary->mHighestResident, row.mResident);
}

} // namespace ctl
