#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "evidence/CaptureThread.h"
#include "evidence/SnapshotData.h"
#include "platform/CommandPath.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <pthread.h>

bool UnixHelperFunction::CreateProcessDump(std::string processName, int pid, std::string eventText,
                                           std::string counterLabel)
{
    auto* const record = new SnapshotData(processName, pid, counterLabel);
    record->mCommand = eventText;
    const CaptureStart start = StartCaptureThread(*this, ThreadTakeSnapshot, record);
    if (!start.mIsRunning) {
        WriteLogLine(logFileMtx,
                     "Error: Failed to create a thread to take a process snapshot for %s (PID : %d)\n",
                     processName.c_str(), pid);
    } else {
        WriteVerboseLine(logFileMtx,
                         "Thread (TID : %lld) created to take a process snapshot for %s (PID : %d)\n",
                         start.mThreadId, processName.c_str(), pid);
    }
    return start.mIsRunning;
}

void* ThreadTakeSnapshot(void* data)
{
    return RunCapture<SnapshotData>(
        data, GetHelperFunctionInstance, [](HelperFunctionInterface& helper, const SnapshotData& record) {
            // The outcome has been logged.
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
        WriteLogLine(logFileMtx,
                     "TakeMemorySnapshotAndDump (TID: %lld) Error:%s file not found to generate the dump\n",
                     threadId, gcore.c_str());
        RemoveDir(processName, pid);
        return 0;
    }
    // gcore puts a dot and the process id behind the name that it is given.
    const std::string line = gcore + " -o " + dumpPath + " " + FormatBounded(PID_TEXT_SIZE, "%d", pid);
    std::string output;
    if (ExecuteCommandWithRc(line.c_str(), output) == 0) {
        WriteLogLine(logFileMtx, "TakeMemorySnapshotAndDump (TID: %lld) Dump has generated for pid %d\n",
                     threadId, pid);
    } else {
        WriteLogLine(logFileMtx,
                     "TakeMemorySnapshotAndDump (TID : %lld) Error: Failed to generate the dump for pid %d\n",
                     threadId, pid);
        RemoveDir(processName, pid);
    }
    return 0;
}
