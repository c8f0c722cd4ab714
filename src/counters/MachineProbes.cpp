#include "platform/ListingLines.h"
#include "platform/UnixHelperFunction.h"

#include <cstdlib>

namespace
{
constexpr int DECIMAL = 10;
}

int UnixHelperFunction::GetCPUCount()
{
    if (mCPUCount == 0) {
        SetCPUCount();
    }
    return mCPUCount;
}

std::int64_t UnixHelperFunction::GetTotalSizeOfMemoryInKB()
{
    if (mTotalMemoryInKB == 0) {
        SetTotalSizeOfMemoryInKB();
    }
    return mTotalMemoryInKB;
}

void UnixHelperFunction::SetCPUCount()
{
    const std::string output = ExecuteCommand(GetProcessorCountLine(*mCmdPath).c_str());
    if (!output.empty()) {
        mCPUCount = static_cast<int>(strtol(trim(output).c_str(), nullptr, DECIMAL));
    }
}

void UnixHelperFunction::SetTotalSizeOfMemoryInKB()
{
    const std::string output = ExecuteCommand(GetMemorySizeLine(*mCmdPath).c_str());
    if (!output.empty()) {
        mTotalMemoryInKB = strtol(output.c_str(), nullptr, DECIMAL);
    }
}
