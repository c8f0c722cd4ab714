#include "counters/DeadLockCounterMgr.h"

#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace
{
class OpenDeadLockMgr : public OpenMgr<DeadLockCounterMgr>
{
public:
    using DeadLockCounterMgr::mDeadLockFlag;
    using OpenMgr::OpenMgr;
};
} // namespace

using DeadLockManager = CounterFixture;

TEST_F(DeadLockManager, StartsWithItsLabelAndItsFlagDown)
{
    OpenDeadLockMgr manager("Deadlock");
    EXPECT_EQ(manager.GetMessageStr(), "Deadlock");
    EXPECT_FALSE(manager.mDeadLockFlag);
}

TEST_F(DeadLockManager, KeepsItsListButAddsNoCounterAndCleansNoneUp)
{
    mConfig->mVerbose = 1;
    Run("abc", 42);
    OpenDeadLockMgr manager("Deadlock");
    manager.Add(7, "gone");
    manager.GetProcessesRegisteredMonitoring()["abc"] = 0;
    manager.AddCounterToMonitor(manager.GetProcessesRegisteredMonitoring(), "", "");
    EXPECT_THAT(manager.mProcessesRegisteredMonitoring, UnorderedElementsAre(Pair("abc", 0)));
    EXPECT_EQ(manager.mProcessIDAndCouterMap.count(42), 0U);
    EXPECT_EQ(manager.mProcessIDAndCouterMap.count(7), 1U);
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_EQ(mRecord.mHelpersMade, 0);
}

TEST_F(DeadLockManager, EvaluatesNothing)
{
    mConfig->mVerbose = 1;
    mConfig->mCaptureWithoutThreshold = 1;
    OpenDeadLockMgr manager("Deadlock");
    const Counter& counter = manager.Add(42, "abc");
    manager.HandleThresholdBreach();
    EXPECT_EQ(counter.mReadingNumber, 1);
    EXPECT_THAT(GetLogLines(), IsEmpty());
    EXPECT_THAT(mRecord.mActions, IsEmpty());
    EXPECT_EQ(mRecord.mHelpersMade, 0);
}
