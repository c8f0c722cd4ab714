#pragma once

#include <pthread.h>

/**
 * Holds back the cancellation of the calling thread while it lives. The library opens, reads and closes
 * files under locks; a thread that was cancelled there would leave through frames that must not be left by
 * unwinding. A cancellation that arrives meanwhile takes effect at the thread's next cancellation point
 * after it.
 */
class CancellationHold
{
public:
    CancellationHold() noexcept { (void)pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mFormerState); }
    ~CancellationHold() { (void)pthread_setcancelstate(mFormerState, nullptr); }
    CancellationHold(const CancellationHold&) = delete;
    CancellationHold& operator=(const CancellationHold&) = delete;

private:
    int mFormerState = PTHREAD_CANCEL_ENABLE;
};
