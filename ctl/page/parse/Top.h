#pragma once

#include "page/parse/Columns.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** A process as a listing shows it. What a listing doesn't have is -1. */
struct ProcessRow
{
    int mPid = 0;
    double mCpu = -1;      ///< percent of one processor
    double mMemory = -1;   ///< percent of the machine's memory
    double mResident = -1; ///< kilobytes
    double mVirtual = -1;  ///< kilobytes
    std::string mCommand;  ///< top: name; ps: command line without the tree in front
};

/** A listing keeps no more rows than this; how many more there were is counted. */
constexpr std::size_t MOST_PROCESS_ROWS = 50000;

/**
 * One run of `top -b -n 1`. What the run doesn't say is -1. Memory in kilobytes, processor time in percent.
 */
struct TopReading
{
    std::optional<int> mClock; ///< seconds since midnight
    std::array<double, 3> mLoad = {-1, -1, -1};
    double mTasks = -1;
    double mRunning = -1;
    double mZombies = -1;
    double mUser = -1;
    double mSystem = -1;
    double mNice = -1;
    double mIdle = -1;
    double mWait = -1;
    double mSteal = -1;
    double mMemoryTotal = -1;
    double mMemoryFree = -1;
    double mMemoryUsed = -1;
    double mMemoryAvailable = -1;
    double mSwapTotal = -1;
    double mSwapUsed = -1;
    std::vector<ProcessRow> mProcesses;
    std::size_t mRowsLeftOut = 0;
};

/** Reads the output of top, of procps 3.2 to 4, line by line. */
class TopParser
{
public:
    void TakeLine(std::string_view line);
    const TopReading& Get() const { return mReading; }

private:
    void TakeSummary(std::string_view line);
    void TakeUptime(std::string_view line);
    void TakePairs(std::string_view line);
    void TakePair(std::string_view label, std::string_view number, std::string_view name);
    void TakeAmount(std::string_view label, std::string_view name, double kilobytes);
    void TakeProcess(std::string_view line);

    TopReading mReading;
    Columns mColumns;
    std::vector<std::string_view> mWords;
    double mUnit = 1;
};

} // namespace ctl
