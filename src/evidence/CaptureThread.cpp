#include "evidence/CaptureThread.h"

CaptureStart StartCaptureThread(UnixHelperFunction& helper, ThreadFunction body, void* record)
{
    unsigned long threadId = GetHarmlessThreadId();
    const bool isRunning = helper.CreateThreadWithoutWait(threadId, body, record);
    return {isRunning, static_cast<long long>(threadId)};
}
