#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/SharedSetting.h"

/** The place where the parts of the program are put together. */

namespace
{
// The folder of the log is made when the singleton is built.
void PrepareLog()
{
    (void)ConfigurationMgr::GetInstance(); // for its effect
}

bool AreVerboseLinesWritten()
{
    return GetSharedNumber(ConfigurationMgr::GetInstance()->mVerbose) == 1;
}
} // namespace

const LogGate LOG_GATE = {PrepareLog, AreVerboseLinesWritten};
