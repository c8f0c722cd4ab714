#pragma once

#include "log/LogEvents.h"
#include "page/parse/Iostat.h"
#include "page/parse/JavaThreads.h"
#include "page/parse/Mappings.h"
#include "page/parse/MemoryTools.h"
#include "page/parse/Mpstat.h"
#include "page/parse/Netstat.h"
#include "page/parse/Stacks.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

/** Local time in seconds as if it were UTC: what the tools print, whatever the zone of the reader. */
using Wall = std::int64_t;

/** An event of the daily log, with the time that its line shows. */
struct TimelineEvent : LogEvent
{
    Wall mWall = 0;
};

/**
 * The machine at one sample of the memory statistics. What the tools didn't say is -1; memory in kilobytes.
 */
struct HostSample
{
    Wall mWall = 0;
    double mLoad1 = -1;
    double mLoad5 = -1;
    double mLoad15 = -1;
    double mTasks = -1;
    double mZombies = -1;
    double mRunnable = -1; ///< vmstat
    double mBlocked = -1;  ///< vmstat
    double mMemoryTotal = -1;
    double mMemoryAvailable = -1;
    double mMemoryUsed = -1;
    double mCache = -1;
    double mSwapTotal = -1;
    double mSwapUsed = -1;
    double mCommitted = -1; ///< meminfo
    double mTargetCpu = -1; ///< percent of one processor
    double mTargetResident = -1;
};

/** A process over all samples. */
struct ProcessSummary
{
    int mPid = 0;
    std::string mCommand;
    double mHighestCpu = -1; ///< percent of one processor
    double mCpuSum = 0;
    int mCpuSamples = 0;
    double mFirstResident = -1;
    double mLastResident = -1;
    double mHighestResident = -1;
    double mMemory = -1; ///< percent of the machine, highest

    double GetMeanCpu() const { return mCpuSamples > 0 ? mCpuSum / mCpuSamples : -1; }
};

struct ProcessorPoint
{
    Wall mWall = 0;
    ProcessorSample mSample;
};

struct DiskPoint
{
    Wall mWall = 0;
    DiskRow mRow;
};

/** A file of the set, as the page lists it. */
struct ListedFile
{
    std::string mName;
    std::string mKind;
    std::uint64_t mBytes = 0;
    std::string mObstacle; ///< why it wasn't read; empty if it was
};

/** The memory map of an earlier set of the same process. */
struct EarlierMap
{
    std::string mSetId;
    Wall mWall = 0;
    MappingReport mMappings;
};

/** Everything that a report of one evidence set shows. Bounded, whatever the size of the evidence. */
struct ReportData
{
    std::string mProcess;
    int mPid = 0;
    std::string mResource; ///< "cpu" or "memory"; empty for a set without files
    int mNumber = 0;
    std::string mSetId;
    std::string mPath;
    Wall mWall = 0;    ///< the earliest stamp of the set
    Wall mMadeAt = 0;  ///< when the report was made
    std::string mHost; ///< empty if no tool named it
    std::string mKernel;
    int mProcessors = 0; ///< 0 if no tool said it

    std::optional<TimelineEvent> mBreach;
    std::vector<TimelineEvent>
        mEvents; ///< of this process around the set, in their order, readings not among them
    std::vector<TimelineEvent> mReadings; ///< readings of this counter around the set
    bool mHasLog = false;                 ///< a log of the set's day was read
    std::string mLogFailure;              ///< why the log of that day can't be read, if it is there

    std::vector<HostSample> mSamples;
    std::map<int, ProcessSummary> mProcesses;
    std::size_t mProcessesLeftOut = 0;
    std::vector<ProcessorPoint> mProcessorPoints;
    std::map<std::string, std::vector<DiskPoint>> mDisks;
    MappingReport mMappings;
    std::optional<EarlierMap> mEarlier;
    NamedValues mStatus; ///< of the process
    SocketListing mSockets;
    std::map<std::string, int> mTargetStates; ///< TCP sockets of the process by state
    std::vector<NetworkTrouble> mNetworkTroubles;
    StackReport mStacks;
    std::string mStackSource;  ///< where the stacks come from
    std::string mStackFailure; ///< why there are none
    JavaThreadReport mJava;

    std::vector<ListedFile> mFiles;
    std::string mState; ///< "complete" and so on, by the check of the set
    std::vector<std::string> mProblems;
    std::vector<std::string> mNotes; ///< what the report could not read, and what it left out
};

} // namespace ctl
