#include "cli/THDaemonInfra.h"

#include "ActionHost.h"
#include "LockHolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{
constexpr char RUN_FILE[] = "/usr/tarnv/tmp/976AF287-9C13-4F28-AC99-AD456ABE5383.RUN";
constexpr char CHILD_FILE[] = "/usr/tarnv/tmp/41938320-72B9-4818-A4F2-16EBF79F40F0.CHILD";
constexpr char NO_INSTANCE[] = "Error: Could not found valid daemon instance.\n";

std::string GetCreateError(const std::string& path)
{
    return "Error: Failed to create file " + path + "\n";
}

/** What another process finds that asks for the lock. */
int AskElsewhere(const char* name)
{
    ChildProcess other([name] { return CheckForAnotherInstanceRunning(name); });
    return other.Wait();
}

/** The result of a check of which the console text doesn't matter. */
int CheckSilently()
{
    int result = 0;
    (void)GetConsole([&] { result = CheckTheDaemonRuning("thsentinel", THHS_RUN_LOCK_NAME); });
    return result;
}
} // namespace

class DaemonLocks : public ActionHost
{
protected:
    void SetUp() override
    {
        ActionHost::SetUp();
        GetSeams().mKill = [this](pid_t pid, int signal) {
            mSignals.emplace_back(pid, signal);
            return -1; // the outcome doesn't matter
        };
    }

    std::vector<std::pair<pid_t, int>> mSignals;
};

TEST(DaemonGlobals, StartAsDocumented)
{
    EXPECT_EQ(gStopTheDaemon, 0);
    EXPECT_FALSE(bThreadInitialized);
    EXPECT_EQ(gTID, ~pthread_t(0));
    EXPECT_EQ(gUUIDFd, -1);
}

TEST(DaemonGlobals, FindLockFilesBelowTheFolderOfTheProduct)
{
    std::string path = "old";
    GetTouchFilePath(THHS_RUN_LOCK_NAME, path);
    EXPECT_EQ(path, RUN_FILE);
    GetTouchFilePath(THHS_CHILD_LOCK_NAME, path);
    EXPECT_EQ(path, CHILD_FILE);
    GetTouchFilePath("", path);
    EXPECT_EQ(path, "/usr/tarnv/tmp/");
}

TEST_F(DaemonLocks, AreMadePrivateAndEmpty)
{
    const mode_t mask = umask(0);
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME), 0);
    (void)umask(mask);
    struct stat status = {};
    ASSERT_EQ(stat(CHILD_FILE, &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
    EXPECT_EQ(status.st_size, 0);
}

TEST_F(DaemonLocks, LeaveTheContentOfTheirFiles)
{
    WriteRunFile("1234");
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME), 0);
    EXPECT_EQ(ReadFile(RUN_FILE), "1234");
}

TEST_F(DaemonLocks, NoteTheLatestDescriptorAndCloseNone)
{
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME), 0);
    const int first = gUUIDFd;
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME), 0);
    EXPECT_NE(gUUIDFd, first);
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(first)), RUN_FILE);
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(gUUIDFd)), CHILD_FILE);
    EXPECT_EQ(fcntl(first, F_GETFL) & O_ACCMODE, O_RDWR);
}

TEST_F(DaemonLocks, ExcludeOtherProcessesAndNotTheirOwn)
{
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME), 0);
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME), 0);
    EXPECT_EQ(AskElsewhere(THHS_RUN_LOCK_NAME), DAEMON_RC_LOCK_HELD);
    EXPECT_EQ(AskElsewhere(THHS_CHILD_LOCK_NAME), 0);
}

// So the daemon never holds the run lock of the process that forked it: AskElsewhere asks in such a child.
TEST_F(DaemonLocks, AreNotInheritedByAForkedChild)
{
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME), 0);
    ChildProcess child([] { return TakeWriteLockOnFD(gUUIDFd) == -1 && errno == EAGAIN ? 0 : 1; });
    EXPECT_EQ(child.Wait(), 0);
}

TEST_F(DaemonLocks, CoverTheWholeFileHoweverLong)
{
    WriteFile(CHILD_FILE, std::string(100000, 'x'));
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    const int descriptor = open(CHILD_FILE, O_RDWR | O_CLOEXEC);
    struct flock found = {};
    found.l_type = F_WRLCK;
    found.l_whence = SEEK_SET;
    found.l_start = 1000000;
    found.l_len = 1;
    ASSERT_EQ(fcntl(descriptor, F_GETLK, &found), 0);
    EXPECT_EQ(found.l_type, F_WRLCK);
    EXPECT_EQ(found.l_start, 0);
    EXPECT_EQ(found.l_len, 0);
    EXPECT_EQ(found.l_pid, daemon.GetPid());
    EXPECT_EQ(TakeWriteLockOnFD(descriptor), -1);
    (void)close(descriptor);
}

TEST_F(DaemonLocks, AreReleasedWithTheProcessThatHeldThem)
{
    LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME), DAEMON_RC_LOCK_HELD);
    daemon.Kill();
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_CHILD_LOCK_NAME), 0);
}

TEST_F(DaemonLocks, AreNotTakenOnADescriptorThatIsNone)
{
    EXPECT_EQ(TakeWriteLockOnFD(-1), -1);
}

TEST_F(DaemonLocks, NameTheFileThatCanNotBeMade)
{
    std::filesystem::remove_all("/usr/tarnv/tmp");
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME), 33); }),
              GetCreateError(RUN_FILE));
    EXPECT_EQ(gUUIDFd, -1);
}

/** A content of the run file, and what is read from it. */
struct PidCase
{
    const char* mName;
    std::string mContent;
    int mResult;
    int mPid;
};

void PrintTo(const PidCase& shown, std::ostream* out)
{
    *out << shown.mName;
}

class RunFileContent : public DaemonLocks, public testing::WithParamInterface<PidCase>
{
};

TEST_P(RunFileContent, GivesAnIdOrTheReasonWhyNot)
{
    WriteRunFile(GetParam().mContent);
    int pid = 77;
    EXPECT_EQ(GetChildPidFromLockFile(THHS_RUN_LOCK_NAME, pid), GetParam().mResult);
    EXPECT_EQ(pid, GetParam().mPid);
    EXPECT_EQ(ReadFile(RUN_FILE), GetParam().mContent);
}

INSTANTIATE_TEST_SUITE_P(
    DaemonLocks, RunFileContent,
    testing::Values(PidCase{"an id", "1234", 0, 1234}, PidCase{"an id and a line end", "1234\n", 0, 1234},
                    PidCase{"blanks before it", " \n\t 1234", 0, 1234},
                    PidCase{"text after it", "1234abc", 0, 1234}, PidCase{"two numbers", "1 2", 0, 1},
                    PidCase{"a negative number", "-7", 0, -7},
                    PidCase{"the largest number", "2147483647", 0, 2147483647},
                    PidCase{"nothing", "", DAEMON_RC_NO_PID, -1},
                    PidCase{"blanks alone", " \n ", DAEMON_RC_NO_PID, -1}, PidCase{"a word", "abc", 0, -1},
                    PidCase{"an endless word", std::string(1000000, 'x'), 0, -1},
                    PidCase{"bytes", std::string("\0\xff\x01 1", 5), 0, -1}));

TEST_F(DaemonLocks, FindNoIdWhereThereIsNoFile)
{
    int pid = 77;
    EXPECT_EQ(GetChildPidFromLockFile(THHS_RUN_LOCK_NAME, pid), DAEMON_RC_OPEN_FAILED);
    EXPECT_EQ(pid, -1);
    EXPECT_FALSE(std::filesystem::exists(RUN_FILE));
}

TEST_F(DaemonLocks, OutliveTheReadingOfTheirFile)
{
    WriteRunFile("1234");
    EXPECT_EQ(CheckForAnotherInstanceRunning(THHS_RUN_LOCK_NAME), 0);
    int pid = -1;
    EXPECT_EQ(GetChildPidFromLockFile(THHS_RUN_LOCK_NAME, pid), 0);
    EXPECT_EQ(AskElsewhere(THHS_RUN_LOCK_NAME), DAEMON_RC_LOCK_HELD);
}

TEST_F(DaemonLocks, ShowThatADaemonRuns)
{
    WriteRunFile("not even a number");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(CheckTheDaemonRuning(nullptr, THHS_RUN_LOCK_NAME), 0); }), "");
}

TEST_F(DaemonLocks, ShowThatNoDaemonRunsAndAreHeldFromThenOn)
{
    WriteRunFile("1234");
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(CheckTheDaemonRuning(nullptr, THHS_RUN_LOCK_NAME), 23); }), "");
    EXPECT_EQ(AskElsewhere(THHS_CHILD_LOCK_NAME), DAEMON_RC_LOCK_HELD);
}

TEST_F(DaemonLocks, ReportAMissingIdEvenBesideADaemon)
{
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(CheckTheDaemonRuning(nullptr, THHS_RUN_LOCK_NAME), 34); }),
              NO_DETAILS);
    WriteRunFile("");
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(CheckTheDaemonRuning(nullptr, THHS_RUN_LOCK_NAME), 36); }),
              NO_DETAILS);
}

TEST_F(DaemonLocks, AreNotTakenByACheckWithoutAnId)
{
    EXPECT_EQ(CheckSilently(), DAEMON_RC_OPEN_FAILED);
    EXPECT_EQ(AskElsewhere(THHS_CHILD_LOCK_NAME), 0);
}

TEST_F(DaemonLocks, ReportThatTheDaemonCanNotBeLookedFor)
{
    WriteRunFile("1234");
    std::filesystem::create_directory(CHILD_FILE);
    EXPECT_EQ(GetConsole([] { EXPECT_EQ(CheckTheDaemonRuning(nullptr, THHS_RUN_LOCK_NAME), 33); }),
              GetCreateError(CHILD_FILE));
}

class Stopping : public DaemonLocks
{
protected:
    /** Stops with that result. @return the console text */
    static std::string Stop(int expected)
    {
        return GetConsole(
            [expected] { EXPECT_EQ(StopTheDaemon("thsentinel", THHS_RUN_LOCK_NAME), expected); });
    }
};

TEST_F(Stopping, SendsOneSignalWhateverItsResult)
{
    WriteRunFile("1234");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(Stop(0), "");
    EXPECT_THAT(mSignals, ElementsAre(Pair(1234, SIGTERM)));
    EXPECT_EQ(AskElsewhere(THHS_RUN_LOCK_NAME), DAEMON_RC_LOCK_HELD); // until this process ends
}

TEST_F(Stopping, IsRefusedDuringARun)
{
    WriteRunFile("1234");
    const LockHolder others({THHS_RUN_LOCK_NAME, THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(Stop(DAEMON_RC_LOCK_HELD), ACTION_IN_PROGRESS);
    EXPECT_THAT(mSignals, IsEmpty());
}

TEST_F(Stopping, ComplainsOfBothWithoutAFolder)
{
    std::filesystem::remove_all("/usr/tarnv/tmp");
    EXPECT_EQ(Stop(DAEMON_RC_CREATE_FAILED), GetCreateError(RUN_FILE) + ACTION_IN_PROGRESS);
    EXPECT_THAT(mSignals, IsEmpty());
}

TEST_F(Stopping, FindsNoIdInTheFileThatItHasJustMade)
{
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(Stop(DAEMON_RC_NO_PID), NO_DETAILS);
    EXPECT_THAT(mSignals, IsEmpty());
}

TEST_F(Stopping, FailsWhereTheFileCanNotBeReadAgain)
{
    WriteRunFile("1234");
    ChildProcess stop([] {
        const int free = open("/dev/null", O_RDONLY | O_CLOEXEC);
        (void)close(free);
        struct rlimit limit = {};
        (void)getrlimit(RLIMIT_NOFILE, &limit);
        const struct rlimit enoughForTheLock = {static_cast<rlim_t>(free) + 1, limit.rlim_max};
        (void)setrlimit(RLIMIT_NOFILE, &enoughForTheLock);
        const int result = StopTheDaemon("thsentinel", THHS_RUN_LOCK_NAME);
        (void)setrlimit(RLIMIT_NOFILE, &limit);
        return result;
    });
    EXPECT_EQ(stop.Wait(), DAEMON_RC_OPEN_FAILED);
    EXPECT_EQ(stop.GetOutput(), NO_DETAILS);
}

TEST_F(Stopping, SendsNoSignalWithoutADaemon)
{
    WriteRunFile("1234"); // left by one that was killed
    EXPECT_EQ(Stop(DAEMON_RC_NOT_RUNNING), NO_INSTANCE);
    EXPECT_THAT(mSignals, IsEmpty());
    EXPECT_EQ(AskElsewhere(THHS_CHILD_LOCK_NAME), DAEMON_RC_LOCK_HELD);
}

TEST_F(Stopping, TreatsALockThatCanNotBeTriedAsADaemon)
{
    WriteRunFile("1234");
    std::filesystem::create_directory(CHILD_FILE);
    EXPECT_EQ(Stop(0), GetCreateError(CHILD_FILE));
    EXPECT_THAT(mSignals, ElementsAre(Pair(1234, SIGTERM)));
}

// No test of the number stands before the signal, as the lock alone says that there is a daemon.
TEST_F(Stopping, SignalsMinusOneForAnIdThatIsNoNumber)
{
    WriteRunFile("abc");
    const LockHolder daemon({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(Stop(0), "");
    EXPECT_THAT(mSignals, ElementsAre(Pair(-1, SIGTERM)));
}

TEST_F(Stopping, FindsADaemonThatWasKilledGoneAndALaterOneHere)
{
    WriteRunFile("1234");
    LockHolder killed({THHS_CHILD_LOCK_NAME});
    killed.Kill();
    ChildProcess stop([] { return StopTheDaemon("thsentinel", THHS_RUN_LOCK_NAME); });
    EXPECT_EQ(stop.Wait(), DAEMON_RC_NOT_RUNNING);
    EXPECT_EQ(stop.GetOutput(), NO_INSTANCE);
    const LockHolder later({THHS_CHILD_LOCK_NAME});
    EXPECT_EQ(CheckSilently(), 0);
}
