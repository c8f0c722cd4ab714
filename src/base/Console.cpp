#include "base/Console.h"

#include <csignal>
#include <cstdarg>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace
{
bool bConsoleClosed = false;
}

void ConsolePrint(const char* format, ...)
{
    if (bConsoleClosed) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    // A failure is ignored: a closed terminal must not stop the action.
    (void)vprintf(format, arguments);
    va_end(arguments);
}

void ConsolePuts(const char* text)
{
    ConsolePrint("%s\n", text);
}

void CloseStandardStreams()
{
    bConsoleClosed = true;
    // What can't be written any more is lost. A reader of standard output that has gone must not end this
    // process.
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    struct sigaction former = {};
    (void)sigaction(SIGPIPE, &ignored, &former);
    (void)fclose(stdin);
    (void)fclose(stdout);
    (void)fclose(stderr);
    (void)sigaction(SIGPIPE, &former, nullptr);
}

void OccupyFreeStandardDescriptors()
{
    int descriptor = -1;
    do {
        descriptor = open("/", O_PATH | O_CLOEXEC);
    } while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO) {
        (void)close(descriptor); // it held nothing
    }
}
