#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "platform/UnixHelperFunction.h"

#include <cerrno>
#include <cstdio>
#include <string_view>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr std::size_t READ_BUFFER_SIZE = 8096;
constexpr std::size_t LONGEST_PIECE = READ_BUFFER_SIZE - 1;

/** The output of a command: lines, of which a long one counts as several pieces. A piece ends at its first
 * NUL. */
class CommandOutput
{
public:
    void Append(std::string_view bytes)
    {
        for (const char byte : bytes) {
            mIsCut |= byte == '\0';
            if (!mIsCut) {
                mText += byte;
            }
            if (++mPieceLength == LONGEST_PIECE || byte == '\n') {
                mPieceLength = 0;
                mIsCut = false;
            }
        }
    }

    const std::string& GetText() const { return mText; }

private:
    std::string mText;
    std::size_t mPieceLength = 0;
    bool mIsCut = false; ///< the rest of the piece is dropped
};

/**
 * Reads from the descriptor and not from the stream: a thread that reads from a stream holds its lock, and
 * the end of the process, which may take the locks of all streams, would wait for the tool.
 */
std::string ReadToEnd(int pipe)
{
    CommandOutput output;
    char buffer[READ_BUFFER_SIZE];
    for (;;) {
        const ssize_t length = read(pipe, buffer, sizeof buffer);
        if (length > 0) {
            output.Append({buffer, static_cast<std::size_t>(length)});
        } else if (length == 0 || errno != EINTR) {
            return output.GetText(); // an error that lasts would be met forever
        }
    }
}

void LogOutcome(const std::string& output, int status)
{
    if (!IsVerbose()) {
        return;
    }
    WriteLogLine(logFileMtx, "Output:%s\n", output.c_str());
    // A child that a signal killed has no return code.
    if (WIFEXITED(status)) {
        WriteLogLine(logFileMtx, "ReturnCode:%d\n", WEXITSTATUS(status));
    }
}
} // namespace

int UnixHelperFunction::ExecuteCommandWithRc(const char* command, std::string& output)
{
    output = "";
    WriteVerboseLine(logFileMtx, "Cmd:%s\n", command);
    FILE* const pipe = popen(command, "r");
    if (pipe == nullptr) {
        return errno;
    }
    // A tool that another thread starts meanwhile would have the pipe too, and outlive its reader.
    (void)fcntl(fileno(pipe), F_SETFD, FD_CLOEXEC); // fails for no stream of popen
    output = ReadToEnd(fileno(pipe));
    const int status = pclose(pipe);
    LogOutcome(output, status);
    return status;
}

std::string UnixHelperFunction::ExecuteForFields(const std::string& line)
{
    return RemoveEOL(RemoveConsecutiveSpaces(trim(ExecuteCommand(line.c_str()))));
}

std::string UnixHelperFunction::ExecuteCommand(const char* command)
{
    std::string output;
    (void)ExecuteCommandWithRc(command, output); // a failed command and one without output look alike here
    return output;
}
