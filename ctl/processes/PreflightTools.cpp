#include <iterator>
#include <memory>
#include <sstream>

#include <unistd.h>

#include "config/KeyTable.h"
#include "platform/CommandPath.h"

#include "base/SafeFile.h"
#include "evidence/CapturePlan.h"
#include "processes/Preflight.h"
#include "processes/ToolRun.h"

namespace ctl
{

namespace
{

using Result = PreflightRow::Result;

/** A tool with something harmless for it to do. */
struct ToolTrial
{
    const char* name;
    std::string path;
    std::vector<std::string> arguments;
    std::string input;
    bool isVital;      ///< without it no process is found or read
    const char* needs; ///< what it is there for
};

/** The arguments with which the daemon asks a sampling tool, for the shortest time. */
std::vector<std::string> MakeSample(FileKind kind)
{
    std::istringstream line(GetSamplingLine(kind, 1, 1));
    std::vector<std::string> words{std::istream_iterator<std::string>(line), {}};
    words.erase(words.begin()); // the tool, which is called by its path
    return words;
}

std::vector<ToolTrial> MakeTrials(const CmdPath& tools)
{
    const std::string self = std::to_string(getpid());
    return {
        {"ps", tools.mPs, {"-p", self, "-o", "pid,%cpu,rss,command"}, "", true, "listings and readings"},
        {"egrep", tools.mEgrep, {"a|b"}, "b\n", true, "listings and readings"},
        {"grep", tools.mGrep, {"b"}, "b\n", true, "listings and readings"},
        {"cat", tools.mCat, {"/proc/self/status"}, "", true, "processor count, memory, process data"},
        {"wc", tools.mWc, {"-l"}, "b\n", true, "processor count"},
        {"awk", tools.mAwk, {"{ print $1 }"}, "b\n", false, "size of the memory in the log"},
        {"free", tools.mFree, {}, "", false, "memory statistics"},
        {"vmstat", tools.mVmstat, {}, "", false, "memory statistics"},
        {"top", tools.mTop, {"-b", "-n", "1", "-p", self}, "", false, "memory statistics"},
        {"pmap", tools.mPmap, {self}, "", false, "process data"},
        {"netstat", tools.mNetstat, {"-e"}, "", false, "network statistics"},
        {"iostat", tools.mIostat, MakeSample(FileKind::Iostat), "", false, "disk statistics"},
        {"mpstat", tools.mMpstat, MakeSample(FileKind::Mpstat), "", false, "processor statistics"},
    };
}

void Try(const ToolTrial& trial, PreflightRows& rows)
{
    const std::string check = std::string("tool ") + trial.name;
    const Result bad = trial.isVital ? Result::Error : Result::Warning;
    if (access(trial.path.c_str(), X_OK) != 0) {
        rows.push_back({check, bad, trial.path + " isn't there or can't be run: no " + trial.needs,
                        std::string("install the package that brings ") + trial.name});
        return;
    }
    std::vector<std::string> command = {trial.path};
    command.insert(command.end(), trial.arguments.begin(), trial.arguments.end());
    const ToolRun run = RunTool(command, trial.input);
    if (run.status != 0 || run.output.empty()) {
        rows.push_back(
            {check, bad,
             trial.path +
                 (run.isTooLate ? " doesn't end" : " ended with status " + std::to_string(run.status)) +
                 (run.output.empty() ? " and printed nothing" : ""),
             "see what it says when it is run by hand"});
        return;
    }
    rows.push_back({check, Result::Good, trial.path, ""});
}

/** The tools that look into a process, which is never tried here: they are scripts around the debugger. */
void CheckDebugger(const PreflightHost& host, const Settings& settings, PreflightRows& rows)
{
    const CmdPath& tools = *host.tools;
    const bool takesCores = settings.Get(THHS_CAPTURE_PROCESS_DUMP) != 0;
    const bool hasGcore = access(tools.mGcore.c_str(), X_OK) == 0;
    rows.push_back({"tool gcore",
                    hasGcore     ? Result::Good
                    : takesCores ? Result::Error
                                 : Result::Warning,
                    hasGcore ? tools.mGcore : tools.mGcore + " isn't there: no core images",
                    hasGcore ? "" : "install gdb"});
    const bool hasGstack = access(tools.mGstack.c_str(), X_OK) == 0;
    rows.push_back({"tool gstack", hasGstack ? Result::Good : Result::Warning,
                    hasGstack ? tools.mGstack
                              : tools.mGstack + " isn't there: the stacks in the process data stay empty",
                    hasGstack ? "" : "install the package that brings gstack, if there is one"});
    const bool hasDebugger = access(host.debugger.c_str(), X_OK) == 0;
    const bool works =
        hasDebugger && RunTool({host.debugger, "--nx", "--batch", "-ex", "print 1"}).status == 0;
    if (hasGcore) {
        rows.push_back({"debugger",
                        works        ? Result::Good
                        : takesCores ? Result::Error
                                     : Result::Warning,
                        works ? host.debugger : "gcore is there and " + host.debugger + " doesn't work",
                        works ? "" : "install gdb"});
    }
}

void CheckJavaTool(const Settings& settings, PreflightRows& rows)
{
    if (settings.jdkHome.empty()) {
        return; // the check of the settings has said what that means
    }
    const std::string tool = settings.jdkHome + "/bin/jcmd";
    const bool works = access(tool.c_str(), X_OK) == 0 && RunTool({tool, "-h"}).status == 0;
    rows.push_back({"tool jcmd", works ? Result::Good : Result::Warning,
                    works ? tool : tool + " doesn't work: no heap or thread dumps",
                    works ? "" : "mend THHS_JDK_HOME"});
}

} // namespace

void CheckTools(const PreflightBase& base, PreflightRows& rows)
{
    for (const ToolTrial& trial : MakeTrials(*base.host.tools)) {
        Try(trial, rows);
    }
    CheckDebugger(base.host, base.prediction.settings, rows);
    CheckJavaTool(base.prediction.settings, rows);
}

} // namespace ctl
