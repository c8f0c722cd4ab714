#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "logcontrol/LevelRaise.h"
#include "logcontrol/LogLevelTexts.h"
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

void Restore(HelperFunctionInterface& helper, const std::string& target, const LogLevel& levels)
{
    const std::string tool = GetDoubleQuatedPath(GetTxlogCfgPath());
    const std::string output = helper.ExecuteCommand(GetRestoreLine(tool, target, levels).c_str());
    if (!output.empty()) {
        WriteVerboseLine(logFileMtx, LEVELS_RESTORED_TEXT, AppendBinExt(target).c_str());
    }
}
} // namespace

void ConfigurationMgr::ResetLogging()
{
    // The entries stay, so a second call restores once more.
    for (const auto& [target, levels] : CopySavedLevels(mLogLevelMap)) {
        Restore(*mHelper, target, levels);
    }
}

void RestoreMetTarget()
{
    const ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    const SavedLevels saved = CopySavedLevels(config.mLogLevelMap);
    const auto entry = saved.find(GetMetTarget());
    if (entry != saved.end()) {
        Restore(*config.mHelper, entry->first, entry->second);
    }
}
