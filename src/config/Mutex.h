#pragma once

#include <pthread.h>

/**
 * One POSIX mutex, not recursive. Its operations check neither whether it was set up nor what POSIX answers,
 * so that they can't fail on a logging path.
 */
class mutex
{
public:
    mutex();

    /** Leaves the lock unusable; the argument is ignored. Nothing uses it. */
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

/** Holds a mutex for the length of a scope, also when the thread is cancelled inside it. */
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
