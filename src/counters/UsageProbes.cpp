#include "platform/ListingLines.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"

namespace
{
constexpr double MEGABYTES_PER_KILOBYTE = 0.0009765625;
}

double UnixHelperFunction::ReadUsage(const std::string& line, const std::string& processName, int pid)
{
    const std::string text = ExecuteForFields(line);
    // A process id that has passed to another program must not be read for the former one.
    if (GetPid(text, 0, " ") != pid || GetProcName(text, 2, " ") != processName) {
        return 0.0;
    }
    return GetDoubleValue(text, 1, " ");
}

double UnixHelperFunction::GetUsage(const std::string& columns, const std::string& processName, int pid)
{
    const std::string filter = GetProcNameFilterForGrep(GetTHBasePath());
    const std::string pattern = GetCompleteMatchWrap(std::to_string(pid), true, false, true, false);
    return ReadUsage(GetUsageLine(*mCmdPath, columns, filter, pattern), processName, pid);
}

double UnixHelperFunction::GetCPUUsageForProcessInPercent(std::string processName, int pid)
{
    return GetUsage(CPU_COLUMNS, processName, pid);
}

double UnixHelperFunction::GetMemoryUsageForProcessInPercent(std::string processName, int pid)
{
    return GetUsage(MEMORY_PERCENT_COLUMNS, processName, pid);
}

double UnixHelperFunction::GetMemoryUsageForProcessInMB(std::string processName, int pid)
{
    return GetUsage(MEMORY_SIZE_COLUMNS, processName, pid) * MEGABYTES_PER_KILOBYTE;
}
