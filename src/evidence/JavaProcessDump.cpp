#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "evidence/CaptureSections.h"
#include "evidence/CaptureThread.h"
#include "evidence/SnapshotData.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <unistd.h>

namespace
{
constexpr std::size_t LINE_SIZE = 512;

std::string GetTemporaryHeapPath(const SnapshotData& record)
{
    return record.mTempPath + "/" + std::to_string(record.mPid) + "dump.hprof";
}

// Intentional: one name for all Java processes. Operators look for a dump that couldn't be moved under it.
std::string GetTemporaryThreadPath(const SnapshotData& record)
{
    return record.mTempPath + "/Thread_dump.log";
}

/** The jcmd line. When the daemon is root it runs as the owner of the process, root included. */
std::string GetJcmdLine(const SnapshotData& record, const std::string& request,
                        const std::string& temporaryPath)
{
    if (getuid() == 0) {
        return FormatBounded(LINE_SIZE, "su %s -c \"%s/bin/jcmd %d %s %s\"", record.mUser.c_str(),
                             record.mJdkHome.c_str(), record.mPid, request.c_str(), temporaryPath.c_str());
    }
    return FormatBounded(LINE_SIZE, "%s/bin/jcmd %d %s %s", record.mJdkHome.c_str(), record.mPid,
                         request.c_str(), temporaryPath.c_str());
}

std::string GetMoveLine(const std::string& temporaryPath, const std::string& destination)
{
    return "mv -f " + temporaryPath + " \"" + destination + "\"";
}

/** Runs lines up to the first that fails, and logs that one. True when all succeeded. */
bool RunLines(HelperFunctionInterface& helper, std::initializer_list<std::string> lines)
{
    for (const std::string& line : lines) {
        std::string output;
        if (helper.ExecuteCommandWithRc(line.c_str(), output) != 0) {
            WriteVerboseLine(logFileMtx, JAVA_LINE_FAILED_TEXT, line.c_str());
            return false;
        }
    }
    return true;
}

bool TakeHeapDump(HelperFunctionInterface& helper, const SnapshotData& record)
{
    WriteVerboseLine(logFileMtx, HEAP_DUMP_STARTS_TEXT, record.mPid);
    return RunLines(helper,
                    {record.mCommand, GetMoveLine(GetTemporaryHeapPath(record), record.mProcessName)});
}

bool TakeThreadDump(HelperFunctionInterface& helper, const SnapshotData& record)
{
    WriteVerboseLine(logFileMtx, THREAD_DUMP_STARTS_TEXT, record.mPid);
    const std::string temporaryPath = GetTemporaryThreadPath(record);
    std::string destination;
    helper.GenerateFileName(record.mJavaProcessName, record.mPid, record.mCounterType, destination,
                            THREADS_FILE_SUFFIX);
    return RunLines(helper, {GetJcmdLine(record, std::string(THREAD_DUMP_REQUEST) + " >", temporaryPath),
                             GetMoveLine(temporaryPath, destination)});
}
} // namespace

bool UnixHelperFunction::CreateJavaProcessDump(std::string javaProcessName, std::string jdkHome, int pid,
                                               std::string counterLabel)
{
    auto record = std::make_unique<SnapshotData>();
    record->mTempPath = GetTempPathBasedOnUserContext(pid);
    record->mUser = GetUserOfProcess(pid);
    record->mPid = pid;
    record->mCounterType = counterLabel;
    record->mJdkHome = jdkHome;
    record->mJavaProcessName = javaProcessName;
    GenerateFileName(javaProcessName, pid, counterLabel, record->mProcessName, HEAP_FILE_SUFFIX);
    record->mCommand = GetJcmdLine(*record, HEAP_DUMP_REQUEST, GetTemporaryHeapPath(*record));
    return StartCapture(*this, logFileMtx, ThreadJavaProcessDump, std::move(record), JAVA_TEXTS,
                        {std::to_string(pid)});
}

void* ThreadJavaProcessDump(void* data)
{
    return RunCapture<SnapshotData>(data, GetHelperFunctionInstance,
                                    [](HelperFunctionInterface& helper, const SnapshotData& record) {
                                        const bool hasHeap = TakeHeapDump(helper, record);
                                        // Tried also after a failed heap dump; one of the two is enough.
                                        const bool hasThreads = TakeThreadDump(helper, record);
                                        if (hasHeap || hasThreads) {
                                            WriteVerboseLine(logFileMtx, JAVA_DUMP_TAKEN_TEXT);
                                        }
                                    });
}
