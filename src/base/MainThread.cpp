#include "base/MainThread.h"

namespace
{
// Static objects are built on the main thread, and the thread that forks keeps its id in the child.
const pthread_t mainThreadId = pthread_self();
} // namespace

pthread_t GetMainThreadId()
{
    return mainThreadId;
}
