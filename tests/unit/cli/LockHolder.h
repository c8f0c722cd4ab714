#pragma once

#include "support/ChildProcess.h"

/** Another process that holds locks, as a daemon or another action does, until it ends with the object. */
class LockHolder
{
public:
    /** Returns once the locks are held. */
    explicit LockHolder(std::vector<const char*> names);

    pid_t GetPid() const { return mProcess.GetPid(); }

    /** Ends the process with a signal that it can't handle. */
    void Kill();

private:
    ChildProcess mProcess;
};
