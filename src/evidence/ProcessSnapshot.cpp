#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "evidence/CaptureSections.h"
#include "evidence/CaptureThread.h"
#include "evidence/SnapshotData.h"
#include "platform/CommandPath.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <pthread.h>

bool UnixHelperFunction::CreateProcessDump(std::string processName, int pid, std::string eventText,
                                           std::string counterLabel)
{
    auto record = std::make_unique<SnapshotData>(processName, pid, counterLabel);
    record->mCommand = eventText;
    return StartCapture(*this, logFileMtx, ThreadTakeSnapshot, std::move(record), CORE_TEXTS,
                        {GetCaptureSubject(processName, pid)});
}

void* ThreadTakeSnapshot(void* data)
{
    return RunCapture<SnapshotData>(
        data, GetHelperFunctionInstance, [](HelperFunctionInterface& helper, const SnapshotData& record) {
            // The result is always 0; the log has the outcome.
            (void)helper.TakeMemorySnapshotAndDump(record.mProcessName, record.mPid, record.mCommand,
                                                   record.mCounterType);
        });
}

int UnixHelperFunction::TakeMemorySnapshotAndDump(std::string processName, int pid, std::string /*eventText*/,
                                                  std::string counterLabel)
{
    const auto threadId = static_cast<long long>(pthread_self());
    if (pid == 0) {
        return 0;
    }
    std::string dumpPath;
    GenerateFileName(processName, pid, counterLabel, dumpPath, "");
    const std::string& gcore = mCmdPath->mGcore;
    if (!HF_IsFileExist(gcore)) {
        WriteLogLine(logFileMtx, NO_GCORE_TEXT, threadId, gcore.c_str());
        RemoveDir(processName, pid);
        return 0;
    }
    // gcore adds a dot and the process id to this name.
    const std::string line = gcore + " " + GCORE_OUTPUT_OPTION + " " + dumpPath + " " + std::to_string(pid);
    std::string output;
    if (ExecuteCommandWithRc(line.c_str(), output) == 0) {
        WriteLogLine(logFileMtx, CORE_TAKEN_TEXT, threadId, pid);
    } else {
        WriteLogLine(logFileMtx, CORE_FAILED_TEXT, threadId, pid);
        RemoveDir(processName, pid);
    }
    return 0;
}
