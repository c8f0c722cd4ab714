#include "processes/ToolRun.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/SafeFile.h"

extern char** environ;

namespace ctl
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t OUTPUT_LIMIT = std::size_t{16} * 1024 * 1024;

struct Pipe
{
    Descriptor read;
    Descriptor write;
};

Pipe MakePipe()
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return {Descriptor(), Descriptor()};
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

pid_t Spawn(const std::vector<std::string>& command, int input, int output)
{
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str())); // the call doesn't change them
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    (void)posix_spawn_file_actions_init(
        &actions); // fails for want of memory alone, and the spawn then does too
    (void)posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    (void)posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    (void)posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int failure = posix_spawn(&pid, words[0], &actions, nullptr, words.data(), environ);
    (void)posix_spawn_file_actions_destroy(&actions);
    return failure == 0 ? pid : -1;
}

/** Feeds the input and takes the output until the tool closes it; false when the time is over. */
class Exchange
{
public:
    Exchange(Pipe& input, Pipe& output, const std::string& text, ToolRun& run)
        : mInput(input), mOutput(output), mText(text), mRun(run)
    {
        (void)fcntl(mInput.write.Get(), F_SETFL, O_NONBLOCK); // it is asked for room before each write
        if (mText.empty()) {
            mInput.write = Descriptor();
        }
    }

    bool Run(Clock::time_point end)
    {
        while (true) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            if (left.count() <= 0) {
                return false;
            }
            pollfd waits[] = {{mOutput.read.Get(), POLLIN, 0}, {mInput.write.Get(), POLLOUT, 0}};
            if (poll(waits, 2, static_cast<int>(left.count())) < 0 && errno != EINTR) {
                return true;
            }
            if ((waits[1].revents & (POLLOUT | POLLERR)) != 0) {
                Feed();
            }
            if (waits[0].revents != 0 && !Take()) {
                return true;
            }
        }
    }

private:
    void Feed()
    {
        const ssize_t count = write(mInput.write.Get(), mText.data() + mFed, mText.size() - mFed);
        mFed += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (mFed == mText.size() || (count < 0 && errno != EAGAIN && errno != EINTR)) {
            mInput.write = Descriptor();
        }
    }

    bool Take()
    {
        char buffer[65536];
        const ssize_t count = read(mOutput.read.Get(), buffer, sizeof buffer);
        if (count > 0 && mRun.output.size() < OUTPUT_LIMIT) {
            mRun.output.append(buffer, static_cast<std::size_t>(count));
        }
        mRun.isCut = mRun.isCut || mRun.output.size() >= OUTPUT_LIMIT;
        return count > 0 || (count < 0 && errno == EINTR);
    }

    Pipe& mInput;
    Pipe& mOutput;
    const std::string& mText;
    ToolRun& mRun;
    std::size_t mFed = 0;
};

} // namespace

ToolRun RunTool(const std::vector<std::string>& command, const std::string& input,
                std::chrono::milliseconds limit)
{
    ToolRun run;
    Pipe inputPipe = MakePipe();
    Pipe outputPipe = MakePipe();
    if (!inputPipe.read.IsOpen() || !outputPipe.read.IsOpen()) {
        return run;
    }
    (void)signal(SIGPIPE, SIG_IGN); // a tool may end before it has read all; nothing else here waits for it
    const pid_t pid = Spawn(command, inputPipe.read.Get(), outputPipe.write.Get());
    inputPipe.read = Descriptor();
    outputPipe.write = Descriptor();
    if (pid < 0) {
        return run;
    }
    run.isTooLate = !Exchange(inputPipe, outputPipe, input, run).Run(Clock::now() + limit);
    if (run.isTooLate) {
        (void)kill(pid, SIGKILL); // our own child, not yet waited for
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

} // namespace ctl
