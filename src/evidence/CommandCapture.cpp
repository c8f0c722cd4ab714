#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "evidence/CaptureSections.h"
#include "evidence/CaptureThread.h"
#include "evidence/CommandRunData.h"
#include "platform/CommandPath.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <cstdlib>
#include <vector>

namespace
{
constexpr std::size_t RULE_LENGTH = 82;
} // namespace

void UnixHelperFunction::CollectCommandData(std::string outputFile, std::string commandPath,
                                            std::string arguments, int filterPid)
{
    std::string line = CmdPath::AppendSpace(commandPath) + arguments;
    if (filterPid != NO_FILTER) {
        line += " | " + CmdPath::AppendSpace(mCmdPath->mGrep) + std::to_string(filterPid);
    }
    (void)EchoCommandToFile(line, outputFile); // if it fails, the output is still collected
    line = RedirectCommand(line, outputFile, true, false);
    WriteVerboseLine(logFileMtx, SECTION_LINE_TEXT, line.c_str());
    const int status = system(line.c_str());
    WriteVerboseLine(logFileMtx, SECTION_STATUS_TEXT, line.c_str(), status);
}

bool UnixHelperFunction::EchoCommandToFile(std::string command, std::string outputFile)
{
    FILE* file = nullptr;
    if (!HF_OpenFileInMode(&file, outputFile, "a+")) {
        return false;
    }
    const std::string rule(RULE_LENGTH, '-');
    // As far as a NUL, which is where the line ends for the shell.
    const std::string line = command.c_str(); // NOLINT(readability-redundant-string-cstr)
    const std::string head = "\n\n" + rule + "\nCommand: " + line + "\n" + rule + "\n";
    // Written by the close: the end of the process may wait for a stream that is being written, but not for
    // one that is being closed.
    std::vector<char> buffer(head.size() + 1);
    (void)setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    (void)fputs(head.c_str(), file); // a full disk loses the head as it will lose the output
    (void)fclose(file);
    return true;
}

void UnixHelperFunction::CollectCommandDataInBackground(std::string outputFile, std::string commandPath,
                                                        std::string arguments, int filterPid)
{
    (void)StartCapture(
        *this, logFileMtx, ThreadRunCommand,
        std::unique_ptr<CommandRunData>(new CommandRunData{outputFile, commandPath, arguments, filterPid}),
        COMMAND_TEXTS, {commandPath}); // the log has the outcome
}

void* ThreadRunCommand(void* data)
{
    return RunCapture<CommandRunData>(
        data, GetUnixHelperFunctionInstance, [](UnixHelperFunction& helper, const CommandRunData& run) {
            helper.CollectCommandData(run.mOutputFile, run.mCommandPath, run.mArguments, run.mFilterPid);
        });
}
