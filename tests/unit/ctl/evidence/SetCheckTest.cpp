#include "evidence/SetCheck.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr char STEM[] = "tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.";

/** The plan of settings that are known, with the readings of WriteStatistics. */
CapturePlan MakePlan()
{
    CapturePlan plan;
    plan.readings = 2;
    plan.interval = 1;
    return plan;
}

/** The state of a folder's one set, long after it was taken unless `now` says otherwise. */
SetReport CheckOnly(const EvidenceFolder& folder, const CapturePlan& plan = MakePlan(),
                    std::time_t later = 1'000'000)
{
    const auto [tree, sets] = FindSets(folder.GetPath());
    EXPECT_EQ(sets.size(), 1U);
    CheckRules rules;
    rules.plan = plan;
    rules.depth = Depth::Whole;
    Activity activity("/absent", sets.at(0).time + later);
    SetReport report = CheckSet(tree, sets.at(0), rules, activity);
    rules.depth = Depth::Ends;
    EXPECT_EQ(CheckSet(tree, sets.at(0), rules, activity).state, report.state);
    return report;
}
} // namespace

TEST(EvidenceSet, IsCompleteWithAllThatTheSettingsAskFor)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const SetReport report = CheckOnly(folder);
    EXPECT_EQ(report.state, SetState::Complete);
    EXPECT_THAT(report.problems, IsEmpty());
}

TEST(EvidenceSet, IsNotKnownToBeCompleteWithoutTheSettings)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const CapturePlan plan;
    const SetReport whole = CheckOnly(folder, plan);
    EXPECT_EQ(whole.state, SetState::Unknown);
    EXPECT_FALSE(whole.isUnderWay);
    EXPECT_THAT(whole.problems,
                ElementsAre("what is here is whole; whether all captures are here can't be told, since the "
                            "settings aren't known"));
    folder.Write(std::string(STEM) + "Netstat", "");
    EXPECT_EQ(CheckOnly(folder, plan).state, SetState::Incomplete);
    EXPECT_EQ(CheckOnly(folder, plan, 1).state, SetState::InProgress);
}

TEST(EvidenceSet, LacksTheDumpThatTheSettingsAskFor)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    CapturePlan plan = MakePlan();
    plan.wantsDump = true;
    const SetReport report = CheckOnly(folder, plan);
    EXPECT_EQ(report.state, SetState::Incomplete);
    EXPECT_THAT(report.problems, ElementsAre("core: is missing"));
}

TEST(EvidenceSet, OfAJavaProcessLacksBothDumps)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "adminconsole", 4321, 1, "13-11_02.10.28");
    CapturePlan plan = MakePlan();
    plan.wantsDump = true;
    EXPECT_THAT(CheckOnly(folder, plan).problems, ElementsAre("hprof: is missing", "ThreadDump: is missing"));
}

TEST(EvidenceSet, WithoutWhatTheSettingsLeaveOutIsComplete)
{
    const EvidenceFolder folder;
    folder.Write(std::string(STEM) + "MemoryPerf", MakeMemoryPerf(2));
    folder.Write(std::string(STEM) + "ProcessData", MakeProcessData(4321));
    CapturePlan plan = MakePlan();
    plan.wantsNetwork = false;
    plan.wantsDisk = false;
    plan.readings = 2;
    EXPECT_EQ(CheckOnly(folder, plan).state, SetState::Complete);
    plan.readings = 3;
    EXPECT_THAT(CheckOnly(folder, plan).problems,
                ElementsAre("4321_13-11_02.10.28_CPU.MemoryPerf: holds 2 of 3 readings"));
}

TEST(EvidenceSet, GoesByTheReadingsOfItsTimeAndNotOfNow)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    CapturePlan plan = MakePlan();
    plan.readings = 50;
    EXPECT_EQ(CheckOnly(folder, plan).state, SetState::Complete);
}

TEST(EvidenceSet, WithAFileOfNoByteIsIncomplete)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write(std::string(STEM) + "4321", "");
    const SetReport report = CheckOnly(folder);
    EXPECT_EQ(report.state, SetState::Incomplete);
    EXPECT_THAT(report.problems, ElementsAre("4321_13-11_02.10.28_CPU.4321: holds no byte"));
}

TEST(EvidenceSet, LosesAFileOrAllOfThemAfterTheyWereFound)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const auto [tree, sets] = FindSets(folder.GetPath());
    Activity activity("/absent", sets.at(0).time + 1'000'000);
    std::filesystem::remove(folder.GetRoot() / (std::string(STEM) + "Netstat"));
    const SetReport one = CheckSet(tree, sets.at(0), {}, activity);
    EXPECT_EQ(one.state, SetState::Incomplete);
    EXPECT_THAT(one.problems, ElementsAre("4321_13-11_02.10.28_CPU.Netstat: No such file or directory"));
    std::filesystem::remove_all(folder.GetRoot() / "tbrd/4321");
    const SetReport all = CheckSet(tree, sets.at(0), {}, activity);
    EXPECT_EQ(all.state, SetState::Incomplete);
    EXPECT_THAT(all.problems, ElementsAre("No such file or directory"));
}

TEST(EvidenceSet, OfAnEmptyFolderIsInProgressWhileACaptureMayBegin)
{
    const EvidenceFolder folder;
    const std::filesystem::path empty = folder.GetRoot() / "tbrd/4321/Evidence1";
    std::filesystem::create_directories(empty);
    EvidenceFolder::SetTime(empty.string(), 1'000'000);
    const auto [tree, sets] = FindSets(folder.GetPath(), 1'000'009);
    Activity activity("/absent", 1'000'009);
    const SetReport report = CheckSet(tree, sets.at(0), {}, activity);
    EXPECT_EQ(report.state, SetState::InProgress);
    EXPECT_THAT(report.problems, ElementsAre("the folder is empty"));
}

TEST(EvidenceSet, WithALinkInPlaceOfAFileIsIncomplete)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    std::filesystem::create_symlink("/dev/zero", folder.GetRoot() / (std::string(STEM) + "hprof"));
    const SetReport report = CheckOnly(folder);
    EXPECT_EQ(report.state, SetState::Incomplete);
    EXPECT_THAT(report.problems,
                ElementsAre("ThreadDump: is missing",
                            "4321_13-11_02.10.28_CPU.hprof: is a symbolic link and is not read"));
}

TEST(EvidenceSet, ThatIsShortIsInProgressWhileItsReadingsLast)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write(std::string(STEM) + "DiskPerf_iostat", MakeIostat(5, 50, 3));
    folder.Write(std::string(STEM) + "DiskPerf_mpstat", MakeMpstat(5, 50, 3));
    EXPECT_EQ(CheckOnly(folder, {}, 249).state, SetState::InProgress);
    EXPECT_EQ(CheckOnly(folder, {}, 250).state, SetState::Incomplete);
}

TEST(EvidenceSet, OfAHostInAZoneAheadIsNotInProgressForHours)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write(std::string(STEM) + "DiskPerf_iostat", MakeIostat(5, 50, 3));
    const std::time_t stamp = FindEvidence(folder.GetPath()).sets[0].time;
    for (const auto& file : std::filesystem::directory_iterator(folder.GetRoot() / "tbrd/4321/Evidence1")) {
        EvidenceFolder::SetTime(file.path(), stamp - 8 * 3600);
    }
    EXPECT_EQ(CheckOnly(folder, {}, -7 * 3600).state, SetState::Incomplete)
        << "an hour after the last change";
    EXPECT_EQ(CheckOnly(folder, {}, -8 * 3600).state, SetState::InProgress) << "right after it";
}

TEST(EvidenceSet, WithAProblemThatTimeDoesNotMendIsIncompleteAtOnce)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write(std::string(STEM) + "DiskPerf_iostat", MakeIostat(5, 50, 3));
    folder.Write(std::string(STEM) + "ProcessData", "");
    EXPECT_EQ(CheckOnly(folder, {}, 9).state, SetState::InProgress) << "it may just have been made";
    const SetReport report = CheckOnly(folder, {}, 100);
    EXPECT_EQ(report.state, SetState::Incomplete);
    EXPECT_TRUE(report.isUnderWay) << "the samples are still coming";
    EXPECT_FALSE(CheckOnly(folder, {}, 250).isUnderWay);
}

TEST(EvidenceSet, WithALongTextIsHeldAgainstItsEnds)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const std::string name = "4321_13-11_02.10.28_CPU.MemoryPerf";
    const std::string text = MakeMemoryPerf(3900);
    ASSERT_GT(text.size(), std::size_t{4} << 20U);
    const auto check = [&](const std::string& contents, Depth depth, std::time_t later) {
        folder.Write(std::string(STEM) + "MemoryPerf", contents);
        const auto [tree, sets] = FindSets(folder.GetPath());
        CheckRules rules;
        rules.plan = MakePlan();
        rules.depth = depth;
        Activity activity("/absent", sets.at(0).time + later);
        return CheckSet(tree, sets.at(0), rules, activity);
    };
    const std::string inPart = name + ": only its beginning and its end were read; verify reads it all";
    const SetReport ends = check(text, Depth::Ends, 1'000'000);
    EXPECT_EQ(ends.state, SetState::Unknown) << "what lies between may be damaged";
    EXPECT_TRUE(ends.isReadInPart);
    EXPECT_THAT(ends.problems, ElementsAre(inPart));
    EXPECT_EQ(check(text, Depth::Texts, 1'000'000).state, SetState::Complete);
    EXPECT_THAT(check(text.substr(0, text.size() - 1), Depth::Ends, 1'000'000).problems,
                ElementsAre(inPart, name + ": ends in the middle of a line"));
    const std::string cut = text.substr(0, text.rfind(MakeHead("/usr/bin/cat /proc/meminfo")));
    EXPECT_THAT(check(cut, Depth::Ends, 1'000'000).problems,
                ElementsAre(inPart, name + ": ends with \"vmstat\", before \"cat /proc/meminfo\""));
    EXPECT_EQ(check(cut, Depth::Texts, 1'000'000).state, SetState::Incomplete);
    EXPECT_THAT(check("stray" + text, Depth::Ends, 1'000'000).problems,
                ElementsAre(inPart, name + ": begins with 5 bytes that belong to no section"));
    const SetReport growing = check(text, Depth::Ends, 5);
    EXPECT_EQ(growing.state, SetState::InProgress);
    EXPECT_THAT(growing.problems, ElementsAre(name + ": may still be written"));
}

TEST(EvidenceSet, WithLongSamplesIsNeverCompleteByItsEnds)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    const std::string samples =
        MakeIostat(1, 60'000, 40'000); // cut between two samples, at the end of a line
    ASSERT_GT(samples.size(), std::size_t{4} << 20U);
    folder.Write(std::string(STEM) + "DiskPerf_iostat", samples);
    folder.Write(std::string(STEM) + "DiskPerf_mpstat", MakeMpstat(1, 60'000, 60'000));
    const auto [tree, sets] = FindSets(folder.GetPath());
    Activity activity("/absent", sets.at(0).time + 1'000'000);
    CheckRules rules;
    rules.plan.readings = 2;
    EXPECT_NE(CheckSet(tree, sets.at(0), rules, activity).state, SetState::Complete);
    rules.depth = Depth::Texts;
    EXPECT_EQ(CheckSet(tree, sets.at(0), rules, activity).state, SetState::Incomplete);
}

TEST(EvidenceSet, WhoseDeletionWasInterruptedIsIncomplete)
{
    const EvidenceFolder folder;
    WriteStatistics(folder, "tbrd", 4321, 1, "13-11_02.10.28");
    folder.Write("tbrd/4321/Evidence1/.4321_13-11_02.10.28_CPU.deleting", "");
    EXPECT_THAT(CheckOnly(folder).problems,
                ElementsAre("a deletion of this set was interrupted; prune --delete ends it"));
}
