#include "counters/Counter.h"

#include <gtest/gtest.h>

#include <type_traits>

static_assert(std::has_virtual_destructor_v<Counter>);

TEST(Counter, StartsBeforeItsFirstReading)
{
    const Counter counter;
    EXPECT_EQ(counter.mCounterName, "");
    EXPECT_EQ(counter.mProcessName, "");
    EXPECT_EQ(counter.mCounterIndex, -1);
    EXPECT_FALSE(counter.mIsActive);
    EXPECT_EQ(counter.mDumpCount, 0);
    EXPECT_EQ(counter.mReadingNumber, 1);
    EXPECT_EQ(counter.mFirstReading, -1);
    EXPECT_EQ(counter.mSum, 0);
    EXPECT_EQ(counter.mRunningAverage, 0);
    EXPECT_FALSE(counter.mIsJavaProcess);
    EXPECT_EQ(counter.mJavaProcessName, "");
}
