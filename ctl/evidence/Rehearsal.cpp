#include "evidence/Rehearsal.h"

#include "base/SafeFile.h"
#include "evidence/CaptureSections.h"
#include "platform/CommandPath.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX has no header for it

namespace ctl
{
namespace
{
constexpr int NOT_STARTED = 127;
constexpr int KILLED = 128;
constexpr mode_t OWNER_ONLY = 0600;
constexpr std::chrono::milliseconds STEP(2);
constexpr std::chrono::seconds GRACE(10); ///< between the two signals that end a line

bool Exists(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

/** True for a text that every shell takes for one plain word. */
bool IsPlainWord(const std::string& text)
{
    constexpr std::string_view SIGNS = "/._-+";
    return !text.empty() && text.front() != '-' && std::all_of(text.begin(), text.end(), [&](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') || SIGNS.find(letter) != std::string_view::npos;
    });
}

void DemandPlainWord(const std::string& text)
{
    if (!IsPlainWord(text)) {
        throw std::runtime_error("not run: \"" + text + "\" is no plain word for a shell");
    }
}

/** The shell line of a section: the tool by its place, and the filter where the daemon has one. */
RehearsalLine MakeShellLine(FileKind kind, const PlannedSection& section, int pid)
{
    const std::size_t blank = std::min(section.toolLine.find(' '), section.toolLine.size());
    std::string line = FindTool(section.toolLine.substr(0, blank)) +
                       (blank == section.toolLine.size() ? " " : section.toolLine.substr(blank));
    if (section.isFiltered) {
        line += " | " + FindTool("grep") + " " + std::to_string(pid);
    }
    return {kind, line, {"/bin/sh", "-c", line}, "", section.mayBeEmpty, section.stopsProcess};
}

RehearsalLine MakeSamplingLine(FileKind kind, const RehearsalPlan& plan)
{
    return MakeShellLine(kind, {GetSamplingLine(kind, plan.interval, plan.readings)}, plan.pid);
}

/** Owns the file actions and attributes of a process to start. */
class Spawn
{
public:
    Spawn()
    {
        posix_spawn_file_actions_init(&mActions);
        posix_spawnattr_init(&mAttributes);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETPGROUP);
        posix_spawnattr_setpgroup(&mAttributes, 0);
        posix_spawn_file_actions_addopen(&mActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    ~Spawn()
    {
        posix_spawn_file_actions_destroy(&mActions);
        posix_spawnattr_destroy(&mAttributes);
    }
    Spawn(const Spawn&) = delete;
    Spawn& operator=(const Spawn&) = delete;

    void AppendTo(int descriptor, const std::string& path)
    {
        posix_spawn_file_actions_addopen(&mActions, descriptor, path.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                         OWNER_ONLY);
    }

    /** Returns the process id; 0 if it can't be started. */
    pid_t Start(const std::vector<std::string>& command) const
    {
        std::vector<char*> arguments;
        for (const std::string& word : command) {
            arguments.push_back(
                const_cast<char*>(word.c_str())); // the call takes them so and changes nothing
        }
        arguments.push_back(nullptr);
        pid_t pid = 0;
        return posix_spawn(&pid, arguments.front(), &mActions, &mAttributes, arguments.data(), environ) == 0
                   ? pid
                   : 0;
    }

private:
    posix_spawn_file_actions_t mActions;
    posix_spawnattr_t mAttributes;
};

int ToStatus(int waitStatus)
{
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : KILLED + WTERMSIG(waitStatus);
}

volatile std::sig_atomic_t gIsInterrupted = 0;

void NoteInterrupt(int /*signal*/)
{
    gIsInterrupted = 1;
}

/** Waits for a process, and ends its group when it takes too long or the operator has had enough. */
void Await(pid_t pid, std::chrono::seconds longest, RehearsalResult& result)
{
    const auto end = std::chrono::steady_clock::now() + longest;
    const auto lastEnd = end + GRACE;
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(pid, &status, WNOHANG)) == 0) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= lastEnd) {
            (void)kill(-pid, SIGKILL); // a group that has just ended needs none
        } else if ((now >= end || gIsInterrupted != 0) && !result.isTooSlow) {
            (void)kill(-pid, SIGTERM); // lets a debugger leave the process running
            result.isTooSlow = true;
        }
        std::this_thread::sleep_for(STEP);
    }
    result.status = ended == pid ? ToStatus(status) : NOT_STARTED;
}

std::uint64_t GetSize(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}
} // namespace

InterruptWatch::InterruptWatch()
{
    gIsInterrupted = 0;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        (void)std::signal(signal, NoteInterrupt); // the default would leave the scratch folder behind
    }
}

InterruptWatch::~InterruptWatch()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        (void)std::signal(signal, SIG_DFL);
    }
}

bool InterruptWatch::IsInterrupted()
{
    return gIsInterrupted != 0;
}

std::string FindTool(const std::string& name)
{
    for (const ToolPath& tool : TOOL_PATHS) {
        if (name == tool.mName) {
            return Exists(tool.mPrimary) ? tool.mPrimary : tool.mFallback;
        }
    }
    return "/bin/" + name; // su is not among the daemon's tools
}

std::vector<RehearsalLine> MakeRehearsal(const RehearsalPlan& plan)
{
    std::vector<RehearsalLine> lines;
    const auto add = [&](FileKind kind) {
        for (const PlannedSection& section : GetPlannedSections(kind, plan.pid)) {
            lines.push_back(MakeShellLine(kind, section, plan.pid));
        }
    };
    for (int reading = 0; reading < plan.readings; ++reading) {
        add(FileKind::MemoryPerf);
    }
    if (plan.wantsNetwork) {
        add(FileKind::Netstat);
    }
    if (plan.wantsDisk) {
        lines.push_back(MakeSamplingLine(FileKind::Iostat, plan));
        lines.push_back(MakeSamplingLine(FileKind::Mpstat, plan));
    }
    add(FileKind::ProcessData);
    return lines;
}

RehearsalLine MakeCoreLine(int pid, const std::string& folder)
{
    const std::string id = std::to_string(pid);
    const std::string name = folder + "/core";
    return {FileKind::Core,
            std::string("gcore ") + GCORE_OUTPUT_OPTION + " " + name + " " + id,
            {FindTool("gcore"), GCORE_OUTPUT_OPTION, name, id},
            name + "." + id,
            false,
            true};
}

std::vector<RehearsalLine> MakeJavaLines(int pid, const std::string& jdkHome, const std::string& user,
                                         const std::string& folder)
{
    DemandPlainWord(jdkHome);
    DemandPlainWord(folder);
    const std::string jcmd = jdkHome + "/bin/jcmd " + std::to_string(pid);
    const std::string heap = folder + "/heap.hprof";
    const auto make = [&](FileKind kind, const std::string& request, const std::string& output) {
        RehearsalLine line = {
            kind, jcmd + " " + request, {"/bin/sh", "-c", jcmd + " " + request}, output, false, true};
        if (getuid() == 0) {
            DemandPlainWord(user);
            line.command = {FindTool("su"), user, "-c", jcmd + " " + request};
            line.section = "su " + user + " -c \"" + line.section + "\"";
        }
        return line;
    };
    return {make(FileKind::HeapDump, HEAP_DUMP_REQUEST + (" " + heap), heap),
            make(FileKind::ThreadDump, THREAD_DUMP_REQUEST, "")};
}

RehearsalResult RunLine(const RehearsalLine& line, const std::string& output, const std::string& complaints,
                        std::chrono::seconds longest)
{
    RehearsalResult result;
    const std::uint64_t before = GetSize(output);
    const auto begin = std::chrono::steady_clock::now();
    Spawn spawn;
    spawn.AppendTo(STDOUT_FILENO, output);
    spawn.AppendTo(STDERR_FILENO, complaints);
    const pid_t pid = spawn.Start(line.command);
    if (pid == 0) {
        result.status = NOT_STARTED;
        result.complaint = line.command.front() + " can't be started";
        return result;
    }
    Await(pid, longest, result);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    result.bytes = line.output.empty() ? GetSize(output) - before : GetSize(line.output);
    constexpr std::size_t LONGEST_COMPLAINT = 4096;
    const FileText said = ReadFile(AT_FDCWD, complaints, LONGEST_COMPLAINT);
    result.complaint = said.text.substr(0, said.text.find('\n'));
    (void)unlink(complaints.c_str()); // each line has its own
    return result;
}

} // namespace ctl
