#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "evidence/CaptureSections.h"
#include "evidence/CaptureThread.h"
#include "evidence/SnapshotData.h"
#include "platform/UnixHelperFunction.h"

#include <cstdlib>

#include <pthread.h>

namespace
{
// Intentional: unquoted, so an argument with blanks becomes several words.
std::string GetScriptLine(const ConfigurationMgr& config)
{
    std::string line = config.mCustomScriptPath;
    for (const std::string& argument : config.mCustomScriptArguments) {
        line += " " + argument;
    }
    return line;
}
} // namespace

void UnixHelperFunction::ExecuteCustomScript(std::string processName, int pid, std::string counterLabel,
                                             std::string javaProcessName)
{
    const std::string& displayName = javaProcessName.empty() ? processName : javaProcessName;
    const ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    std::string file;
    GenerateFileName(displayName, pid, counterLabel, file, SCRIPT_FILE_SUFFIX);
    const std::string line = GetScriptLine(*config);
    (void)EchoCommandToFile(line, file); // the script runs without a head too
    auto record = std::make_unique<SnapshotData>(processName, pid, counterLabel);
    record->mJavaProcessName = javaProcessName;
    record->mCommand = RedirectCommand(line, file, true, false);
    const std::string subject = GetCaptureSubject(displayName, pid);
    (void)StartCapture(
        *this, logFileMtx, ThreadCustomScript, std::move(record), SCRIPT_TEXTS,
        {config->mCustomScriptPath + SCRIPT_SUBJECT + subject, subject}); // the log has the outcome
}

// Works without a helper: it needs only the shell and the log.
void* ThreadCustomScript(void* data)
{
    const std::unique_ptr<SnapshotData> record(static_cast<SnapshotData*>(data));
    if (!record) {
        return nullptr;
    }
    const char* const line = record->mCommand.c_str();
    const auto threadId = static_cast<long long>(pthread_self());
    WriteVerboseLine(logFileMtx, SCRIPT_LINE_TEXT, threadId, line);
    if (system(line) != 0) {
        WriteVerboseLine(logFileMtx, SCRIPT_FAILED_TEXT, threadId, line);
    } else {
        WriteVerboseLine(logFileMtx, SCRIPT_SUCCEEDED_TEXT, threadId);
    }
    return nullptr;
}
