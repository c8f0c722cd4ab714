#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "logcontrol/LevelRaise.h"
#include "logcontrol/LogLevelTexts.h"
#include "logcontrol/processToLogIdMap.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"

#include <cstdlib>

namespace
{
constexpr int UNKNOWN_LEVEL = -1;
constexpr int DECIMAL = 10;
constexpr char LEVEL_MARK[] = " = ";
constexpr std::size_t LEVEL_MARK_LENGTH = 3;

std::vector<std::string> GetLogTargets(const std::string& processName)
{
    std::vector<std::string> targets;
    for (const int id : GetExtraLogIDsForProcess(processName)) {
        targets.push_back(std::to_string(id));
    }
    if (targets.empty()) {
        targets.push_back(processName);
    }
    return targets;
}

/**
 * The level of a listing line. Intentional: without a mark the search result plus three is position 2, and
 * the number is read from there. A listing of one character has no such position; the exception that this
 * raises is caught nowhere and ends the process.
 */
int ReadLevel(const std::string& listing)
{
    return static_cast<int>(
        strtol(listing.substr(listing.find(LEVEL_MARK) + LEVEL_MARK_LENGTH).c_str(), nullptr, DECIMAL));
}

std::string GetListLine(const std::string& tool, const std::string& target, const char* level)
{
    return tool + " -p TH -o " + target + " -l | grep \"" + level + "\"";
}

/** Reads both levels of a target; a level that isn't listed keeps its value. */
void ReadLevels(UnixHelperFunction& helper, const std::string& tool, const std::string& target,
                LogLevel& levels)
{
    std::string listing;
    (void)helper.ExecuteCommandWithRc(GetListLine(tool, target, "Debug").c_str(),
                                      listing); // an empty listing is the failure
    if (!listing.empty()) {
        levels.mDebugLevel = ReadLevel(listing);
        WriteVerboseLine(logFileMtx, ORIGINAL_DEBUG_LEVEL_TEXT, target.c_str(), levels.mDebugLevel);
    }
    listing = helper.ExecuteCommand(GetListLine(tool, target, "Diag").c_str());
    if (!listing.empty()) {
        levels.mDiagnosticLevel = ReadLevel(listing);
        WriteVerboseLine(logFileMtx, ORIGINAL_DIAGNOSTIC_LEVEL_TEXT, target.c_str(), levels.mDiagnosticLevel);
    }
}

void Raise(UnixHelperFunction& helper, const std::string& tool, const std::string& target)
{
    const std::string line = tool + " -a -p TH -o " + target + " -s DebugLevel=6 -s DiagnosticLevel=6";
    // A tool that prints nothing counts as a success too, only without the line.
    if (!helper.ExecuteCommand(line.c_str()).empty()) {
        WriteVerboseLine(logFileMtx, LEVELS_RAISED_TEXT, target.c_str());
    }
}
} // namespace

void UnixHelperFunction::IncreaseLogging(std::string processName)
{
    const std::string tool = GetTxlogCfgPath();
    SavedLevels& saved = ConfigurationMgr::GetInstance()->mLogLevelMap;
    if (saved.count(processName) != 0) {
        return;
    }
    // Intentional: not reset between targets, so an unreadable one gets the levels of the one before it.
    LogLevel levels = {UNKNOWN_LEVEL, UNKNOWN_LEVEL};
    for (const std::string& target : GetLogTargets(processName)) {
        if (saved.count(target) != 0) {
            continue;
        }
        ReadLevels(*this, tool, target, levels);
        if (levels.mDebugLevel == UNKNOWN_LEVEL || levels.mDiagnosticLevel == UNKNOWN_LEVEL) {
            continue;
        }
        const LevelRaise raise(saved, target, levels);
        if (!raise.IsAllowed()) {
            return;
        }
        Raise(*this, tool, target);
    }
}
