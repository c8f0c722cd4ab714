#include "evidence/EvidenceSource.h"

#include "base/ListedFailure.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <map>

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
CapturePlan MakePlan(const std::map<std::string, std::string>& settings)
{
    return MakeCapturePlan([&settings](const std::string& key) -> std::optional<std::string> {
        const auto found = settings.find(key);
        return found == settings.end() ? std::nullopt : std::optional<std::string>(found->second);
    });
}
} // namespace

TEST(CapturePlan, OfAnEmptyStoreHasTheDefaults)
{
    const CapturePlan plan = MakePlan({});
    EXPECT_FALSE(plan.wantsDump);
    EXPECT_TRUE(plan.wantsNetwork);
    EXPECT_TRUE(plan.wantsDisk);
    EXPECT_EQ(plan.readings, 50);
    EXPECT_EQ(plan.interval, 5);
}

TEST(CapturePlan, TakesDefaultsForBadValues)
{
    const CapturePlan plan = MakePlan({{"THHS_CAPTURE_PROCESS_DUMP", "2"},
                                       {"THHS_CAPTURE_NETWORK_STAT", "no"},
                                       {"THHS_NUMBER_OF_READINGS", "0"},
                                       {"THHS_READING_INTERVAL", "99999999999"}});
    EXPECT_FALSE(plan.wantsDump);
    EXPECT_TRUE(plan.wantsNetwork);
    EXPECT_EQ(plan.readings, 50);
    EXPECT_EQ(plan.interval, 5);
}

TEST(CapturePlan, FitsTheReadingsIntoThePollIntervalAsTheDaemonDoes)
{
    EXPECT_EQ(MakePlan({{"THHS_POLL_INTERVAL", "120"}}).interval, 2);
    EXPECT_EQ(MakePlan({{"THHS_POLL_INTERVAL", "30"}}).readings, 29);
    EXPECT_EQ(MakePlan({{"THHS_POLL_INTERVAL", "30"}, {"_FORCE_READING_INTERVAL_", "1"}}).readings, 50);
}

TEST(SamplingLine, IsTheOneThatTheDaemonRuns)
{
    EXPECT_EQ(GetSamplingLine(FileKind::Iostat, 5, 50), "iostat -xt 5 50");
    EXPECT_EQ(GetSamplingLine(FileKind::Mpstat, 1, 2), "mpstat 1 2");
    EXPECT_EQ(GetSamplingLine(FileKind::Netstat, 1, 2), "") << "it isn't sampled";
    EXPECT_EQ(GetSamplingTool(FileKind::Core), "");
}

class SelectedSets : public testing::Test
{
protected:
    SelectedSets()
    {
        WriteStatistics(mFolder, "tbrd", 4321, 1, "13-11_02.10.28");
        WriteStatistics(mFolder, "tbrd", 4321, 1, "13-11_02.10.28", "Memory");
        WriteStatistics(mFolder, "tbrd", 432, 1, "14-11_02.10.28");
        mTree = FindEvidence(mFolder.GetPath());
    }

    std::vector<int> Select(const std::string& name) const
    {
        std::vector<int> pids;
        for (const std::size_t place : SelectSets(mTree, name)) {
            pids.push_back(mTree.sets[place].pid);
        }
        return pids;
    }

    const EvidenceFolder mFolder;
    EvidenceTree mTree;
};

TEST_F(SelectedSets, AreNamedByTheBeginningOfAnIdUpToASlash)
{
    EXPECT_THAT(Select("tbrd"), ElementsAre(4321, 4321, 432));
    EXPECT_THAT(Select("tbrd/432"), ElementsAre(432));
    EXPECT_THAT(Select("tbrd/4321/Evidence1/"), ElementsAre(4321, 4321));
    EXPECT_THAT(Select(mTree.sets[0].GetId()), ElementsAre(4321));
    EXPECT_THAT(Select("tbr"), IsEmpty());
    EXPECT_THAT(Select(""), IsEmpty());
    EXPECT_THAT(Select(".."), IsEmpty());
}

TEST_F(SelectedSets, AreNamedByPaths)
{
    const std::string folder = (mFolder.GetRoot() / "tbrd/432/Evidence1").string();
    EXPECT_THAT(Select(folder), ElementsAre(432));
    EXPECT_THAT(Select(folder + "/432_14-11_02.10.28_CPU.Netstat"), ElementsAre(432));
}

TEST_F(SelectedSets, AreOneOrRefused)
{
    EXPECT_EQ(mTree.sets[SelectOneSet(mTree, "tbrd/432")].pid, 432);
    EXPECT_THROW(SelectOneSet(mTree, "tbrd/4321"), std::runtime_error);
    EXPECT_THROW(SelectOneSet(mTree, "absent"), std::runtime_error);
}

TEST_F(SelectedSets, OfANameForManyAreNotAllListed)
{
    for (int number = 2; number < 9; ++number) {
        WriteStatistics(mFolder, "tbrd", 7, number, "15-11_02.10.2" + std::to_string(number));
    }
    mTree = FindEvidence(mFolder.GetPath());
    try {
        SelectOneSet(mTree, "tbrd/7");
        FAIL() << "seven sets were taken for one";
    } catch (const ListedFailure& failure) {
        EXPECT_STREQ(failure.what(), "tbrd/7 stands for 7 sets; give one of them:");
        const std::vector<std::string>& lines = failure.GetLines();
        ASSERT_EQ(lines.size(), 6U);
        EXPECT_EQ(lines[0], mTree.sets[SelectOneSet(mTree, "tbrd/7/Evidence2")].GetId());
        EXPECT_EQ(lines[5], "and 2 more; see thsentinelctl list");
    }
}
