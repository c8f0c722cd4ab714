#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

/** Sends a signal, whatever seam there is for it. */
void SendSignal(pid_t pid, int signal);

/**
 * A process of its own that runs a body of the test, for whatever ends the process, holds locks or takes
 * signals. It ends with the object at the latest. Seams set in the body are the process's own.
 */
class ChildProcess
{
public:
    /** Starts the process, its standard output in a file. @param body  its result is the exit status */
    explicit ChildProcess(const std::function<int()>& body);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t GetPid() const { return mPid; }

    void Send(int signal) const { SendSignal(mPid, signal); }

    /** Waits for the end. @return see WaitForEnd */
    int Wait();

    /** What the process and its own children have written to standard output. */
    std::string GetOutput() const;

    /** The process's entries of the system log once it has exited: priority, a blank, text. */
    std::vector<std::string> GetSystemLog() const { return GetSystemLogOf(mPid); }

    /** The same of a process that this one forked. It begins with the entries from before the fork. */
    std::vector<std::string> GetSystemLogOf(pid_t pid) const;

private:
    pid_t mPid;
    std::string mFolder;
    bool mHasEnded = false;
};

/**
 * Waits for the end of a child process, or of a process that this one adopted.
 *
 * @return its exit status; 1000 and the number of the signal that ended it; -1 and a failure of the test when
 * it doesn't end within 60 seconds
 */
int WaitForEnd(pid_t pid);

/** From now on this process adopts the processes that its children leave behind. */
void AdoptOrphans();
