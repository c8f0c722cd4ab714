#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"

namespace
{
constexpr std::size_t LEVEL_TEXT_SIZE = 4; // three digits, the rest is cut

std::string GetRestoreLine(const std::string& tool, const std::string& target, const LogLevel& levels)
{
    return tool + " -a -p TH -o " + target +
           " -s DebugLevel=" + FormatBounded(LEVEL_TEXT_SIZE, "%d", levels.mDebugLevel) +
           " -s DiagnosticLevel=" + FormatBounded(LEVEL_TEXT_SIZE, "%d", levels.mDiagnosticLevel);
}
} // namespace

void ConfigurationMgr::ResetLogging()
{
    // The entries stay, so a second call restores once more.
    const std::map<std::string, LogLevel> saved = mLogLevelMap;
    const std::string tool = GetDoubleQuatedPath(GetTxlogCfgPath());
    for (const auto& [target, levels] : saved) {
        const std::string output = mHelper->ExecuteCommand(GetRestoreLine(tool, target, levels).c_str());
        if (!output.empty()) {
            WriteVerboseLine(
                logFileMtx,
                "mDiagnosticLevel and  DebugLevel for the process %s have been reset to original "
                "values.\n",
                AppendBinExt(target).c_str());
        }
    }
}
