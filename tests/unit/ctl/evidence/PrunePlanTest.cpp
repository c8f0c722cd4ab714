#include "evidence/PrunePlan.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr std::time_t DAY = 86400;
constexpr std::time_t NOW = 1000 * DAY;

/** A set of so many days ago that takes `bytes` of the disk. */
PruneSubject MakeSet(std::string_view process, int daysAgo, std::uint64_t bytes = 100)
{
    PruneSubject subject;
    subject.process = process;
    subject.time = NOW - daysAgo * DAY;
    subject.diskBytes = bytes;
    return subject;
}

std::vector<std::string> Describe(const std::vector<PruneChoice>& choices)
{
    std::vector<std::string> texts;
    for (const PruneChoice& choice : choices) {
        texts.push_back(std::to_string(choice.place) + " " + std::string(choice.reason));
    }
    return texts;
}

/** Five sets of one process, the first a hundred days old, the last ten. */
std::vector<PruneSubject> MakeFive()
{
    return {MakeSet("tbrd", 100), MakeSet("tbrd", 80), MakeSet("tbrd", 60), MakeSet("tbrd", 20),
            MakeSet("tbrd", 10)};
}

PruneRules OlderThan(int days)
{
    PruneRules rules;
    rules.older = std::chrono::seconds(days * DAY);
    return rules;
}
} // namespace

TEST(PrunePlan, TakesWhatIsOlderAndKeepsTheFirstAndTheNewest)
{
    const PrunePlan plan = PlanPrune(MakeFive(), OlderThan(5), NOW);
    EXPECT_THAT(Describe(plan.candidates),
                ElementsAre("1 is older than 5 d", "2 is older than 5 d", "3 is older than 5 d"));
    EXPECT_THAT(Describe(plan.kept),
                ElementsAre("0 is the first set of tbrd", "4 is the newest set of tbrd"));
    EXPECT_EQ(plan.freedBytes, 300U);
    EXPECT_EQ(plan.diskBytes, 500U);
}

TEST(PrunePlan, LeavesWhatIsNotOlder)
{
    EXPECT_THAT(Describe(PlanPrune(MakeFive(), OlderThan(80), NOW).candidates), IsEmpty());
    EXPECT_THAT(Describe(PlanPrune(MakeFive(), OlderThan(79), NOW).candidates),
                ElementsAre("1 is older than 79 d"));
}

TEST(PrunePlan, KeepsSoManyNewestOfEachProcess)
{
    std::vector<PruneSubject> sets = MakeFive();
    sets.push_back(MakeSet("other", 300));
    sets.push_back(MakeSet("other", 200));
    PruneRules rules;
    rules.keepNewest = 2;
    const PrunePlan plan = PlanPrune(sets, rules, NOW);
    EXPECT_THAT(Describe(plan.candidates),
                ElementsAre("1 is not among the newest 2 of tbrd", "2 is not among the newest 2 of tbrd"));
    EXPECT_THAT(Describe(plan.kept), ElementsAre("0 is the first set of tbrd"));
}

TEST(PrunePlan, TakesTheOldestUntilTheRestIsSmallEnough)
{
    PruneRules rules;
    rules.maxSize = 300;
    const PrunePlan plan = PlanPrune(MakeFive(), rules, NOW);
    EXPECT_THAT(Describe(plan.candidates),
                ElementsAre("1 all evidence takes more than 300 B", "2 all evidence takes more than 300 B"));
    EXPECT_FALSE(plan.isAboveMaxSize);
}

TEST(PrunePlan, SaysThatTheGuardsKeepMoreThanTheSize)
{
    PruneRules rules;
    rules.maxSize = 150;
    const PrunePlan plan = PlanPrune(MakeFive(), rules, NOW);
    EXPECT_EQ(plan.candidates.size(), 3U);
    EXPECT_TRUE(plan.isAboveMaxSize);
}

TEST(PrunePlan, CountsForTheSizeWhatOtherRulesFree)
{
    PruneRules rules = OlderThan(70);
    rules.maxSize = 400;
    EXPECT_THAT(Describe(PlanPrune(MakeFive(), rules, NOW).candidates), ElementsAre("1 is older than 70 d"));
}

TEST(PrunePlan, LetsNoEmptySetStandForTheFirstOrTheNewest)
{
    std::vector<PruneSubject> sets = MakeFive();
    sets.front().isEmpty = true;
    sets.back().isEmpty = true;
    const PrunePlan plan = PlanPrune(sets, OlderThan(5), NOW);
    EXPECT_THAT(Describe(plan.candidates),
                ElementsAre("0 is older than 5 d", "2 is older than 5 d", "4 is older than 5 d"));
    EXPECT_THAT(Describe(plan.kept),
                ElementsAre("1 is the first set of tbrd", "3 is the newest set of tbrd"));
}

TEST(PrunePlan, CountsNoEmptySetAmongTheNewest)
{
    std::vector<PruneSubject> sets = MakeFive();
    sets[1].isEmpty = true;
    sets.back().isEmpty = true;
    PruneRules rules;
    rules.keepNewest = 2;
    const PrunePlan plan = PlanPrune(sets, rules, NOW);
    EXPECT_THAT(Describe(plan.candidates), ElementsAre("1 is not among the newest 2 of tbrd"));
    EXPECT_THAT(Describe(plan.kept), ElementsAre("0 is the first set of tbrd"));
}

TEST(PrunePlan, KeepsPinnedLiveAndUnfinishedSets)
{
    std::vector<PruneSubject> sets = MakeFive();
    sets[1].isPinned = true;
    sets[2].isInProgress = true;
    sets[3].isLive = true;
    const PrunePlan plan = PlanPrune(sets, OlderThan(15), NOW);
    EXPECT_THAT(Describe(plan.candidates), IsEmpty());
    EXPECT_THAT(Describe(plan.kept),
                ElementsAre("0 is the first set of tbrd", "1 is pinned", "2 is in progress",
                            "3 its process is alive; --live lets it go"));
}

TEST(PrunePlan, NamesTheGuardThatNoOptionLifts)
{
    std::vector<PruneSubject> sets = MakeFive();
    for (PruneSubject& set : sets) {
        set.isLive = true;
    }
    EXPECT_THAT(Describe(PlanPrune(sets, OlderThan(70), NOW).kept),
                ElementsAre("0 is the first set of tbrd", "1 its process is alive; --live lets it go"));
}

TEST(PrunePlan, TakesLiveSetsWhenAsked)
{
    std::vector<PruneSubject> sets = MakeFive();
    sets[3].isLive = true;
    PruneRules rules = OlderThan(15);
    rules.withLive = true;
    EXPECT_THAT(Describe(PlanPrune(sets, rules, NOW).candidates),
                ElementsAre("1 is older than 15 d", "2 is older than 15 d", "3 is older than 15 d"));
}

TEST(PrunePlan, EndsADeletionThatWasInterrupted)
{
    std::vector<PruneSubject> sets = MakeFive();
    sets[0].isHalfDeleted = true;
    const PrunePlan plan = PlanPrune(sets, OlderThan(75), NOW);
    EXPECT_THAT(Describe(plan.candidates), ElementsAre("0 a deletion of it was interrupted"));
    EXPECT_THAT(Describe(plan.kept), ElementsAre("1 is the first set of tbrd"))
        << "what is half gone is no longer the first";
}

TEST(PrunePlan, OfNothingIsEmpty)
{
    EXPECT_THAT(PlanPrune({}, OlderThan(0), NOW).candidates, IsEmpty());
}
