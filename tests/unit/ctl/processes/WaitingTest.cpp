#include "processes/Waiting.h"

#include <vector>

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

using State = DaemonLock::State;

DaemonLock Answer(State state)
{
    DaemonLock lock;
    lock.state = state;
    return lock;
}

/** Waits for what gives these answers one after the other, the last one again and again. */
State Wait(bool wantsRunning, double seconds, std::vector<State> answers, std::size_t* asked = nullptr)
{
    std::size_t count = 0;
    const DaemonLock lock = WaitForDaemon(wantsRunning, std::chrono::duration<double>(seconds), [&] {
        return Answer(answers[std::min(count++, answers.size() - 1)]);
    });
    if (asked != nullptr) {
        *asked = count;
    }
    return lock.state;
}

constexpr double LONG = 600; // never waited for

TEST(Waiting, GoesOnWhileTheStateIsUnknown)
{
    std::size_t asked = 0;
    EXPECT_EQ(Wait(true, LONG, {State::Unknown, State::Unknown, State::Running}, &asked), State::Running);
    EXPECT_EQ(asked, 3U);
    EXPECT_EQ(Wait(false, LONG, {State::Running, State::Unknown, State::Stopped}), State::Stopped);
}

TEST(Waiting, GivesTheStateThatItFindsAtTheEndOfTheTime)
{
    EXPECT_EQ(Wait(true, 0.15, {State::Stopped, State::Unknown}), State::Unknown);
    EXPECT_EQ(Wait(true, 0.15, {State::Unknown, State::Stopped}), State::Stopped);
    EXPECT_EQ(Wait(false, 0, {State::Running}), State::Running);
}

} // namespace
} // namespace ctl
