#include "support/ChildProcess.h"

#include "support/HostFixture.h"
#include "support/SystemSeams.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
pid_t __real_fork(void);
int __real_kill(pid_t pid, int signal);
}

namespace
{
constexpr int ENDED_BY_SIGNAL = 1000;
constexpr int LIMIT_IN_SECONDS = 60;

std::string gFolder; // of this process, where it is a ChildProcess

std::string GetOutputFile(const std::string& folder)
{
    return folder + "/output";
}

std::string GetSystemLogFile(const std::string& folder, pid_t pid)
{
    return folder + "/syslog." + std::to_string(pid);
}

void SaveSystemLog()
{
    std::ofstream file(GetSystemLogFile(gFolder, getpid()), std::ios::binary);
    for (const SystemSeams::SystemLogEntry& entry : GetSeams().mSystemLog) {
        file << entry.mPriority << ' ' << entry.mText << '\0';
    }
}

[[noreturn]] void RunChild(const std::string& folder, const std::function<int()>& body)
{
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    gFolder = folder;
    const int output =
        open(GetOutputFile(folder).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (output < 0 || dup2(output, STDOUT_FILENO) < 0 || close(output) != 0) {
        abort();
    }
    GetSeams().mSystemLog.clear();
    (void)atexit(SaveSystemLog);
    exit(body());
}

int GetStatus(int waitStatus)
{
    return WIFSIGNALED(waitStatus) ? ENDED_BY_SIGNAL + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}
} // namespace

ChildProcess::ChildProcess(const std::function<int()>& body)
{
    char path[] = "/tmp/child-XXXXXX";
    mFolder = mkdtemp(path) == nullptr ? "" : path;
    (void)fflush(nullptr); // what is still buffered would be written by both
    mPid = __real_fork();
    if (mPid == 0) {
        RunChild(mFolder, body);
    }
    EXPECT_GT(mPid, 0);
}

ChildProcess::~ChildProcess()
{
    if (!mHasEnded) {
        Send(SIGKILL);
        (void)waitpid(mPid, nullptr, 0);
    }
    std::error_code ignored; // what is left lies below /tmp of a host that ends with the test
    (void)std::filesystem::remove_all(mFolder, ignored);
}

int ChildProcess::Wait()
{
    const int status = WaitForEnd(mPid);
    mHasEnded = status >= 0;
    return status;
}

std::string ChildProcess::GetOutput() const
{
    return ReadFile(GetOutputFile(mFolder));
}

std::vector<std::string> ChildProcess::GetSystemLogOf(pid_t pid) const
{
    std::vector<std::string> entries;
    std::istringstream file(ReadFile(GetSystemLogFile(mFolder, pid)));
    for (std::string entry; std::getline(file, entry, '\0');) {
        entries.push_back(entry);
    }
    return entries;
}

int WaitForEnd(pid_t pid)
{
    int status = 0;
    const bool hasEnded = WaitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }, LIMIT_IN_SECONDS);
    EXPECT_TRUE(hasEnded) << "process " << pid << " doesn't end";
    return hasEnded ? GetStatus(status) : -1;
}

void SendSignal(pid_t pid, int signal)
{
    EXPECT_EQ(__real_kill(pid, signal), 0) << pid;
}

void AdoptOrphans()
{
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
}
