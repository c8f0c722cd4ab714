#include "config/Mutex.h"

#include "config/SettingsFixture.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace
{
/** A thread that takes a mutex for a moment. */
class Taker
{
public:
    explicit Taker(mutex& taken) : mThread([this, &taken] { Take(taken); }) {}

    bool WaitUntilItWaits()
    {
        return WaitFor([this] { return mId != 0 && IsAsleep(mId); });
    }

    bool WaitUntilItTook()
    {
        const bool took = WaitFor([this] { return mTook.load(); });
        took ? mThread.join() : mThread.detach(); // it waits forever, and the test has failed
        return took;
    }

    bool Took() const { return mTook; }

private:
    void Take(mutex& taken)
    {
        mId = gettid();
        const MutexHold hold(taken);
        mTook = true;
    }

    std::atomic<pid_t> mId = 0;
    std::atomic<bool> mTook = false;
    std::thread mThread;
};

TEST(Mutex, KeepsOthersOutUntilItIsUnlocked)
{
    mutex held;
    held.lock();
    Taker other(held);
    ASSERT_TRUE(other.WaitUntilItWaits());
    EXPECT_FALSE(other.Took());
    held.unlock();
    EXPECT_TRUE(other.WaitUntilItTook());
}

TEST(Mutex, HasNoPartInTheLockOfAnother)
{
    mutex held;
    mutex free;
    held.lock();
    Taker other(free);
    EXPECT_TRUE(other.WaitUntilItTook());
    held.unlock();
}

TEST(Mutex, GuardsWhatManyThreadsChange)
{
    constexpr int THREADS = 8;
    constexpr int STEPS = 20000;
    mutex guard;
    int total = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&] {
            for (int step = 0; step < STEPS; ++step) {
                const MutexHold hold(guard);
                ++total;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(total, THREADS * STEPS);
}

TEST(Mutex, NamedOnesMayBeLockedWithoutHarm)
{
    // It was never set up, and nothing is checked: both calls come back.
    EXPECT_EXIT(
        {
            mutex unusable("any name");
            unusable.lock();
            unusable.unlock();
            exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Mutex, IsDestroyedOnlyWhereItWasSetUp)
{
    int destroyed = 0;
    GetSeams().mPthreadMutexDestroy = [&destroyed](pthread_mutex_t*) { ++destroyed; };
    {
        const mutex usable;
    }
    EXPECT_EQ(destroyed, 1);
    {
        const mutex named("any name"); // never set up
    }
    EXPECT_EQ(destroyed, 1);
    GetSeams() = {};
}

TEST(MutexHold, EndsWithItsScope)
{
    mutex held;
    {
        const MutexHold hold(held);
    }
    Taker other(held);
    EXPECT_TRUE(other.WaitUntilItTook());
}

TEST(MutexHold, EndsWhenAnExceptionLeavesTheScope)
{
    mutex held;
    try {
        const MutexHold hold(held);
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
        Taker other(held);
        EXPECT_TRUE(other.WaitUntilItTook());
    }
}

void* HoldForGood(void* held)
{
    const MutexHold hold(*static_cast<mutex*>(held));
    for (;;) {
        pthread_testcancel();
    }
}

TEST(MutexHold, EndsWhenItsThreadIsCancelled)
{
    mutex held;
    pthread_t holder = {};
    ASSERT_EQ(pthread_create(&holder, nullptr, HoldForGood, &held), 0);
    ASSERT_EQ(pthread_cancel(holder), 0);
    ASSERT_EQ(pthread_join(holder, nullptr), 0);
    Taker other(held);
    EXPECT_TRUE(other.WaitUntilItTook());
}
} // namespace
