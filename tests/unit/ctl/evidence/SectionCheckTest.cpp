#include "evidence/SectionCheck.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/** The report about a text as the file of a kind of process 4321. */
SectionReport Check(const std::string& text, FileKind kind, std::optional<int> readings = 1)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("file", text);
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    SectionReport report = CheckSectionFile(file, text.size(), kind, 4321, readings);
    close(file);
    return report;
}
} // namespace

TEST(MemorySections, AreWholeWithAllReadings)
{
    const SectionReport report = Check(MakeMemoryPerf(50), FileKind::MemoryPerf, 50);
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.notes, IsEmpty());
}

TEST(MemorySections, AreShortWithFewerReadings)
{
    EXPECT_THAT(Check(MakeMemoryPerf(30), FileKind::MemoryPerf, 50).damages,
                ElementsAre("holds 30 of 50 readings"));
    const std::string broken = MakeMemoryPerf(2) + MakeSections({"/usr/bin/top -b -n 1"});
    EXPECT_THAT(Check(broken, FileKind::MemoryPerf, 50).damages,
                ElementsAre("ends before \"ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120\" of reading 3",
                            "holds 2 of 50 readings"));
}

TEST(MemorySections, MayBeAnyNumberWhereTheSettingsAreNotKnown)
{
    EXPECT_THAT(Check(MakeMemoryPerf(30), FileKind::MemoryPerf, std::nullopt).damages, IsEmpty());
}

TEST(MemorySections, OfAToolThatGaveNothingAreCounted)
{
    const std::string text =
        MakeMemoryPerf(1) + MakeHead("/usr/bin/top -b -n 1") +
        MakeSections({"/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120", "/usr/bin/free ",
                      "/usr/bin/vmstat ", "/usr/bin/cat /proc/meminfo"});
    EXPECT_THAT(Check(text, FileKind::MemoryPerf, 2).damages,
                ElementsAre("\"top -b -n 1\" gave nothing in 1 of 2 readings"));
}

TEST(NetworkSections, OfFiltersMayBeEmpty)
{
    const SectionReport report = Check(MakeNetstat(4321), FileKind::Netstat);
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.notes, IsEmpty());
}

TEST(NetworkSections, OfAHostWithoutTheToolAreEmpty)
{
    std::string text;
    for (const char* const options :
         {"-p --tcp | grep CLOSE_WAIT", "-na | grep CLOSE_WAIT", "-e", "-s", "-nalp", "-op | /bin/grep 4321",
          "-nop | /bin/grep 4321", "-anop | /bin/grep 4321", "-tanoxp | /bin/grep 4321"}) {
        text += MakeHead(std::string("/bin/netstat ") + options);
    }
    EXPECT_THAT(Check(text, FileKind::Netstat).damages,
                ElementsAre("\"netstat -e\" gave nothing", "\"netstat -s\" gave nothing",
                            "\"netstat -nalp\" gave nothing"));
}

TEST(ProcessSections, WithoutGstackAreWholeAndSaidSo)
{
    const std::string text =
        MakeSections({"/usr/bin/cat /proc/4321/smaps", "/usr/bin/cat /proc/4321/status"}) +
        MakeHead("/bin/gstack 4321") + MakeSections({"/usr/bin/pmap 4321"});
    const SectionReport report = Check(text, FileKind::ProcessData);
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.notes, ElementsAre("\"gstack 4321\" gave nothing: the tool isn't installed, or could "
                                          "not look into the process"));
}

TEST(ProcessSections, OfAnotherProcessDoNotBelongHere)
{
    EXPECT_THAT(Check(MakeProcessData(99), FileKind::ProcessData).damages,
                ElementsAre("section 1 is \"cat /proc/99/smaps\" where \"cat /proc/4321/smaps\" belongs"));
}

TEST(DiskSections, AreWholeWithTheSamplesThatTheirLineAskedFor)
{
    EXPECT_THAT(Check(MakeIostat(5, 50, 50), FileKind::Iostat).damages, IsEmpty());
    EXPECT_THAT(Check(MakeMpstat(5, 50, 50), FileKind::Mpstat).damages, IsEmpty());
}

TEST(DiskSections, AreShortWithFewerSamples)
{
    EXPECT_THAT(Check(MakeIostat(5, 50, 49), FileKind::Iostat).damages,
                ElementsAre("holds 49 of 50 samples"));
    EXPECT_THAT(Check(MakeMpstat(5, 50, 12), FileKind::Mpstat).damages,
                ElementsAre("holds 12 of 50 samples"));
    EXPECT_THAT(Check(MakeHead("/usr/bin/free "), FileKind::Iostat).damages,
                ElementsAre("has no section of iostat"));
}

TEST(DiskSections, AreShortWhereTheLastTableHasNoRow)
{
    const std::string whole = MakeIostat(5, 50, 50);
    const std::size_t row = whole.rfind("vda ");
    EXPECT_THAT(Check(whole.substr(0, row), FileKind::Iostat).damages, ElementsAre("holds 49 of 50 samples"));
}

TEST(DiskSections, AreWholeOnAHostWithoutDisks)
{
    const std::string row = "vda              1.00      2.00\n";
    std::string text = MakeIostat(5, 50, 50);
    for (std::size_t at = 0; (at = text.find(row, at)) != std::string::npos;) {
        text.erase(at, row.size());
    }
    EXPECT_THAT(Check(text, FileKind::Iostat).damages, IsEmpty());
}

TEST(DiskSections, CountSamplesOfTwelveHourTimesAndOtherLanguages)
{
    SampleCount count;
    count.TakeLine("02:10:29 AM  all    1.00");
    count.TakeLine("02:10:34 PM  all    1.00");
    count.TakeLine("02:10:34 PM  CPU    %usr");
    EXPECT_FALSE(count.HasSummary());
    count.TakeLine("Durchschn.:     all    1.00");
    EXPECT_EQ(count.GetMpstatSamples(), 2);
    EXPECT_TRUE(count.HasSummary());
}

TEST(SamplingLine, EndsWithIntervalAndCount)
{
    const auto line = ParseSamplingLine("iostat -xt 5 50");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->interval, 5);
    EXPECT_EQ(line->count, 50);
    for (const char* const text : {"", "iostat", "iostat -xt 5", "iostat -xt 5 99999999999", "mpstat 5 x"}) {
        EXPECT_FALSE(ParseSamplingLine(text)) << text;
    }
}

TEST(SectionBytes, ThatNoToolPrintsAreDamage)
{
    EXPECT_THAT(Check(MakeProcessData(4321) + std::string(3, '\0') + "\n", FileKind::ProcessData).damages,
                ElementsAre("holds 3 zero bytes"));
    EXPECT_THAT(Check("lost" + MakeProcessData(4321), FileKind::ProcessData).damages,
                ElementsAre("begins with 4 bytes that belong to no section"));
    EXPECT_THAT(Check("no section at all\n", FileKind::ProcessData).damages, ElementsAre("holds no section"));
    EXPECT_THAT(Check(MakeProcessData(4321) + "cut", FileKind::ProcessData).damages,
                ElementsAre("ends in the middle of a line"));
}
