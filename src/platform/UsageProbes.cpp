#include "base/BoundedText.h"
#include "platform/CommandPath.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"

#include <cstdlib>

namespace
{
constexpr double MEGABYTES_PER_KILOBYTE = 0.0009765625;
constexpr int DECIMAL = 10;
} // namespace

std::string UnixHelperFunction::GetUsageLine(const std::string& columns, int pid)
{
    const std::string pidText = FormatBounded(PID_TEXT_SIZE, "%d", pid);
    return GetListingLine(columns) + " | " + mCmdPath->mGrep + " \"" +
           GetCompleteMatchWrap(pidText, true, false, true, false) + "\"";
}

double UnixHelperFunction::ReadUsage(const std::string& line, const std::string& processName, int pid)
{
    const std::string text = ExecuteForFields(line);
    // A process id that has passed to another program must not be read for the old one.
    if (GetPid(text, 0, " ") != pid || GetProcName(text, 2, " ") != processName) {
        return 0.0;
    }
    return GetDoubleValue(text, 1, " ");
}

double UnixHelperFunction::GetUsage(const std::string& columns, const std::string& processName, int pid)
{
    return ReadUsage(GetUsageLine(columns, pid), processName, pid);
}

double UnixHelperFunction::GetCPUUsageForProcessInPercent(std::string processName, int pid)
{
    return GetUsage("-eo pid,%cpu,command | ", processName, pid);
}

double UnixHelperFunction::GetMemoryUsageForProcessInPercent(std::string processName, int pid)
{
    return GetUsage("-eo pid,%mem,command | ", processName, pid);
}

double UnixHelperFunction::GetMemoryUsageForProcessInMB(std::string processName, int pid)
{
    return GetUsage("-eo pid,rss,command | ", processName, pid) * MEGABYTES_PER_KILOBYTE;
}

void UnixHelperFunction::SetCPUCount()
{
    const std::string line =
        mCmdPath->mCat + " /proc/cpuinfo | " + mCmdPath->mGrep + " \"^processor\" |" + mCmdPath->mWc + " -l";
    const std::string output = ExecuteCommand(line.c_str());
    if (!output.empty()) {
        mCPUCount = static_cast<int>(strtol(trim(output).c_str(), nullptr, DECIMAL));
    }
}

void UnixHelperFunction::SetTotalSizeOfMemoryInKB()
{
    const std::string line = mCmdPath->mCat + " /proc/meminfo | " + mCmdPath->mGrep + " \"^MemTotal\" |" +
                             mCmdPath->mAwk + " '{ print $2 }' ";
    const std::string output = ExecuteCommand(line.c_str());
    if (!output.empty()) {
        mTotalMemoryInKB = strtol(output.c_str(), nullptr, DECIMAL);
    }
}
