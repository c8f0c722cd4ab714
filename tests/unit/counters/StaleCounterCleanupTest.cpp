#include "counters/CounterFixture.h"

#include <gmock/gmock.h>

#include <random>
#include <set>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

namespace
{
using Pids = std::set<int>;

Pids GetPids(const OpenMgr<>& manager)
{
    Pids pids;
    for (const auto& [pid, counter] : manager.mProcessIDAndCouterMap) {
        pids.insert(pid);
    }
    return pids;
}

class CounterMgrCleanup : public CounterFixture
{
protected:
    void Fill(const Pids& counted, const Pids& alive)
    {
        for (const int pid : counted) {
            if (mManager.mProcessIDAndCouterMap.count(pid) == 0) {
                mManager.Add(pid, "abc");
            }
        }
        for (const int pid : alive) {
            mConfig->mProcessIDAndProcessNameMap.emplace(pid, "abc");
        }
    }

    OpenMgr<> mManager{"CPU"};
};

struct CleanupCase
{
    const char* mName;
    Pids mCounted;
    Pids mAlive;
    Pids mAfterOne;
    Pids mAfterTwo;

    friend std::ostream& operator<<(std::ostream& out, const CleanupCase& row) { return out << row.mName; }
};

class CounterMgrCleanupCalls : public CounterMgrCleanup, public testing::WithParamInterface<CleanupCase>
{
};
} // namespace

TEST_P(CounterMgrCleanupCalls, RemoveWhatTheWalkReaches)
{
    Fill(GetParam().mCounted, GetParam().mAlive);
    mManager.CleanUpStaleCounters();
    EXPECT_EQ(GetPids(mManager), GetParam().mAfterOne);
    mManager.CleanUpStaleCounters();
    EXPECT_EQ(GetPids(mManager), GetParam().mAfterTwo);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CounterMgrCleanupCalls,
    testing::Values(CleanupCase{"None", {}, {}, {}, {}}, CleanupCase{"OneAlive", {10}, {10}, {10}, {10}},
                    CleanupCase{"OneGone", {10}, {}, {}, {}},
                    CleanupCase{"MiddleGone", {10, 20, 30}, {10, 30}, {10, 30}, {10, 30}},
                    CleanupCase{"LastGone", {10, 20, 30}, {10, 20}, {10, 20}, {10, 20}},
                    CleanupCase{"HeadGone", {10, 20, 30}, {20, 30}, {20, 30}, {20, 30}},
                    CleanupCase{"NewHeadIsPassedOverOnce", {10, 20, 30}, {30}, {20, 30}, {30}},
                    CleanupCase{"AllAfterALivingHeadGone", {10, 20, 30, 40}, {10}, {10}, {10}},
                    CleanupCase{"TwoGone", {10, 20}, {}, {20}, {}},
                    CleanupCase{"ThreeGone", {10, 20, 30}, {}, {20}, {}},
                    CleanupCase{"AllGone", {1, 2, 3, 4, 5, 6}, {}, {2}, {}},
                    CleanupCase{"OthersAlive", {10}, {9, 11}, {}, {}}),
    [](const auto& test) { return test.param.mName; });

namespace
{
Pids GetRandomPids(std::mt19937& random, int mostPids)
{
    Pids pids;
    for (int count = std::uniform_int_distribution(0, mostPids)(random); count > 0; --count) {
        pids.insert(std::uniform_int_distribution(1, 40)(random));
    }
    return pids;
}

/** If the head is alive, all stale counters are removed; after a stale head only the next one stays. */
Pids GetSurvivors(const Pids& counted, const Pids& alive)
{
    Pids survivors;
    const bool isHeadStale = !counted.empty() && alive.count(*counted.begin()) == 0;
    for (auto pid = counted.begin(); pid != counted.end(); ++pid) {
        if (alive.count(*pid) != 0 || (isHeadStale && pid == std::next(counted.begin()))) {
            survivors.insert(*pid);
        }
    }
    return survivors;
}
} // namespace

TEST_F(CounterMgrCleanup, SparesOnlyTheFollowerOfAStaleHeadWhateverTheCounters)
{
    std::mt19937 random(GetRandomSeed());
    for (int call = 0; call < 1000; ++call) {
        const Pids added = GetRandomPids(random, 12);
        const Pids alive = GetRandomPids(random, 60);
        SCOPED_TRACE("call " + std::to_string(call));
        Fill(added, {});
        const Pids counted = GetPids(mManager);
        mConfig->mProcessIDAndProcessNameMap.clear();
        Fill({}, alive);
        mManager.CleanUpStaleCounters();
        ASSERT_EQ(GetPids(mManager), GetSurvivors(counted, alive))
            << "counted " << testing::PrintToString(counted) << ", alive " << testing::PrintToString(alive);
    }
}

TEST_F(CounterMgrCleanup, LogsEachRemovalInTwoLinesWhenVerbose)
{
    mConfig->mVerbose = 1;
    Fill({}, {10});
    mManager.Add(10, "abc");
    Counter& java = mManager.Add(20, "java", "thwmc");
    java.mCounterIndex = 21;
    java.mCounterName = "label";
    mManager.CleanUpStaleCounters();
    EXPECT_THAT(
        GetLogLines(),
        ElementsAre("ProcessId (20) is not alive. Removing performance counter (Index : 21) label",
                    "Removing from ProcessIDAndCouterMap Process java (PID : 20) with Counter Index : 21 "
                    "and Counter Name label"));
}

TEST_F(CounterMgrCleanup, IsSilentWithoutVerbose)
{
    Fill({10, 20}, {10});
    mManager.CleanUpStaleCounters();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(10)));
    EXPECT_THAT(GetLogLines(), IsEmpty());
}

TEST_F(CounterMgrCleanup, RemovesAlsoWhenNoLineCanBeWritten)
{
    LoseLog();
    mConfig->mVerbose = 1;
    Fill({10, 20}, {10});
    mManager.CleanUpStaleCounters();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(10)));
}

TEST_F(CounterMgrCleanup, TreatsAnIdThatAnotherProcessGotAsAlive)
{
    Counter& counter = mManager.Add(10, "abc");
    counter.mDumpCount = 2;
    counter.mReadingNumber = 4;
    mConfig->mProcessIDAndProcessNameMap.emplace(10, "other");
    mManager.CleanUpStaleCounters();
    ASSERT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(10)));
    EXPECT_EQ(counter.mProcessName, "abc");
    EXPECT_EQ(counter.mDumpCount, 2);
    EXPECT_EQ(counter.mReadingNumber, 4);
}

TEST_F(CounterMgrCleanup, LooksAtTheIdTableAlone)
{
    mManager.Add(10, "abc");
    mConfig->mProcessNameAndProcessIDMap.emplace("abc", 10);
    mManager.mProcessesRegisteredMonitoring["abc"] = 90;
    mManager.CleanUpStaleCounters();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, IsEmpty());
    EXPECT_EQ(mConfig->mProcessNameAndProcessIDMap.count("abc"), 1U);
    EXPECT_EQ(mManager.mProcessesRegisteredMonitoring.count("abc"), 1U);
    EXPECT_EQ(mRecord.mHelpersMade, 0);
}

TEST_F(CounterMgrCleanup, TreatsJavaCountersLikeAllOthers)
{
    Fill({}, {20});
    mManager.Add(10, "java", "adminconsole");
    mManager.Add(20, "java", "thwmc");
    mManager.CleanUpStaleCounters();
    EXPECT_THAT(mManager.mProcessIDAndCouterMap, ElementsAre(Key(20)));
    EXPECT_THAT(mRecord.mJavaMarkers, IsEmpty());
}

namespace
{
/** Notes whether its manager still has it when it is deleted. */
class NotingCounter : public Counter
{
public:
    NotingCounter(OpenMgr<>& manager, std::vector<bool>& notes) : mManager(manager), mNotes(notes) {}
    ~NotingCounter() override { mNotes.push_back(mManager.mProcessIDAndCouterMap.count(10) != 0); }

private:
    OpenMgr<>& mManager;
    std::vector<bool>& mNotes;
};
} // namespace

TEST_F(CounterMgrCleanup, DeletesACounterOnceItIsOutOfTheMap)
{
    std::vector<bool> notes;
    mManager.mProcessIDAndCouterMap[10] = new NotingCounter(mManager, notes);
    mManager.CleanUpStaleCounters();
    EXPECT_THAT(notes, ElementsAre(false));
}
