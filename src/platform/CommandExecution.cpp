#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "platform/UnixHelperFunction.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

#include <sys/wait.h>

namespace
{
constexpr int READ_BUFFER_SIZE = 8096;

std::string ReadToEnd(FILE* pipe)
{
    std::string output;
    char buffer[READ_BUFFER_SIZE] = {};
    while (feof(pipe) == 0) {
        if (fgets(buffer, READ_BUFFER_SIZE, pipe) == nullptr && ferror(pipe) != 0) {
            if (errno != EINTR) {
                break; // an error that stays would never come to the end of the pipe
            }
            clearerr(pipe);
        }
        // A signal in the middle of a line leaves in the buffer what was read of it.
        output += buffer;
        std::fill(std::begin(buffer), std::end(buffer), '\0');
    }
    return output;
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
    output = ReadToEnd(pipe);
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
