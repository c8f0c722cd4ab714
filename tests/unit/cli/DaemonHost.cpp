#include "DaemonHost.h"

#include "cli/THDaemonInfra.h"
#include "config/ConfigurationMgr.h"
#include "support/ConfigurationSeam.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

const Lines START_LINES = {"Tarnhaven Health Sentinel Service started", "Number of CPUs = 0",
                           "Total size of Memory = 0"};
const Lines PASS_LINES = {"Tarnhaven Health Sentinel Service is monitoring the resources."};
const Lines STOP_LINES = {"Cleaning up the resources used by the service.",
                          "Resetting the original log levels for the processes.",
                          "Tarnhaven Health Sentinel Service stopped."};

namespace
{
constexpr unsigned MICROSECONDS_FOR_A_SECOND = 10000;

constexpr char WAITING[] = "/tmp/waiting";

bool bLeaksAreMeant = false;

/** An entry of the system log from a place where a stop is taken, which needs the locks of a note itself. */
void NoteUninterrupted(const std::string& text)
{
    sigset_t all;
    sigset_t former;
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, &former);
    syslog(LOG_DEBUG, "%s", text.c_str());
    (void)pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

} // namespace

extern "C" {
int __real_pthread_cancel(pthread_t thread);

// Asked by the leak sanitizer, where there is one: a worker that is cancelled in the middle of a log line or
// a shell line leaves its stream behind, and the process ends.
int __lsan_is_turned_off()
{
    return bLeaksAreMeant ? 1 : 0;
}
}

void DaemonHost::SetUp()
{
    ActionHost::SetUp();
    ScriptHelpers();
    GetConfigurationSeam().mRead = [] {
        ConfigurationMgr::GetInstance()->mPollInterval = LONG_INTERVAL;
        return 0;
    };
    GetSeams().mSleep = [](unsigned seconds) {
        if (seconds != LONG_INTERVAL) {
            NoteUninterrupted("sleep " + std::to_string(seconds));
            (void)close(open(WAITING, O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
        }
        return SleepShort(seconds);
    };
    GetSeams().mPthreadCancel = [](pthread_t thread) {
        syslog(LOG_DEBUG, thread == gTID ? "cancel the worker" : "cancel another thread");
        return __real_pthread_cancel(thread);
    };
}

int DaemonHost::BecomeDaemon()
{
    bLeaksAreMeant = true;
    GetSeams().mFork = [] { return pid_t(0); };
    return ConvertProcessToDaemon("thsentinel", THHS_RUN_LOCK_NAME);
}

void DaemonHost::AwaitPass(int number)
{
    EXPECT_TRUE(WaitFor([number] {
        const std::vector<std::string> lines = GetLogLines();
        return std::count(lines.begin(), lines.end(), PASS_LINES.front()) >= number;
    }));
}

void DaemonHost::AwaitWait()
{
    EXPECT_TRUE(WaitFor([] { return access(WAITING, F_OK) == 0; }));
}

pid_t DaemonHost::AwaitId(const std::string& path)
{
    EXPECT_TRUE(WaitFor([&path] { return !ReadFile(path).empty(); })) << path;
    return static_cast<pid_t>(std::strtol(ReadFile(path).c_str(), nullptr, 10));
}

Lines DaemonHost::GetLogLinesBesidesPasses()
{
    Lines lines = GetLogLines();
    std::erase(lines, PASS_LINES.front());
    return lines;
}

Lines Join(const std::vector<Lines>& groups)
{
    Lines joined;
    for (const Lines& group : groups) {
        joined.insert(joined.end(), group.begin(), group.end());
    }
    return joined;
}

unsigned SleepShort(unsigned seconds)
{
    return usleep(seconds * MICROSECONDS_FOR_A_SECOND) == 0 ? 0 : 1;
}

void WriteThreadId(const std::string& path)
{
    WriteFile(path + ".new", std::to_string(gettid()));
    (void)rename((path + ".new").c_str(), path.c_str());
}
