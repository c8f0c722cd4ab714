#include "platform/RhelHelperFunction.h"

#include "base/BoundedText.h"
#include "platform/CommandPath.h"
#include "platform/THUEnv.h"

RhelHelperFunction::RhelHelperFunction() = default;

RhelHelperFunction::~RhelHelperFunction() = default;

double RhelHelperFunction::GetCPUUsageForProcessInPercent(std::string processName, int pid)
{
    const std::string line = mCmdPath->mPs + " -q " + FormatBounded(PID_TEXT_SIZE, "%d", pid) +
                             " -o pid,%cpu,command | " + mCmdPath->mEgrep + " " +
                             GetDoubleQuatedPath(GetProcNameFilterForGrep(GetTHBasePath()));
    return ReadUsage(line, processName, pid);
}
