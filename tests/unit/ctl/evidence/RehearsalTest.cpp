#include "evidence/Rehearsal.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

#include <csignal>

#include <unistd.h>

using namespace ctl;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{
RehearsalLine MakeLine(const std::string& line)
{
    RehearsalLine made;
    made.command = {"/bin/sh", "-c", line};
    return made;
}
} // namespace

TEST(Rehearsal, HasTheLinesOfTheCapturesInTheirOrder)
{
    RehearsalPlan plan;
    plan.pid = 4321;
    plan.interval = 5;
    plan.readings = 2;
    std::vector<std::string> kinds;
    std::vector<std::string> filtered;
    for (const RehearsalLine& line : MakeRehearsal(plan)) {
        kinds.emplace_back(GetKindName(line.kind));
        if (line.section.find("grep 4321") != std::string::npos) {
            filtered.push_back(line.section);
        }
    }
    EXPECT_EQ(kinds.size(), 2U * 5 + 9 + 2 + 4);
    EXPECT_THAT(filtered, ElementsAre(HasSubstr("netstat -op | "), HasSubstr("netstat -nop | "),
                                      HasSubstr("netstat -anop | "), HasSubstr("netstat -tanoxp | ")));
}

TEST(Rehearsal, LeavesOutWhatTheSettingsLeaveOut)
{
    RehearsalPlan plan;
    plan.wantsNetwork = false;
    plan.wantsDisk = false;
    EXPECT_EQ(MakeRehearsal(plan).size(), 5U + 4);
}

TEST(Rehearsal, SamplesAsOftenAsItReads)
{
    RehearsalPlan plan;
    plan.readings = 3;
    plan.interval = 7;
    std::vector<std::string> samples;
    for (const RehearsalLine& line : MakeRehearsal(plan)) {
        if (line.kind == FileKind::Iostat || line.kind == FileKind::Mpstat) {
            samples.push_back(line.section.substr(line.section.rfind('/') + 1));
        }
    }
    EXPECT_THAT(samples, ElementsAre("iostat -xt 7 3", "mpstat 7 3"));
}

TEST(JavaRehearsal, RunsJcmdIntoTheFolder)
{
    const auto lines = MakeJavaLines(4321, "/opt/jdk-17.0_1", "tarnweb", "/tmp/scratch");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0].section,
                HasSubstr("/opt/jdk-17.0_1/bin/jcmd 4321 GC.heap_dump /tmp/scratch/heap.hprof"));
    EXPECT_THAT(lines[1].section, HasSubstr("/opt/jdk-17.0_1/bin/jcmd 4321 Thread.print"));
    EXPECT_TRUE(lines[0].stopsProcess && lines[1].stopsProcess);
}

class HostileWord : public testing::TestWithParam<const char*>
{
};

TEST_P(HostileWord, NeverReachesAShell)
{
    EXPECT_THROW(MakeJavaLines(1, GetParam(), "user", "/tmp/x"), std::runtime_error);
    EXPECT_THROW(MakeJavaLines(1, "/opt/jdk", "user", GetParam()), std::runtime_error);
    if (getuid() == 0) {
        EXPECT_THROW(MakeJavaLines(1, "/opt/jdk", GetParam(), "/tmp/x"), std::runtime_error);
    }
}

INSTANTIATE_TEST_SUITE_P(Words, HostileWord,
                         testing::Values("", "a b", "$(id)", "`id`", "x;id", "-c", "a\nb", "a|b", "'q'",
                                         "\"q\"", "a&b", "a>b", "*"));

TEST(RehearsedLine, IsMeasured)
{
    const EvidenceFolder folder;
    const std::string output = folder.GetPath() + "/out";
    const std::string complaints = folder.GetPath() + "/complaints";
    RehearsalResult result =
        RunLine(MakeLine("echo hello; echo bad >&2; exit 3"), output, complaints, std::chrono::seconds(60));
    EXPECT_EQ(result.bytes, 6U);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.complaint, "bad");
    EXPECT_GT(result.seconds, 0);
    result = RunLine(MakeLine("echo again"), output, complaints, std::chrono::seconds(60));
    EXPECT_EQ(result.bytes, 6U) << "what the line before wrote doesn't count";
    EXPECT_EQ(result.complaint, "");
}

TEST(RehearsedLine, ThatTakesTooLongIsEnded)
{
    const EvidenceFolder folder;
    const RehearsalResult result = RunLine(MakeLine("sleep 1000 | cat"), folder.GetPath() + "/out",
                                           folder.GetPath() + "/complaints", std::chrono::seconds(0));
    EXPECT_TRUE(result.isTooSlow);
    EXPECT_EQ(result.status, 128 + SIGTERM);
}

TEST(RehearsedLine, OfAMissingProgramHasTheStatusOfTheShell)
{
    const EvidenceFolder folder;
    RehearsalLine line;
    line.command = {"/absent/tool"};
    const RehearsalResult result =
        RunLine(line, folder.GetPath() + "/out", folder.GetPath() + "/complaints", std::chrono::seconds(60));
    EXPECT_EQ(result.status, 127);
    EXPECT_EQ(result.complaint, "/absent/tool can't be started");
}
