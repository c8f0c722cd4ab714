#include "DaemonHost.h"
#include "LockHolder.h"
#include "base/Console.h"
#include "cli/THDaemonInfra.h"
#include "support/ConfigurationSeam.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace
{
constexpr char IN_PROGRESS[] = "Error: Another instance of run action in progressing state\n";
constexpr char ORPHANED[] = "Error: Current process parent pid is 1.\n";
constexpr char NO_FORK[] = "Error: Failed to fork the process\n";
constexpr char RUNNING_ALREADY[] =
    "Error: Already instance of daemon is running, not starting new instance\n";
constexpr char INVALID[] = "Tarnhaven configuration has invalid values. Check thsentinel log for details. "
                           "Stopping Tarnhaven Health Sentinel Service/Daemon.";
constexpr char CREATION[] = "7 creation of the worker";
constexpr char SLEEP_1[] = "7 sleep 1";
const Lines FAILURE_LINES = {"Error:" + std::string(INVALID), "Tarnhaven Health Sentinel Service stopped."};

extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

/** Lets that many creations fail. */
void FailCreations(int number)
{
    GetSeams().mPthreadCreate = [number](pthread_t* id, const pthread_attr_t* attributes,
                                         void* (*body)(void*), void* argument) mutable {
        syslog(LOG_DEBUG, "creation of the worker");
        return number-- > 0 ? EAGAIN : __real_pthread_create(id, attributes, body, argument);
    };
}

bool IsBlocked(int signal)
{
    sigset_t mask;
    (void)pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

bool IsHandled(int signal)
{
    struct sigaction action = {};
    (void)sigaction(signal, nullptr, &action);
    return action.sa_handler == SignalHandler;
}

int Convert()
{
    return ConvertProcessToDaemon("thsentinel", THHS_RUN_LOCK_NAME);
}
} // namespace

using DaemonConversion = DaemonHost;

TEST_F(DaemonConversion, BlocksTheSignalsOfChildrenAndTerminalsBesidesThoseThatAre)
{
    sigset_t before;
    (void)sigemptyset(&before);
    (void)sigaddset(&before, SIGUSR1);
    (void)sigprocmask(SIG_SETMASK, &before, nullptr);
    SetBlockSingles();
    for (int signal = 1; signal < SIGRTMIN; ++signal) {
        const bool isExpected = signal == SIGUSR1 || signal == SIGCHLD || signal == SIGTSTP ||
                                signal == SIGTTOU || signal == SIGTTIN;
        EXPECT_EQ(IsBlocked(signal), isExpected) << signal;
    }
}

TEST_F(DaemonConversion, HandlesThreeSignalsWithNeitherMaskNorFlags)
{
    RegisterForNewSingleHandler();
    for (const int signal : {SIGHUP, SIGTERM, SIGINT}) {
        struct sigaction action = {};
        ASSERT_EQ(sigaction(signal, nullptr, &action), 0);
        EXPECT_EQ(action.sa_handler, SignalHandler);
        EXPECT_EQ(action.sa_flags & ~0x04000000, 0); // SA_RESTORER belongs to the C library
        for (int other = 1; other < SIGRTMIN; ++other) {
            EXPECT_EQ(sigismember(&action.sa_mask, other), 0);
        }
    }
    for (const int signal : {SIGQUIT, SIGUSR1, SIGUSR2, SIGPIPE, SIGALRM, SIGCHLD}) {
        EXPECT_FALSE(IsHandled(signal)) << signal;
    }
}

TEST_F(DaemonConversion, AnswersTheParentAtOnceWithHandlersAndMaskInPlace)
{
    GetSeams().mFork = [] {
        EXPECT_TRUE(IsHandled(SIGTERM) && IsHandled(SIGINT) && IsHandled(SIGHUP));
        EXPECT_TRUE(IsBlocked(SIGCHLD) && IsBlocked(SIGTSTP) && IsBlocked(SIGTTOU) && IsBlocked(SIGTTIN));
        return pid_t(4321);
    };
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Convert(), DAEMON_RC_PARENT); }), "");
    EXPECT_THAT(GetSeams().mSystemLog, IsEmpty());
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), ""); // the daemon's to write
    EXPECT_FALSE(std::filesystem::exists(GetLockFile(THHS_CHILD_LOCK_NAME)));
}

TEST_F(DaemonConversion, ReportsThatTheForkFailed)
{
    GetSeams().mFork = [] { return pid_t(-1); };
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Convert(), DAEMON_RC_FORK_FAILED); }), NO_FORK);
}

class Refusal : public DaemonHost
{
protected:
    void SetUp() override
    {
        DaemonHost::SetUp();
        GetSeams().mFork = [] {
            ADD_FAILURE() << "a fork";
            return pid_t(-1);
        };
    }

    void TearDown() override { EXPECT_FALSE(IsHandled(SIGTERM) || IsBlocked(SIGCHLD)); }
};

TEST_F(Refusal, MeetsASecondRun)
{
    const LockHolder run({THHS_RUN_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Convert(), DAEMON_RC_LOCK_HELD); }), IN_PROGRESS);
}

TEST_F(Refusal, MeetsAHostWithoutAFolder)
{
    std::filesystem::remove_all("/usr/tarnv/tmp");
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Convert(), DAEMON_RC_CREATE_FAILED); }),
              "Error: Failed to create file " + GetLockFile(THHS_RUN_LOCK_NAME) + "\n" + IN_PROGRESS);
}

TEST_F(Refusal, MeetsAChildOfProcess1)
{
    GetSeams().mGetppid = [] { return pid_t(1); };
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Convert(), DAEMON_RC_LOCK_HELD); }), ORPHANED);
}

TEST_F(Refusal, ReportsTheOtherRunFirst)
{
    GetSeams().mGetppid = [] { return pid_t(1); };
    const LockHolder run({THHS_RUN_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(Convert(), DAEMON_RC_LOCK_HELD); }), IN_PROGRESS);
}

TEST_F(DaemonConversion, LeavesADaemonThatRunsAndItsIdAlone)
{
    WriteRunFile("1234");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    ChildProcess second(BecomeDaemon);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(second.GetOutput(), RUNNING_ALREADY);
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), "1234");
    EXPECT_THAT(second.GetSystemLog(), IsEmpty());
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(DaemonConversion, WritesItsIdOverALongerOne)
{
    WriteRunFile("99999999999999999999\n");
    ChildProcess daemon(BecomeDaemon);
    AwaitPass();
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), std::to_string(daemon.GetPid()));
    EXPECT_EQ(ReadFile(GetLockFile(THHS_CHILD_LOCK_NAME)), "");
}

TEST_F(DaemonConversion, GoesOnWhereItsIdCanNotBeWritten)
{
    ChildProcess daemon([] {
        GetSeams().mFork = [] {
            std::filesystem::remove(GetLockFile(THHS_RUN_LOCK_NAME));
            std::filesystem::create_directory(GetLockFile(THHS_RUN_LOCK_NAME));
            return pid_t(0);
        };
        return Convert();
    });
    AwaitPass();
    daemon.Send(SIGTERM);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    EXPECT_EQ(daemon.GetOutput(), "");
}

TEST_F(DaemonConversion, OpensTheSystemLogForItselfAndItsEntries)
{
    FailCreations(3);
    GetSeams().mSetlogmask = [](int mask) {
        syslog(LOG_DEBUG, "mask %#x", static_cast<unsigned>(mask));
        return 0xff;
    };
    GetSeams().mOpenlog = [](const char* identity, int options, int facility) {
        syslog(LOG_DEBUG, "%s %d %d", identity, options, facility);
    };
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 0);
    const std::string opened =
        "7 thsentinel " + std::to_string(LOG_PID | LOG_CONS | LOG_PERROR) + " " + std::to_string(LOG_USER);
    const std::vector<std::string> log = daemon.GetSystemLog();
    EXPECT_THAT(std::vector(log.begin(), log.begin() + 4),
                ElementsAre("7 mask 0x7f", opened, ENTRY, STARTED));
}

TEST_F(DaemonConversion, ClosesTheSystemLogAfterItsLastEntry)
{
    FailCreations(3);
    GetSeams().mCloselog = [] { syslog(LOG_DEBUG, "closed"); };
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 0);
    const std::vector<std::string> log = daemon.GetSystemLog();
    EXPECT_THAT(std::vector(log.end() - 2, log.end()), ElementsAre(EXIT, "7 closed"));
}

TEST_F(DaemonConversion, LeavesTheSystemLogOpenWhereItEndsOnABadConfiguration)
{
    GetConfigurationSeam().mRead = [] { return 101; };
    GetSeams().mCloselog = [] { syslog(LOG_DEBUG, "closed"); };
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 101);
    EXPECT_THAT(daemon.GetSystemLog(), Not(Contains("7 closed")));
}

TEST_F(DaemonConversion, ClosesInputThenOutputThenErrors)
{
    FailCreations(3);
    GetSeams().mFclose = [](FILE* file) {
        for (const auto& [stream, name] :
             {std::pair{stdin, "input"}, {stdout, "output"}, {stderr, "errors"}}) {
            if (file == stream) {
                syslog(LOG_DEBUG, "close %s", name);
            }
        }
    };
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 0);
    const std::vector<std::string> log = daemon.GetSystemLog();
    EXPECT_THAT(std::vector(log.begin(), log.begin() + 3),
                ElementsAre("7 close input", "7 close output", "7 close errors"));
}

TEST_F(DaemonConversion, DetachesByOneForkAndClosedStreamsAlone)
{
    FailCreations(3);
    const pid_t session = getsid(0);
    const std::string folder = MakeFolder();
    ChildProcess daemon([session, folder] {
        std::filesystem::current_path(folder);
        (void)umask(027);
        (void)printf("buffered");
        if (BecomeDaemon() != 0 || getsid(0) != session || std::filesystem::current_path() != folder) {
            return 1;
        }
        ConsolePuts("unheard");
        return umask(0) == 027 ? 0 : 2;
    });
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_EQ(daemon.GetOutput(), "buffered"); // written by the closing
}

TEST_F(DaemonConversion, LeavesStandardDescriptorsThatCanNeitherBeReadNorWritten)
{
    ChildProcess daemon(BecomeDaemon);
    AwaitPass();
    for (const char* const descriptor : {"0", "1", "2"}) {
        const std::string place = "/proc/" + std::to_string(daemon.GetPid());
        EXPECT_EQ(std::filesystem::read_symlink(place + "/fd/" + descriptor), "/");
        const std::string information = ReadFile(place + "/fdinfo/" + descriptor);
        EXPECT_NE(information.find("flags:\t012000000\n"), std::string::npos)
            << information; // O_PATH, O_CLOEXEC
    }
}

TEST_F(DaemonConversion, EndsWithoutAWorkerOnABadConfiguration)
{
    GetConfigurationSeam().mRead = [] { return 101; };
    FailCreations(0);
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 101);
    EXPECT_THAT(daemon.GetSystemLog(), ElementsAre(ENTRY, "3 " + std::string(INVALID)));
    EXPECT_EQ(GetLogLines(), Join({{START_LINES.front()}, FAILURE_LINES}));
}

TEST_F(DaemonConversion, GivesUpAtTheThirdFailedCreationWithoutATearDown)
{
    FailCreations(3);
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_THAT(daemon.GetSystemLog(),
                ElementsAre(ENTRY, STARTED, CREATION, SLEEP_1, CREATION, SLEEP_1, CREATION, EXIT));
    EXPECT_EQ(GetLogLines(), START_LINES); // and no pass
}

TEST_F(DaemonConversion, RunsAfterTwoFailedCreationsAndMakesNoSecondWorker)
{
    FailCreations(2);
    ChildProcess daemon(BecomeDaemon);
    AwaitPass();
    daemon.Send(SIGTERM);
    EXPECT_EQ(daemon.Wait(), STATUS_OF_STOP);
    const std::vector<std::string> log = daemon.GetSystemLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), CREATION), 3);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

TEST_F(DaemonConversion, EndsAndTearsDownTwiceWhenALaterReadingFails)
{
    GetConfigurationSeam().mRead = [reads = 0]() mutable { return ++reads == 1 ? 0 : 101; };
    GetSeams().mSleep = [](unsigned seconds) { return SleepShort(seconds == 1 ? 1 : 0); };
    ChildProcess daemon(BecomeDaemon);
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_THAT(daemon.GetSystemLog(),
                ElementsAre(ENTRY, STARTED, "3 " + std::string(INVALID), STOPPED, STOPPED, EXIT));
    EXPECT_EQ(GetLogLines(), Join({START_LINES, PASS_LINES, FAILURE_LINES, STOP_LINES, STOP_LINES}));
}

// The line of the start banner is still buffered at the fork, and each process writes its copy.
TEST_F(DaemonConversion, WritesWhatIsBufferedAtTheForkTwice)
{
    AdoptOrphans();
    ChildProcess foreground([] {
        (void)printf("banner\n");
        return Convert() == DAEMON_RC_PARENT ? 0 : 1;
    });
    EXPECT_EQ(foreground.Wait(), 0);
    AwaitPass();
    EXPECT_EQ(foreground.GetOutput(), "banner\nbanner\n");
    const pid_t daemon = AwaitId(GetLockFile(THHS_RUN_LOCK_NAME));
    SendSignal(daemon, SIGTERM);
    EXPECT_EQ(WaitForEnd(daemon), STATUS_OF_STOP);
}
