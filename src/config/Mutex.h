#pragma once

#include <pthread.h>

/**
 * One POSIX mutex, not recursive. Intentional: its operations check neither whether it was set up nor the
 * results of POSIX. A failure could only be reported by a log line, which needs a mutex itself.
 */
class mutex
{
public:
    mutex();

    /** Leaves the lock unusable and ignores the argument. Nothing calls it. */
    explicit mutex(const char* name);

    ~mutex();
    mutex(const mutex&) = delete;
    mutex& operator=(const mutex&) = delete;

    void lock();
    void unlock();

private:
    pthread_mutex_t mMutex;
    bool mInitialized; ///< true once the lock was set up
};

/** Holds a mutex until the end of the scope, also when the thread is cancelled inside it. */
class MutexHold
{
public:
    explicit MutexHold(mutex& held) : mHeld(held) { mHeld.lock(); }
    ~MutexHold() { mHeld.unlock(); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    mutex& mHeld;
};
