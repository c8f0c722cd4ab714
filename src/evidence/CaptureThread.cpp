#include "evidence/CaptureThread.h"

#include "base/MainThread.h"

std::string GetCaptureSubject(const std::string& displayName, int pid)
{
    return displayName + SUBJECT_ID + std::to_string(pid) + SUBJECT_END;
}

CaptureStart StartCaptureThread(UnixHelperFunction& helper, ThreadFunction body, void* record)
{
    unsigned long threadId = GetMainThreadId(); // detached when no thread is made, which is harmless for it
    const bool isRunning = helper.CreateThreadWithoutWait(threadId, body, record);
    return {isRunning, static_cast<long long>(threadId)};
}
