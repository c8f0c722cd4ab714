#pragma once

#include <cstdint>
#include <string>

#include <pthread.h>

#include "cli/LockNames.h"

/**
 * The daemon as the only process of its kind: two lock files, the signals, and the fork.
 *
 * The daemon counts as running exactly when the child lock can't be taken; whoever asks and finds it free
 * holds it until the end of the process. Both locks are record locks, so a crash releases them, a child
 * doesn't inherit them, and a process that holds or may hold one closes no descriptor of its file, which
 * would drop it.
 */

/** Results of the functions below; 0 is success. */
enum eDaemonResult
{
    DAEMON_RC_LOCK_HELD = 21, ///< the lock can't be taken, or the parent process is process 1
    DAEMON_RC_FORK_FAILED = 22,
    DAEMON_RC_NOT_RUNNING = 23,   ///< the child lock was free
    DAEMON_RC_CREATE_FAILED = 33, ///< a lock file can't be opened or created
    DAEMON_RC_OPEN_FAILED = 34,   ///< the run lock file can't be read
    DAEMON_RC_NO_PID = 36,        ///< the run lock file is empty
    DAEMON_RC_PARENT = 1001       ///< in the parent, after the fork
};

extern std::int32_t gStopTheDaemon; ///< 1 once a stop signal is being handled
extern bool bThreadInitialized;     ///< true once the worker exists
extern pthread_t gTID;              ///< the worker
extern std::int32_t gUUIDFd;        ///< descriptor of the lock file that was opened last; never closed

/**
 * Stops the daemon on SIGTERM and SIGINT: restores, cancels the worker and ends the process with status 255.
 * Before there is a worker nothing is to be restored, and the process ends at once. Any other signal is
 * ignored. The work is always done on the main thread; another thread passes the signal on to it.
 */
void SignalHandler(int signal);

/**
 * Waits, and handles stops meanwhile. Once there is a worker, a stop that comes at any other time is kept
 * until the next such wait, so the program never waits by sleep alone. SIGHUP cuts the wait short.
 */
void WaitTakingStops(unsigned int seconds);

/** The path of a lock file. */
void GetTouchFilePath(std::string name, std::string& path);

/** Opens a lock file, making it when absent, and takes its lock. @return 0, 21 or 33 */
int CheckForAnotherInstanceRunning(const char* fileName);

/** Takes the lock on a whole file without waiting. @return what fcntl returns */
int TakeWriteLockOnFD(int fd);

/** Reads the process id in a lock file. @param pid  -1 when there is no number. @return 0, 34 or 36 */
int GetChildPidFromLockFile(const char* fileName, int& pid);

/** @return 0 when the daemon runs; the first argument isn't used */
int CheckTheDaemonRuning(const char* processName, const char* runFileName);

/** Sends the daemon SIGTERM and doesn't wait. @return 0 when it was sent; the first argument isn't used */
int StopTheDaemon(const char* processName, const char* runFileName);

/** Blocks the signals of children and terminals. */
void SetBlockSingles();

/** Installs SignalHandler. */
void RegisterForNewSingleHandler();

/**
 * Forks the daemon and, in it, runs the service to its end.
 *
 * @param processName  identity in the system log
 * @return in the parent DAEMON_RC_PARENT; in the daemon the result of its service; else why there was no fork
 */
int ConvertProcessToDaemon(const char* processName, const char* runFileName);
