#include "runner/ReadOnlyMachine.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace
{
/** A mount of its own isn't touched by what becomes of the root. */
bool KeepWritable(const std::string& folder)
{
    return mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0;
}
} // namespace

void SeeMachineReadOnly(const std::string& folder)
{
    if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0) {
        return; // without the right to mount there is none to write to other's files either
    }
    const bool isReady = mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         KeepWritable("/tmp") && KeepWritable(folder) && KeepWritable(TEST_BUILD_DIR);
    if (isReady) {
        (void)mount(nullptr, "/", nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr); // as far as it can
    }
}
