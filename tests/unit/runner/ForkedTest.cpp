#include "runner/ForkedTest.h"

#include "runner/MemoryFile.h"
#include "runner/NeedOfHost.h"
#include "runner/ReadOnlyMachine.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr unsigned LIMIT_IN_SECONDS = 120;

Result GetResultOf(const std::string& test)
{
    if (HasAskedForHost()) {
        return Result::NeedsHost;
    }
    const testing::UnitTest& program = *testing::UnitTest::GetInstance();
    if (program.test_to_run_count() != 1) {
        (void)fprintf(stderr, "%d tests have the name %s\n", program.test_to_run_count(), test.c_str());
        return Result::Failed;
    }
    return program.Failed()                    ? Result::Failed
           : program.skipped_test_count() == 0 ? Result::Passed
                                               : Result::Skipped;
}

[[noreturn]] void RunInChild(const std::string& test, int output)
{
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    (void)signal(SIGALRM, SIG_DFL);
    (void)dup2(output, STDOUT_FILENO);
    (void)dup2(output, STDERR_FILENO);
    (void)close(output); // a test may count the descriptors of its process
    if (!IsOnIsolatedHost()) {
        SeeMachineReadOnly(std::getenv("TMPDIR"));
    }
    testing::GTEST_FLAG(filter) = test;
    const int status = RUN_ALL_TESTS();
    (void)status; // says less than the result of the test
    exit(static_cast<int>(GetResultOf(test)));
}

void InterruptTheWait(int /*signal*/) {}

/** @return the status of waitpid, of a process that is killed at the limit */
int WaitForChild(pid_t child)
{
    struct sigaction action = {}; // without SA_RESTART
    action.sa_handler = InterruptTheWait;
    (void)sigaction(SIGALRM, &action, nullptr);
    (void)alarm(LIMIT_IN_SECONDS);
    int status = 0;
    while (waitpid(child, &status, 0) != child) {
        (void)kill(child, SIGKILL); // at the next turn it has ended
    }
    (void)alarm(0);
    return status;
}

/** Ends the processes that the test has left, which this process has adopted, and their own children. */
void EndOrphans()
{
    const std::string children = "/proc/self/task/" + std::to_string(getpid()) +
                                 "/children"; // the program has one thread between tests
    for (;;) {
        std::ifstream file(children);
        pid_t orphan = 0;
        if (!(file >> orphan)) {
            return;
        }
        (void)kill(orphan, SIGKILL);
        (void)waitpid(orphan, nullptr, 0);
    }
}

Result GetResult(int status, std::string& output)
{
    if (WIFSIGNALED(status)) {
        output += "\nSignal " + std::to_string(WTERMSIG(status)) + " ended the test.\n";
        return Result::Failed;
    }
    const int exitStatus = WEXITSTATUS(status);
    if (exitStatus >= static_cast<int>(Result::Passed) && exitStatus <= static_cast<int>(Result::NeedsHost)) {
        return static_cast<Result>(exitStatus);
    }
    output += "\nThe test ended its process with status " + std::to_string(exitStatus) + ".\n";
    return Result::Failed;
}

constexpr char HOST_MARK[] = "/run/thsentinel-isolated-host";

/** Empties a folder. What the host shares with the machine is mounted there, and stays. */
void Clear(const fs::path& folder)
{
    struct stat own = {};
    (void)lstat(folder.c_str(), &own);
    std::error_code ignored; // what can't be removed shows in the next test
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
        struct stat status = {};
        (void)lstat(entry.path().c_str(), &status);
        // Only of folders: a file on an overlay may show the device of its layer.
        if (S_ISDIR(status.st_mode) && status.st_dev != own.st_dev) {
            continue;
        }
        if (S_ISDIR(status.st_mode)) {
            Clear(entry.path());
        }
        if (entry.path() != HOST_MARK) {
            (void)fs::remove(entry.path(), ignored);
        }
    }
}

void ResetHost()
{
    (void)fs::create_directories("/usr/tarnv");
    Clear("/tmp");
    Clear("/run");
    Clear("/usr/tarnv");
    for (const char* const file : {"/etc/redhat-release", "/etc/oracle-release", "/etc/SuSE-release"}) {
        (void)unlink(file);
    }
}

/** What a test may use besides the program: a folder of its own, or the whole host. */
class Surroundings
{
public:
    Surroundings()
    {
        if (!IsOnIsolatedHost()) {
            std::string path = fs::temp_directory_path() / "thsentinel-XXXXXX";
            mFolder = mkdtemp(path.data()) == nullptr ? "" : path;
            mFormer = std::getenv("TMPDIR") == nullptr ? "" : std::getenv("TMPDIR");
            (void)setenv("TMPDIR", mFolder.c_str(), 1);
        }
    }
    ~Surroundings()
    {
        if (IsOnIsolatedHost()) {
            ResetHost();
            return;
        }
        std::error_code ignored;
        (void)fs::remove_all(mFolder, ignored);
        (void)(mFormer.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", mFormer.c_str(), 1));
    }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

private:
    fs::path mFolder;
    std::string mFormer;
};
} // namespace

Outcome RunForked(const std::string& test)
{
    const Surroundings surroundings;
    (void)prctl(PR_SET_CHILD_SUBREAPER, 1);
    const MemoryFile output;
    (void)fflush(nullptr); // what is still buffered would be written by both
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        RunInChild(test, output.GetDescriptor());
    }
    const int status = child > 0 ? WaitForChild(child) : 0;
    EndOrphans();
    Outcome outcome;
    outcome.mName = test;
    outcome.mIsOnHost = IsOnIsolatedHost();
    outcome.mOutput = output.Read();
    outcome.mResult = GetResult(status, outcome.mOutput);
    const auto time = std::chrono::steady_clock::now() - begin;
    outcome.mMilliseconds =
        static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
    return outcome;
}
