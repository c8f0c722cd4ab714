#pragma once

#include "page/parse/StackGroups.h"

#include <map>
#include <string_view>

namespace ctl
{

/** A lock that threads wait for, by the thread dump. */
struct JavaLock
{
    std::string mAddress;
    std::string mClass;
    std::string mOwner;                ///< thread that holds it; empty when the dump names none
    std::vector<std::string> mWaiters; ///< threads that want the lock
    std::vector<std::string> mIdle;    ///< threads that wait to be notified and have let go of the lock
};

struct JavaThreadReport
{
    std::string mVersion;                ///< after "Full thread dump "
    std::map<std::string, int> mStates;  ///< threads by state; those of the machine itself are "(VM)"
    std::vector<JavaLock> mContended;    ///< locks with waiters, most waiters first
    std::vector<StackGroup> mStacks;     ///< largest first
    std::vector<std::string> mDeadlocks; ///< the dump's own words, a text a deadlock
    std::size_t mThreadCount = 0;
    std::size_t mThreadsLeftOut = 0; ///< threads beyond the limit of different stacks or of locks
    bool mHasHead = false;
    bool mHasEnd = false; ///< the part after the last thread is there
};

/** Reads the thread dumps of Java 8 to 23, as `jcmd PID Thread.print` prints them, line by line. */
class JavaThreadParser
{
public:
    void TakeLine(std::string_view line);

    /** Ends the last thread, finds the owners of the locks and sorts. */
    const JavaThreadReport& Finish();

private:
    void TakeOutside(std::string_view line);
    void TakeThreadLine(std::string_view line);
    void TakeLockLine(std::string_view line);
    void TakeDeadlockLine(std::string_view line);
    void EndThread();
    JavaLock* LockAt(std::string_view line);

    JavaThreadReport mReport;
    StackGroups mStacks;
    std::map<std::string, JavaLock, std::less<>> mLocks;
    std::string mName;
    std::string mState;
    std::vector<std::string> mFrames;
    bool mIsInThread = false;
    bool mIsInDeadlock = false;
};

} // namespace ctl
