#include "platform/UnixHelperFunction.h"

#include <pthread.h>

bool UnixHelperFunction::CreateThreadWithoutWait(unsigned long& threadId, ThreadFunction function,
                                                 void* argument)
{
    // A failed creation may write to the id that it is given, so it gets one of its own.
    pthread_t created = 0;
    const bool success = pthread_create(&created, nullptr, function, argument) == 0;
    if (success) {
        threadId = created;
    }
    // Intentional: after a failure too. The caller passes an id for which that is harmless.
    (void)pthread_detach(threadId);
    return success;
}

void UnixHelperFunction::CloseRunningThread(unsigned long threadId)
{
    // The thread may have ended already or be detached, so the results say nothing.
    (void)pthread_cancel(threadId);
    (void)pthread_join(threadId, nullptr);
}
