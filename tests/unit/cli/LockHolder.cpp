#include "LockHolder.h"

#include "cli/THDaemonInfra.h"
#include "support/HostFixture.h"

#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace
{
constexpr int STATUS_NOT_FREE = 1;

int HoldLocks(const std::vector<const char*>& names)
{
    for (const char* const name : names) {
        if (CheckForAnotherInstanceRunning(name) != 0) {
            return STATUS_NOT_FREE;
        }
    }
    (void)printf("held");
    (void)fflush(stdout);
    while (true) {
        (void)pause();
    }
}
} // namespace

LockHolder::LockHolder(std::vector<const char*> names) : mProcess([names] { return HoldLocks(names); })
{
    EXPECT_TRUE(WaitFor([this] { return mProcess.GetOutput() == "held"; }));
}

void LockHolder::Kill()
{
    mProcess.Send(SIGKILL);
    EXPECT_EQ(mProcess.Wait(), 1000 + SIGKILL);
}
