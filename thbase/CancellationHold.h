#pragma once

#include <pthread.h>

/**
 * Defers the cancellation of the calling thread while the object lives. The library opens, reads and closes
 * files under locks; a cancellation there would unwind frames that don't allow it. A cancellation that
 * arrives meanwhile takes effect at the thread's next cancellation point after the object is gone.
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
