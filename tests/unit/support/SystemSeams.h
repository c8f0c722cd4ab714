#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <pthread.h>
#include <sys/time.h>
#include <sys/types.h>

/**
 * System calls that a test can replace. A call goes to the system unless the test has put something in its
 * place. The test program links them in; nothing of the program changes for it.
 */
struct SystemSeams
{
    std::function<void()> mCloselog;
    std::function<void(FILE*)> mFclose; ///< called before the file is closed
    std::function<FILE*(const char*, const char*)> mFopen64;
    std::function<pid_t()> mFork;
    std::function<pid_t()> mGetppid;
    std::function<uid_t()> mGetuid;
    std::function<void(struct timeval*)> mGettimeofday; ///< fills the record; the call succeeds
    std::function<int(pid_t, int)> mKill;
    std::function<void(const char*, int, int)> mOpenlog;
    std::function<FILE*(const char*, const char*)> mPopen;
    std::function<int(pthread_t)> mPthreadCancel;
    std::function<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> mPthreadCreate;
    std::function<int(pthread_t)> mPthreadDetach;
    std::function<int(pthread_t, void**)> mPthreadJoin;
    std::function<void(pthread_mutex_t*)> mPthreadMutexDestroy; ///< called before the mutex is destroyed
    std::function<int(int)> mSetlogmask;
    std::function<unsigned(unsigned)> mSleep;
    std::function<int(const char*)> mSystem;
    std::function<void()> mSyslog; ///< called before an entry is kept

    /** Entries of the system log, which are kept here and go no further. */
    struct SystemLogEntry
    {
        int mPriority;
        std::string mText;
    };
    std::vector<SystemLogEntry> mSystemLog;
};

SystemSeams& GetSeams();

/** How often this process has taken a lock so far. */
long CountLocks();
