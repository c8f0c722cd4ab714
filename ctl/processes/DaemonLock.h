#pragma once

#include <optional>
#include <string>

namespace ctl
{

/** Whether the daemon runs, found out without taking a lock. */
struct DaemonLock
{
    enum class State
    {
        Running, ///< somebody holds the daemon's lock
        Stopped, ///< nobody does
        Unknown  ///< it can't be told; `reason` says why
    };

    State state = State::Unknown;
    std::optional<int> holder;  ///< the process that holds the lock, if its id can be seen here
    std::optional<int> written; ///< the process id in the run lock file, if it can be read and holds one
    std::string reason; ///< of Unknown; of Running a remark, such as a holder that isn't the written one

    bool IsRunning() const { return state == State::Running; }
    /** True if nobody runs and a process id is left from one that did. */
    bool IsStale() const { return state == State::Stopped && written.has_value(); }
};

/** Where the daemon keeps its locks. */
std::string GetLockFolder();

/**
 * Asks for the lock: by the list of locks of the kernel, for which no file is opened, and by F_GETLK on a
 * descriptor for reading. Nothing is created, written or locked. `folder` holds the lock files, `procFolder`
 * is /proc.
 */
DaemonLock AskForDaemon(const std::string& folder = GetLockFolder(), const std::string& procFolder = "/proc");

} // namespace ctl
