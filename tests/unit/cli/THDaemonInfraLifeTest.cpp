#include "DaemonHost.h"
#include "cli/THDaemonInfra.h"
#include "cli/THPerfMon.h"
#include "platform/THUEnv.h"
#include "support/ConfigurationSeam.h"
#include "support/HelperSeam.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
extern "C" pid_t __real_fork(void);

constexpr char STARTING[] = "Performing the start operation\n\n";
constexpr char STARTED_TEXT[] = "Info: Daemon is running\n\nPerformed the start operation successfully.\n";

/** Whether another process holds the child lock, without an attempt to take it. */
bool IsChildLockHeld()
{
    const int descriptor = open(GetLockFile(THHS_CHILD_LOCK_NAME).c_str(), O_RDWR | O_CLOEXEC);
    struct flock found = {};
    found.l_type = F_WRLCK;
    const bool isHeld = descriptor >= 0 && fcntl(descriptor, F_GETLK, &found) == 0 && found.l_type != F_UNLCK;
    (void)close(descriptor);
    return isHeld;
}

/** Starts the daemon as the command line does, with a wait that is as long as the daemon needs. */
int StartDaemon()
{
    const pid_t foreground = getpid();
    GetSeams().mSleep = [foreground](unsigned seconds) {
        if (getpid() == foreground) {
            (void)WaitFor(
                [] { return IsChildLockHeld() && !ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)).empty(); });
            return 0U;
        }
        return SleepShort(seconds);
    };
    return PerformAction(eActionStart);
}

int CheckDaemon()
{
    return CheckTheDaemonRuning("thsentinel", THHS_RUN_LOCK_NAME);
}
} // namespace

class DaemonLife : public DaemonHost
{
protected:
    void SetUp() override
    {
        DaemonHost::SetUp();
        AdoptOrphans();
    }

    /** Stops the daemon whose id is in the run file, and sees it end. */
    static void StopDaemon()
    {
        ChildProcess stop([] {
            GetSeams().mKill = nullptr;
            return PerformAction(eActionStop);
        });
        EXPECT_EQ(stop.Wait(), 0);
        EXPECT_EQ(WaitForEnd(AwaitId(GetLockFile(THHS_RUN_LOCK_NAME))), STATUS_OF_STOP);
    }
};

TEST_F(DaemonLife, GoesFromStartToStop)
{
    ChildProcess foreground(StartDaemon);
    EXPECT_EQ(foreground.Wait(), 0);
    EXPECT_EQ(foreground.GetOutput(), std::string(STARTING) + STARTING + STARTED_TEXT);
    AwaitPass();
    EXPECT_EQ(ChildProcess(CheckDaemon).Wait(), 0);
    StopDaemon();
    EXPECT_EQ(ChildProcess(CheckDaemon).Wait(), DAEMON_RC_NOT_RUNNING);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

TEST_F(DaemonLife, IsLeftAloneByASecondStartWhichSucceeds)
{
    ChildProcess first(StartDaemon);
    EXPECT_EQ(first.Wait(), 0);
    AwaitPass();
    const std::string id = ReadFile(GetLockFile(THHS_RUN_LOCK_NAME));
    ChildProcess second(StartDaemon);
    EXPECT_EQ(second.Wait(), 0);
    const std::string refused = "Error: Already instance of daemon is running, not starting new instance\n";
    EXPECT_TRUE(WaitFor([&] { return second.GetOutput().find(refused) != std::string::npos; }));
    EXPECT_NE(second.GetOutput().find(STARTED_TEXT), std::string::npos);
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), id);
    StopDaemon();
}

TEST_F(DaemonLife, BeginsAgainWhereADaemonWasKilled)
{
    for (int time = 0; time < 2; ++time) {
        ChildProcess foreground(StartDaemon);
        EXPECT_EQ(foreground.Wait(), 0);
        AwaitPass(time + 1); // its id is written by then
        const pid_t daemon = AwaitId(GetLockFile(THHS_RUN_LOCK_NAME));
        SendSignal(daemon, SIGKILL);
        EXPECT_EQ(WaitForEnd(daemon), 1000 + SIGKILL);
        EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), std::to_string(daemon));
        EXPECT_EQ(ChildProcess(CheckDaemon).Wait(), DAEMON_RC_NOT_RUNNING);
    }
}

// A process that finds the child lock free holds it, and two seconds are the margin of the daemon.
TEST_F(DaemonLife, DoesNotBeginWhereTheForegroundProcessTakesItsLockFirst)
{
    WriteRunFile("1234"); // of an earlier daemon: without an id the lock isn't asked for
    ChildProcess foreground([] {
        GetSeams().mFork = [] {
            const pid_t pid = __real_fork();
            if (pid == 0) {
                EXPECT_TRUE(WaitFor(IsChildLockHeld));
            }
            return pid;
        };
        GetSeams().mSleep = [](unsigned) { return 0U; };
        const int status = PerformAction(eActionStart);
        (void)wait(nullptr); // holds the lock until the child has ended
        return status;
    });
    EXPECT_EQ(foreground.Wait(), 8);
    EXPECT_EQ(foreground.GetOutput(),
              std::string(STARTING) +
                  "Error: Already instance of daemon is running, not starting new instance\n" + STARTING +
                  "Error: Failed to start the daemon, please check the log for the reason\n"
                  "\nThe start operation failed.\n");
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), "1234");
}

TEST_F(DaemonLife, EndsWithTheStatusOfItsActionWhenALaterReadingFails)
{
    GetConfigurationSeam().mRead = [reads = 0]() mutable { return ++reads == 1 ? 0 : 101; };
    ChildProcess daemon([] {
        GetSeams().mFork = [] { return pid_t(0); };
        GetSeams().mSleep = [](unsigned seconds) { return SleepShort(seconds == 1 ? 1 : 0); };
        return PerformAction(eActionStart);
    });
    EXPECT_EQ(daemon.Wait(), 8);
    EXPECT_EQ(daemon.GetOutput(), STARTING); // the banner that follows finds the stream closed
}

/** Standard descriptors that are closed at the start. */
class ClosedDescriptors : public DaemonLife, public testing::WithParamInterface<std::vector<int>>
{
};

TEST_P(ClosedDescriptors, CostTheDaemonNeitherItsLockNorItsFiles)
{
    ChildProcess foreground([] {
        for (const int descriptor : GetParam()) {
            (void)close(descriptor);
        }
        return StartDaemon();
    });
    EXPECT_EQ(foreground.Wait(), 0);
    AwaitPass();
    EXPECT_EQ(ChildProcess(CheckDaemon).Wait(), 0); // the lock is held
    const std::string id = std::to_string(AwaitId(GetLockFile(THHS_RUN_LOCK_NAME)));
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), id);
    EXPECT_EQ(ReadFile(GetLockFile(THHS_CHILD_LOCK_NAME)), "");
    StopDaemon();
    EXPECT_EQ(ReadFile(GetLockFile(THHS_RUN_LOCK_NAME)), id);
    EXPECT_EQ(GetLogLinesBesidesPasses(), Join({START_LINES, STOP_LINES}));
}

INSTANTIATE_TEST_SUITE_P(DaemonLife, ClosedDescriptors,
                         testing::Values(std::vector{0}, std::vector{1}, std::vector{2}, std::vector{0, 1},
                                         std::vector{1, 2}, std::vector{0, 1, 2}));

/**
 * Daemons with all their real parts, whose passes follow one another without a pause, watch this very process
 * and find it too large: shell lines, log lines, captures on their threads and raised log levels.
 */
class StopAtAnyMoment : public DaemonHost, public testing::WithParamInterface<unsigned>
{
protected:
    void SetUp() override
    {
        DaemonHost::SetUp();
        GetHelperSeam().mMake = nullptr;
        GetConfigurationSeam().mRead = nullptr;
        GetSeams().mPthreadCancel = nullptr;
        GetSeams().mSleep = [](unsigned) {
            (void)usleep(1000);
            return 0U;
        };
        WriteFile(GetTxlogCfgPath(), "#!/bin/sh\necho 'DebugLevel = 1'\necho 'DiagnosticLevel = 2'\n", 0755);
        GetStore().mValues = {{"THHS_POLL_INTERVAL", "1000"},
                              {"THHS_MONITOR_MEMORY", "thsentinel_tests:1"},
                              {"THHS_MONITOR_CPU", "thsentinel_tests:1"},
                              {"THHS_INCREASE_LOG_LEVEL", "1"},
                              {"THHS_VERBOSE", "1"}};
    }

    /** How many daemons each of the ten tests stops; the nightly run takes its time. */
    static int GetNumber() { return std::getenv("THSENTINEL_NIGHTLY") == nullptr ? 6 : 30; }

    /** Waits for a moment of the start and the first passes, or of the captures of the first breach. */
    void AwaitMoment(bool isAfterABreach, const std::filesystem::path& evidence)
    {
        if (isAfterABreach) {
            EXPECT_TRUE(WaitFor([&] { return exists(evidence / "thsentinel" / "thsentinel_tests"); }));
        }
        (void)usleep(std::uniform_int_distribution<unsigned>(0, 150000)(mGenerator));
    }

private:
    std::mt19937 mGenerator{GetParam()};
};

TEST_P(StopAtAnyMoment, EndsWith255)
{
    for (int time = 0; time < GetNumber(); ++time) {
        const std::filesystem::path evidence = MakeFolder();
        GetStore().mValues["THHS_EVIDENCE_PATH"] = evidence;
        WriteRunFile("");
        ChildProcess daemon(BecomeDaemon);
        ASSERT_EQ(AwaitId(GetLockFile(THHS_RUN_LOCK_NAME)), daemon.GetPid());
        AwaitMoment(time % 3 == 0, evidence);
        daemon.Send(SIGTERM);
        ASSERT_EQ(daemon.Wait(), STATUS_OF_STOP) << "stop " << time;
    }
}

INSTANTIATE_TEST_SUITE_P(DaemonLife, StopAtAnyMoment, testing::Range(0U, 10U));
