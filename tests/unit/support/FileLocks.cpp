#include "support/FileLocks.h"

#include <atomic>
#include <cstdarg>

#include <fcntl.h>

namespace
{
std::atomic<long> gFileLocks = 0;

bool IsLockCommand(int command)
{
    switch (command) {
    case F_GETLK:
    case F_SETLK:
    case F_SETLKW:
    case F_OFD_GETLK:
    case F_OFD_SETLK:
    case F_OFD_SETLKW:
        return true;
    default:
        return false;
    }
}
} // namespace

long CountFileLocks()
{
    return gFileLocks;
}

extern "C" {

int __real_fcntl(int descriptor, int command, ...);
int __wrap_fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*); // of a command without one, what the system ignores
    va_end(arguments);
    gFileLocks += IsLockCommand(command) ? 1 : 0;
    return __real_fcntl(descriptor, command, argument);
}

int __real_flock(int descriptor, int operation);
int __wrap_flock(int descriptor, int operation)
{
    ++gFileLocks;
    return __real_flock(descriptor, operation);
}

int __real_lockf(int descriptor, int command, off_t length);
int __wrap_lockf(int descriptor, int command, off_t length)
{
    ++gFileLocks;
    return __real_lockf(descriptor, command, length);
}

} // extern "C"
