#include "page/read/CoreStacks.h"

#include "base/SafeFile.h"
#include "evidence/CoreProgram.h"
#include "evidence/ElfFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <vector>

#include <elf.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ctl
{

namespace
{
constexpr const char* DEBUGGER = "/usr/bin/gdb";
constexpr int CORE_DESCRIPTOR = 3;
constexpr int FAILED_EXEC = 127;
constexpr std::chrono::seconds LIMIT(20);
constexpr std::size_t MOST_OUTPUT = 32 << 20;

using Clock = std::chrono::steady_clock;

/** Path of the program of a core image, if the file there is of the same build; else empty. */
std::string FindProgramOfCore(int core, std::uint64_t bytes)
{
    const ElfResult elf = ReadElfHead(core, bytes);
    if (!elf.IsRead() || elf.head.type != ET_CORE) {
        return {};
    }
    const CoreProgram program = ReadCoreProgram(core, elf.head);
    if (!program.path.starts_with('/') || !program.buildId) {
        return {};
    }
    const OpenedFile file = OpenRegularFile(AT_FDCWD, program.path);
    if (!file.IsOpen() ||
        ReadBuildId(file.file.Get(), static_cast<std::uint64_t>(file.status.st_size)) != program.buildId) {
        return {};
    }
    return program.path;
}

/** In the child, after fork: only calls that are safe there. */
[[noreturn]] void RunDebugger(int core, int output, char* const* arguments)
{
    // The core may stand at the descriptor of the output and the other way round: both move out of the way
    // first.
    const int highCore = fcntl(core, F_DUPFD, 10);
    const int highOutput = fcntl(output, F_DUPFD, 10);
    const int nothing = open("/dev/null", O_RDWR);
    (void)(dup2(nothing, STDIN_FILENO) + dup2(highOutput, STDOUT_FILENO) + dup2(nothing, STDERR_FILENO) +
           dup2(highCore, CORE_DESCRIPTOR)); // what failed shows as output that names no thread
    (void)execv(DEBUGGER, arguments);
    _exit(FAILED_EXEC);
}

std::vector<std::string> MakeArguments(const std::string& program)
{
    return {DEBUGGER, "-q",
            "-nx",    "-batch",
            "-iex",   "set auto-load off",
            "-iex",   "set debuginfod enabled off",
            "-iex",   "set width 0",
            "-ex",    "thread apply all backtrace 60",
            program,  "/proc/self/fd/" + std::to_string(CORE_DESCRIPTOR)};
}

/**
 * Passes the lines of gdb on from the first thread's head; before it stands where the process was, once more.
 */
class ThreadLines
{
public:
    explicit ThreadLines(StackParser& parser) : mParser(parser) {}

    void Take(std::string_view block)
    {
        mText.append(block);
        for (auto end = mText.find('\n'); end != std::string::npos; end = mText.find('\n')) {
            TakeLine(std::string_view(mText).substr(0, end));
            mText.erase(0, end + 1);
        }
    }

    void Finish() { TakeLine(mText); }

private:
    void TakeLine(std::string_view line)
    {
        mHasBegun = mHasBegun || line.starts_with("Thread ");
        if (mHasBegun) {
            mParser.TakeLine(line);
        }
    }

    StackParser& mParser;
    std::string mText;
    bool mHasBegun = false;
};

/** Passes the lines of a pipe on until its end or the limit; false at the limit. */
bool TakeOutput(int pipe, StackParser& parser)
{
    ThreadLines lines(parser);
    const auto end = Clock::now() + LIMIT;
    std::array<char, 65536> block = {};
    std::size_t total = 0;
    while (total < MOST_OUTPUT) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd ready = {pipe, POLLIN, 0};
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) <= 0) {
            return false;
        }
        const ssize_t count = read(pipe, block.data(), block.size());
        if (count <= 0) {
            lines.Finish();
            return true;
        }
        total += static_cast<std::size_t>(count);
        lines.Take({block.data(), static_cast<std::size_t>(count)});
    }
    return false;
}

/** Lists the threads with gdb; false if it can't be started or takes too long. */
bool ListThreads(int core, const std::string& program, StackParser& parser)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    std::vector<std::string> texts = MakeArguments(program);
    std::vector<char*> arguments;
    for (std::string& text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        RunDebugger(core, writing.Get(), arguments.data());
    }
    writing = Descriptor();
    const bool isWhole = child > 0 && TakeOutput(reading.Get(), parser);
    if (child > 0) {
        (void)kill(child, SIGKILL); // of no effect once it has ended
        (void)waitpid(child, nullptr, 0);
    }
    return isWhole;
}
} // namespace

CoreStacks ReadCoreStacks(int core, std::uint64_t bytes)
{
    CoreStacks stacks;
    const std::string program = FindProgramOfCore(core, bytes);
    if (program.empty()) {
        stacks.mFailure =
            "The program that the core is of is not on this host, so its threads can't be shown.";
        return stacks;
    }
    if (access(DEBUGGER, X_OK) != 0) {
        stacks.mFailure = "There is no gdb on this host to read the threads of the core.";
        return stacks;
    }
    StackParser parser;
    const bool isWhole = ListThreads(core, program, parser);
    stacks.mReport = parser.Finish();
    if (!isWhole || stacks.mReport.mThreadCount == 0) {
        stacks.mFailure = "gdb could not read the threads of the core.";
    }
    return stacks;
}

} // namespace ctl
