#include "DaemonHost.h"
#include "cli/THDaemonInfra.h"
#include "cli/THPerfMon.h"
#include "config/ConfigurationMgr.h"
#include "support/ConfigurationSeam.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr char SLEEP_1[] = "7 sleep 1";
constexpr char CANCELLATION[] = "7 cancel the worker";
constexpr char WORKER[] = "/tmp/worker"; // thread id of a worker that has come to a certain place
constexpr char RELEASE[] = "/tmp/release";
constexpr char WOKEN[] = "/tmp/woken";

extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
FILE* __real_popen(const char*, const char*);
int __real_system(const char*);
}

void SendToThread(pid_t process, pid_t thread, int signal)
{
    EXPECT_EQ(tgkill(process, thread, signal), 0) << thread;
}

/** The entries of the system log that a stop leaves, without those of the wait that it ended. */
std::vector<std::string> GetStopEntries(const ChildProcess& daemon)
{
    const std::vector<std::string> log = daemon.GetSystemLog();
    const auto stop = std::find(log.begin(), log.end(), STOPPED);
    return {stop, log.end()};
}

unsigned SleepAndSignalTheWorker(unsigned seconds)
{
    if (seconds == LONG_INTERVAL) {
        WriteThreadId(WORKER);
    }
    return SleepShort(seconds);
}

bool IsThereAFile(const char* path)
{
    return access(path, F_OK) == 0;
}

bool IsAsleep(pid_t process, pid_t thread)
{
    const std::string state =
        ReadFile("/proc/" + std::to_string(process) + "/task/" + std::to_string(thread) + "/stat");
    return state.find(") S ") != std::string::npos;
}
} // namespace

class IgnoredSignals : public testing::TestWithParam<int>
{
};

TEST_P(IgnoredSignals, HaveNoEffect)
{
    bThreadInitialized = true;
    SignalHandler(GetParam());
    EXPECT_EQ(gStopTheDaemon, 0);
    EXPECT_THAT(GetSeams().mSystemLog, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(DaemonSignals, IgnoredSignals, testing::Values(SIGHUP, SIGCHLD, SIGUSR1, 0, -1));

class StopSignals : public DaemonHost, public testing::WithParamInterface<int>
{
};

TEST_P(StopSignals, EndTheProcessWithoutATearDownWhereThereIsNoWorker)
{
    ChildProcess process([] {
        SignalHandler(GetParam());
        return 0;
    });
    EXPECT_EQ(process.Wait(), STATUS_OF_STOP);
    EXPECT_THAT(process.GetSystemLog(), IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_P(StopSignals, TearDownThenSleepThenCancelTheWorker)
{
    ChildProcess process([] {
        GetSeams().mSleep = [](unsigned seconds) {
            syslog(LOG_DEBUG, "sleep %u, flag %d", seconds, gStopTheDaemon);
            return 0U;
        };
        GetSeams().mPthreadCancel = [](pthread_t thread) {
            syslog(LOG_DEBUG, "cancel %lu", thread);
            return ESRCH;
        };
        bThreadInitialized = true;
        gTID = 77;
        SignalHandler(GetParam());
        return 0;
    });
    EXPECT_EQ(process.Wait(), STATUS_OF_STOP);
    EXPECT_THAT(process.GetSystemLog(), ElementsAre(STOPPED, "7 sleep 1, flag 1", "7 cancel 77"));
    EXPECT_EQ(GetLogLines(), STOP_LINES);
}

TEST_P(StopSignals, StopTheDaemonInItsWait)
{
    ChildProcess daemon(BecomeDaemon);
    AwaitPass();
    AwaitWait();
    daemon.Send(GetParam());
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_THAT(GetStopEntries(daemon), ElementsAre(STOPPED, SLEEP_1, CANCELLATION)); // no exit entry
    EXPECT_EQ(GetLogLines(), Join({START_LINES, PASS_LINES, STOP_LINES}));
}

INSTANTIATE_TEST_SUITE_P(DaemonSignals, StopSignals, testing::Values(SIGTERM, SIGINT));

/** A place in which the worker waits for a thing that doesn't come. */
struct WaitingPlace
{
    const char* mName;
    void (*mWait)();
};

void PrintTo(const WaitingPlace& shown, std::ostream* out)
{
    *out << shown.mName;
}

void ReadPipe()
{
    FILE* const pipe = __real_popen("exec sleep 20", "r");
    char buffer[10];
    while (fgets(buffer, sizeof buffer, pipe) == nullptr && feof(pipe) == 0) {
        clearerr(pipe); // as the program does it: a signal doesn't end the reading
    }
    (void)pclose(pipe);
}

void RunShellLine()
{
    (void)__real_system("exec sleep 20");
}

void Spin()
{
    while (true) {
        (void)access("/", F_OK);
    }
}

class WorkerInPlace : public DaemonHost, public testing::WithParamInterface<WaitingPlace>
{
protected:
    void SetUp() override
    {
        DaemonHost::SetUp();
        // The first shell line of the worker, a process listing, leads to the place.
        mScript.mShell.mAnswer = [](const std::string&) {
            if (gettid() != getpid()) {
                WriteThreadId(WORKER);
                GetParam().mWait();
            }
            return "";
        };
    }
};

TEST_P(WorkerInPlace, PassesItsOwnStopSignalToTheMainThread)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer keeps a signal until the thread makes a call that it knows";
#endif
    ChildProcess daemon(BecomeDaemon);
    SendToThread(daemon.GetPid(), AwaitId(WORKER), SIGTERM);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_THAT(GetStopEntries(daemon), ElementsAre(STOPPED, SLEEP_1, CANCELLATION));
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

TEST_P(WorkerInPlace, DoesNotHoldUpAStop)
{
    ChildProcess daemon(BecomeDaemon);
    (void)AwaitId(WORKER);
    daemon.Send(SIGTERM);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

INSTANTIATE_TEST_SUITE_P(DaemonSignals, WorkerInPlace,
                         testing::Values(WaitingPlace{"reading a pipe", ReadPipe},
                                         WaitingPlace{"running a shell line", RunShellLine},
                                         WaitingPlace{"busy without a cancellation point", Spin}));

using DaemonSignals = DaemonHost;

TEST_F(DaemonSignals, StopADaemonWhoseWorkerSleeps)
{
    ChildProcess daemon([] {
        GetSeams().mSleep = SleepAndSignalTheWorker;
        return BecomeDaemon();
    });
    SendToThread(daemon.GetPid(), AwaitId(WORKER), SIGINT);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

TEST_F(DaemonSignals, LetAHangUpBeginThePassOfASleepingWorkerEarly)
{
    ChildProcess daemon([] {
        GetSeams().mSleep = SleepAndSignalTheWorker;
        return BecomeDaemon();
    });
    const pid_t worker = AwaitId(WORKER);
    // One that comes before the sleep ends none.
    EXPECT_TRUE(WaitFor([&] {
        SendToThread(daemon.GetPid(), worker, SIGHUP);
        return GetLogLines().size() > START_LINES.size() + PASS_LINES.size();
    }));
    AwaitPass(2);
    daemon.Send(SIGTERM);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
}

TEST_F(DaemonSignals, LeaveADaemonThatHangsUpAsItWas)
{
    ChildProcess daemon(BecomeDaemon);
    AwaitPass();
    for (int time = 0; time < 20; ++time) {
        daemon.Send(SIGHUP);
        WaitAMoment();
    }
    daemon.Send(SIGTERM);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

TEST_F(DaemonSignals, EndAWaitWithAHangUp)
{
    ChildProcess process([] {
        RegisterForNewSingleHandler();
        (void)printf("ready");
        (void)fflush(stdout);
        GetSeams().mSleep = nullptr;
        return sleep(50) > 0 ? 0 : 1;
    });
    EXPECT_TRUE(WaitFor([&] { return process.GetOutput() == "ready"; }));
    EXPECT_TRUE(WaitFor([&] {
        process.Send(SIGHUP);
        siginfo_t end = {};
        return waitid(P_PID, static_cast<id_t>(process.GetPid()), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               end.si_pid == process.GetPid();
    }));
    EXPECT_EQ(process.Wait(), 0);
}

TEST_F(DaemonSignals, DoNotInterruptAStopThatIsInProgress)
{
    ChildProcess daemon([this] {
        ConfigurationMgr::GetInstance()->mLogLevelMap["tbrd"] = {1, 2};
        mScript.mShell.mAnswer = [](const std::string& line) {
            if (line.find(" -s DebugLevel=1") != std::string::npos) { // the stop, on its way
                WriteThreadId(WORKER);
                (void)WaitFor([] { return IsThereAFile(RELEASE); });
            }
            return "";
        };
        return BecomeDaemon();
    });
    AwaitPass();
    AwaitWait();
    daemon.Send(SIGTERM);
    const pid_t stopping = AwaitId(WORKER);
    EXPECT_EQ(stopping, daemon.GetPid()); // the main thread
    daemon.Send(SIGTERM);
    daemon.Send(SIGINT);
    daemon.Send(SIGHUP);
    WriteFile(RELEASE, "");
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_THAT(GetStopEntries(daemon), ElementsAre(STOPPED, SLEEP_1, CANCELLATION));
    // The signals that came later ended the sleep of the worker, which begins no pass any more.
    EXPECT_EQ(GetLogLines(), Join({START_LINES, PASS_LINES, STOP_LINES}));
}

TEST_F(DaemonSignals, EndADaemonAtOnceThatReadsItsSettings)
{
    ChildProcess daemon([] {
        GetConfigurationSeam().mRead = [] {
            (void)raise(SIGTERM);
            WriteFile(WOKEN, "");
            return 0;
        };
        return BecomeDaemon();
    });
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_FALSE(IsThereAFile(WOKEN));
    EXPECT_THAT(GetLogLines(), ElementsAre(START_LINES.front()));
}

TEST_F(DaemonSignals, EndADaemonAtOnceThatFailsToStartItsWorker)
{
    ChildProcess daemon([] {
        GetSeams().mPthreadCreate = [](auto...) { return raise(SIGINT), EAGAIN; };
        GetSeams().mSleep = [](unsigned /*seconds*/) { return 0U; };
        return BecomeDaemon();
    });
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(GetLogLines(), START_LINES);
}

TEST_F(DaemonSignals, FindTheWorkerThatIsJustBeingMade)
{
    ChildProcess daemon([] {
        GetSeams().mPthreadCreate = [](auto* id, auto* attributes, auto body, auto* argument) {
            (void)raise(SIGTERM);
            return __real_pthread_create(id, attributes, body, argument);
        };
        return BecomeDaemon();
    });
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_THAT(GetStopEntries(daemon), ElementsAre(STOPPED, SLEEP_1, CANCELLATION));
}

TEST_F(DaemonSignals, LetTheWorkerThatTheyMeetBeginNoFurtherPass)
{
    ChildProcess daemon([] {
        GetSeams().mPthreadCreate = [](auto* id, auto* attributes, auto body, auto* argument) {
            const int result = __real_pthread_create(id, attributes, body, argument);
            (void)WaitFor([] { return IsThereAFile(RELEASE); }); // the main thread takes no stop meanwhile
            return result;
        };
        GetSeams().mSleep = [](unsigned seconds) {
            if (gettid() == getpid()) {
                return SleepShort(seconds);
            }
            WriteThreadId(WORKER);
            const unsigned left = SleepShort(seconds);
            WriteFile(WOKEN, "");
            return left;
        };
        return BecomeDaemon();
    });
    const pid_t worker = AwaitId(WORKER);
    EXPECT_TRUE(WaitFor([&] { // one that comes before the sleep ends none
        SendToThread(daemon.GetPid(), worker, SIGTERM);
        return IsThereAFile(WOKEN);
    }));
    EXPECT_TRUE(WaitFor([&] { return IsAsleep(daemon.GetPid(), worker); }));
    WriteFile(RELEASE, "");
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(GetLogLines(), Join({START_LINES, PASS_LINES, STOP_LINES}));
}

TEST_F(DaemonSignals, EndAForegroundProcessInItsWaitAndTearNothingDown)
{
    ChildProcess foreground([] {
        GetSeams().mFork = [] { return pid_t(4321); };
        GetSeams().mSleep = [](unsigned seconds) {
            WriteThreadId(WORKER);
            return SleepShort(seconds * LONG_INTERVAL);
        };
        return PerformAction(eActionRun);
    });
    (void)AwaitId(WORKER);
    foreground.Send(SIGTERM);
    EXPECT_EQ(foreground.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(foreground.GetOutput(), "Performing the run operation\n\n");
    EXPECT_THAT(foreground.GetSystemLog(), IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(DaemonSignals, EndAForegroundProcessThatIsAboutToForkBeforeThereIsAChild)
{
    ChildProcess foreground([] {
        GetSeams().mFork = [] {
            (void)raise(SIGINT);
            WriteFile(WOKEN, "");
            return pid_t(4321);
        };
        return PerformAction(eActionStart);
    });
    EXPECT_EQ(foreground.Wait(), STATUS_OF_STOP);
    EXPECT_FALSE(IsThereAFile(WOKEN));
}

TEST_F(DaemonSignals, EndAForegroundProcessAtOnceThatHasMadeItsLastCheck)
{
    ChildProcess foreground([] {
        GetSeams().mFork = [] { return pid_t(4321); };
        (void)ConvertProcessToDaemon("thsentinel", THHS_RUN_LOCK_NAME);
        (void)CheckTheDaemonRuning("thsentinel", THHS_RUN_LOCK_NAME);
        return raise(SIGTERM);
    });
    EXPECT_EQ(foreground.Wait(), STATUS_OF_STOP);
}

TEST_F(DaemonSignals, ReachTheMainThreadFromTheWorkerWhileAnInterruptIsIgnored)
{
    ChildProcess daemon([this] {
        mScript.mShell.mAnswer = [](const std::string&) {
            if (gettid() != getpid()) {
                (void)signal(SIGINT, SIG_IGN); // as it is while a capture runs a shell line
                SignalHandler(SIGINT);         // which came just before
            }
            return "";
        };
        return BecomeDaemon();
    });
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}
