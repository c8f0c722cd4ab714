#include "cli/THDaemonInfra.h"

#include "base/Console.h"
#include "base/MainThread.h"
#include "cli/ServiceTexts.h"
#include "cli/StopUnderWay.h"
#include "cli/THJobPerfMonSvc.h"
#include "logcontrol/LevelRaise.h"
#include "platform/THUEnv.h"
#include "thbase.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

std::int32_t gStopTheDaemon = 0;
bool bThreadInitialized = false;
pthread_t gTID = ~static_cast<pthread_t>(0);
std::int32_t gUUIDFd = -1;

namespace
{
constexpr mode_t LOCK_FILE_MODE = 0600;
constexpr std::size_t LOCK_FILE_READ_SIZE = 4096;
constexpr int LOG_MASK = 0x7f; // all priorities up to LOG_INFO
constexpr int CREATION_BUDGET = 3;
constexpr int EXIT_ON_SIGNAL = -1;
constexpr useconds_t MICROSECONDS_BETWEEN_LOOKS = 10000;

/** What a stop signal does on the main thread. */
enum eStopTreatment : int
{
    STOPS_ARE_TAKEN,   ///< all of the work of a stop: the main thread waits and holds no lock
    STOPS_END_AT_ONCE, ///< it ends the process: nothing has to be torn down yet
    STOPS_ARE_KEPT     ///< nothing until the main thread waits: it may hold a lock that the stop needs
};

volatile sig_atomic_t gStopTreatment = STOPS_ARE_TAKEN;
volatile sig_atomic_t gKeptStop = 0;

/** For the time in which the main thread works and doesn't wait. */
void SetStopTreatmentOfWork()
{
    gStopTreatment = bThreadInitialized ? STOPS_ARE_KEPT : STOPS_END_AT_ONCE;
}

/** Handles a stop that was kept, and from now on each stop when it comes. */
void TakeStops()
{
    gStopTreatment = STOPS_ARE_TAKEN;
    if (gKeptStop != 0) {
        SignalHandler(gKeptStop);
    }
}

/** The second that a stop gives the worker. Another signal cuts it short, unless a level is being raised. */
void WaitForWorker()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    (void)sleep(1);
    while (IsMetRaiseInProgress() && std::chrono::steady_clock::now() < end) {
        (void)usleep(MICROSECONDS_BETWEEN_LOOKS);
    }
}

/** Restores the target of a raise that the stop has met; twice when the raise ends during that. */
void RestoreWhatRaisesLate()
{
    const bool wasInProgress = IsMetRaiseInProgress();
    RestoreMetTarget();
    if (wasInProgress && !IsMetRaiseInProgress()) {
        RestoreMetTarget();
    }
}

bool IsMainThread()
{
    return pthread_equal(pthread_self(), GetMainThreadId()) != 0;
}

/** Part of the signal handler on another thread, whose work goes on with the errno that it had. */
void PassStopToMainThread()
{
    const int savedErrno = errno;
    NoteStop();
    // Never as SIGINT, which is ignored while a capture runs a shell line. It ends no thread, because it is
    // handled, and it fails only when the process is ending already.
    (void)pthread_kill(GetMainThreadId(), SIGTERM); // NOLINT(bugprone-bad-signal-to-kill-thread)
    errno = savedErrno;
}

int OpenLockFile(const std::string& path)
{
    // A lock on one of the first three descriptors would fall when the daemon closes its standard streams.
    OccupyFreeStandardDescriptors();
    return open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, LOCK_FILE_MODE);
}

/** Reads the beginning of a lock file, more than a process id takes. False when it can't be opened. */
bool ReadLockFile(const std::string& path, std::string& content)
{
    // Left open: closing any descriptor of the file would drop the lock that this process may hold on it.
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    char buffer[LOCK_FILE_READ_SIZE];
    const ssize_t length = read(descriptor, buffer, sizeof buffer);
    content.assign(buffer, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return true;
}

/** Removes the size of the starter's terminal from the environment: the tools would cut their lines to it. */
void ForgetTerminal()
{
    for (const char* const name : {"COLUMNS", "LINES"}) {
        (void)unsetenv(name); // fails for malformed names only
    }
}

void WritePid(const char* runFileName)
{
    std::string path;
    GetTouchFilePath(runFileName, path);
    FILE* const file = fopen(path.c_str(), "w");
    // Intentional: a failure is ignored. If the process id can't be written, a later -terminate reads the old
    // one.
    if (file != nullptr) {
        (void)fprintf(file, "%d", getpid());
        (void)fclose(file);
    }
}

/** Creates the worker unless it exists; each failure takes one from the budget and leaves no message. */
void CreateWorker(ServiceThreadStatus& status, int& budget)
{
    if (bThreadInitialized) {
        return;
    }
    gStopTreatment = STOPS_ARE_KEPT; // until it is known whether there is something to tear down
    if (pthread_create(&gTID, nullptr, ServiceWorkerThread, &status) == 0) {
        bThreadInitialized = true;
        return;
    }
    --budget;
    TakeStops();
    SetStopTreatmentOfWork();
}

void RunWorker()
{
    ServiceThreadStatus status = {0, 1};
    int budget = CREATION_BUDGET;
    while (gStopTheDaemon == 0) {
        CreateWorker(status, budget);
        if (budget == 0) {
            return;
        }
        if (status.mAlive == 0) {
            (void)StopMonitoringActivity(); // Intentional: repeats the worker's own call, see the header
            return;
        }
        WaitTakingStops(1);
    }
}

int RunDaemon(const char* processName, const char* runFileName)
{
    if (CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME) != 0) {
        ConsolePuts("Error: Already instance of daemon is running, not starting new instance");
        exit(EXIT_SUCCESS);
    }
    WritePid(runFileName);
    ForgetTerminal();
    CloseStandardStreams();
    OccupyFreeStandardDescriptors();
    (void)setlogmask(LOG_MASK); // the former mask isn't needed again
    openlog(processName, LOG_PID | LOG_CONS | LOG_PERROR, LOG_USER);
    syslog(LOG_INFO, DAEMON_ENTRY_TEXT);
    const int result = StartMonitoringActivity();
    if (result != 0) {
        return result;
    }
    RunWorker();
    TakeStops();
    SetStopTreatmentOfWork(); // the process ends anyway, so one that is kept from now on isn't missed
    syslog(LOG_INFO, DAEMON_EXIT_TEXT);
    closelog();
    return 0;
}
} // namespace

void SignalHandler(int signal)
{
    if (signal != SIGINT && signal != SIGTERM) {
        return;
    }
    // Another thread may be cancelled by the stop, or hold a lock that the stop waits for.
    if (!IsMainThread()) {
        PassStopToMainThread();
        return;
    }
    if (gStopTreatment == STOPS_ARE_KEPT) {
        gKeptStop = signal;
        return;
    }
    if (gStopTreatment == STOPS_END_AT_ONCE) {
        _exit(EXIT_ON_SIGNAL); // exit isn't safe wherever a signal may interrupt the thread
    }
    gStopTreatment = STOPS_ARE_KEPT; // a second stop doesn't interrupt the first
    gStopTheDaemon = 1;
    NoteStop();
    if (bThreadInitialized) {
        ForbidRaises();                 // by the worker, which goes on meanwhile
        (void)StopMonitoringActivity(); // always 0
        WaitForWorker();
        RestoreWhatRaisesLate();
        (void)pthread_cancel(gTID); // the worker may have ended by itself
    }
    exit(EXIT_ON_SIGNAL);
}

void WaitTakingStops(unsigned int seconds)
{
    TakeStops();
    (void)sleep(seconds); // SIGHUP cuts it short
    SetStopTreatmentOfWork();
}

void GetTouchFilePath(std::string name, std::string& path)
{
    path = GetTHTempPath() + "/" + name;
}

int CheckForAnotherInstanceRunning(const char* fileName)
{
    std::string path;
    GetTouchFilePath(fileName, path);
    gUUIDFd = OpenLockFile(path);
    if (gUUIDFd < 0) {
        ConsolePrint("Error: Failed to create file %s\n", path.c_str());
        return DAEMON_RC_CREATE_FAILED;
    }
    return TakeWriteLockOnFD(gUUIDFd) < 0 ? DAEMON_RC_LOCK_HELD : 0;
}

int TakeWriteLockOnFD(int fd)
{
    static struct flock uuidflock = {};
    uuidflock.l_type = F_WRLCK;
    uuidflock.l_whence = SEEK_SET;
    uuidflock.l_start = 0;
    uuidflock.l_len = 0;
    return fcntl(fd, F_SETLK, &uuidflock);
}

int GetChildPidFromLockFile(const char* fileName, int& pid)
{
    pid = -1;
    std::string path;
    GetTouchFilePath(fileName, path);
    std::string content;
    if (!ReadLockFile(path, content)) {
        return DAEMON_RC_OPEN_FAILED;
    }
    FILE* const file = fmemopen(content.data(), content.size(), "r");
    const int conversions = file == nullptr ? -1 : T_fscanf(file, "%d", &pid, static_cast<int>(sizeof pid));
    if (file != nullptr) {
        (void)fclose(file); // memory, and only read
    }
    if (conversions == -1) {
        pid = -1;
        return DAEMON_RC_NO_PID;
    }
    return 0;
}

int CheckTheDaemonRuning(const char* /*processName*/, const char* runFileName)
{
    int pid = -1;
    const int readResult = GetChildPidFromLockFile(runFileName, pid);
    if (readResult != 0) {
        ConsolePuts("Error: Failed to retrieve the process details of the daemon");
        return readResult;
    }
    const int lockResult = CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME);
    if (lockResult == 0) {
        return DAEMON_RC_NOT_RUNNING;
    }
    return lockResult == DAEMON_RC_LOCK_HELD ? 0 : lockResult;
}

int StopTheDaemon(const char* /*processName*/, const char* runFileName)
{
    const int runResult = CheckForAnotherInstanceRunning(runFileName);
    if (runResult != 0) {
        ConsolePuts("Error: Another instance of action in progressing state");
        return runResult;
    }
    int pid = -1;
    const int readResult = GetChildPidFromLockFile(runFileName, pid);
    if (readResult != 0) {
        ConsolePuts("Error: Failed to retrieve the process details of the daemon");
        return readResult;
    }
    if (CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME) == 0) {
        ConsolePuts("Error: Could not found valid daemon instance.");
        return DAEMON_RC_NOT_RUNNING;
    }
    // Intentional: unchecked, as the child lock alone says that a daemon runs. An unreadable number is -1
    // here, which addresses all processes that the caller may signal.
    (void)kill(pid, SIGTERM);
    return 0;
}

void SetBlockSingles()
{
    sigset_t blocked;
    (void)sigemptyset(&blocked); // these calls fail on unknown signals and sets only
    for (const int signal : {SIGCHLD, SIGTSTP, SIGTTOU, SIGTTIN}) {
        (void)sigaddset(&blocked, signal);
    }
    (void)sigprocmask(SIG_BLOCK, &blocked, nullptr);
}

void RegisterForNewSingleHandler()
{
    struct sigaction action = {};
    action.sa_handler = SignalHandler;
    (void)sigemptyset(&action.sa_mask);
    for (const int signal : {SIGHUP, SIGTERM, SIGINT}) {
        (void)sigaction(signal, &action, nullptr); // these can all be caught
    }
}

int ConvertProcessToDaemon(const char* processName, const char* runFileName)
{
    const int lockResult = CheckForAnotherInstanceRunning(runFileName);
    if (lockResult != 0) {
        ConsolePuts("Error: Another instance of run action in progressing state");
        return lockResult;
    }
    if (getppid() == 1) {
        ConsolePuts("Error: Current process parent pid is 1.");
        return DAEMON_RC_LOCK_HELD;
    }
    SetBlockSingles();
    SetStopTreatmentOfWork();
    RegisterForNewSingleHandler();
    const pid_t child = fork();
    if (child == 0) {
        return RunDaemon(processName, runFileName);
    }
    if (child < 0) {
        ConsolePuts("Error: Failed to fork the process");
        return DAEMON_RC_FORK_FAILED;
    }
    return DAEMON_RC_PARENT;
}
