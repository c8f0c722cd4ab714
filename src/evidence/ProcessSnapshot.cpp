#include "config/LogFileMtx.h"
#include "config/LogLine.h"
#include "config/THCrossPlatformMapping.h"
#include "evidence/CaptureThread.h"
#include "evidence/SnapshotData.h"
#include "platform/BoundedText.h"
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
        LogLine{logFileMtx}.Write(
            "%sError: Failed to create a thread to take a process snapshot for %s (PID : %d)\n",
            GetCurrentTimeStamp().c_str(), processName.c_str(), pid);
    } else if (IsVerbose()) {
        LogLine{logFileMtx}.Write(
            "%sThread (TID : %lld) created to take a process snapshot for %s (PID : %d)\n",
            GetCurrentTimeStamp().c_str(), start.mThreadId, processName.c_str(), pid);
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
        LogLine{logFileMtx}.Write(
            "%sTakeMemorySnapshotAndDump (TID: %lld) Error:%s file not found to generate the dump\n",
            GetCurrentTimeStamp().c_str(), threadId, gcore.c_str());
        RemoveDir(processName, pid);
        return 0;
    }
    // gcore puts a dot and the process id behind the name that it is given.
    const std::string line = gcore + " -o " + dumpPath + " " + FormatBounded(PID_TEXT_SIZE, "%d", pid);
    std::string output;
    if (ExecuteCommandWithRc(line.c_str(), output) == 0) {
        LogLine{logFileMtx}.Write("%sTakeMemorySnapshotAndDump (TID: %lld) Dump has generated for pid %d\n",
                                  GetCurrentTimeStamp().c_str(), threadId, pid);
    } else {
        LogLine{logFileMtx}.Write(
            "%sTakeMemorySnapshotAndDump (TID : %lld) Error: Failed to generate the dump for pid %d\n",
            GetCurrentTimeStamp().c_str(), threadId, pid);
        RemoveDir(processName, pid);
    }
    return 0;
}
