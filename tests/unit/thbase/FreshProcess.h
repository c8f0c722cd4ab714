#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

/** The status of a process that can't do its test. */
constexpr int CANNOT_RUN = 77;

/**
 * Runs `body` in a process of its own, which has the state of this one and shares no later change with it.
 * Expectations that fail there are printed there. Gives its exit status: 0 if all held, 1 if one failed,
 * what `body` gave to exit, or 128 + the signal that ended it.
 */
inline int RunInFreshProcess(const std::function<void()>& body)
{
    (void)std::fflush(nullptr); // or the child would print what is still buffered a second time
    const pid_t child = fork();
    if (child == 0) {
        [&]() noexcept { body(); }();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
