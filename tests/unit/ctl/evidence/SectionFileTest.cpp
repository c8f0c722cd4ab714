#include "evidence/SectionFile.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gmock/gmock.h>

using namespace ctl;

namespace
{
SectionFile ScanInBlocks(const std::string& text, std::size_t block)
{
    SectionScanner scanner;
    for (std::size_t at = 0; at < text.size(); at += block) {
        scanner.Take(std::string_view(text).substr(at, block));
    }
    return scanner.Finish();
}

std::string GetOutput(const std::string& text, const Section& section)
{
    return text.substr(section.offset, section.bytes);
}
} // namespace

class SectionBlocks : public testing::TestWithParam<std::size_t>
{
};

TEST_P(SectionBlocks, AreNoBorderForSections)
{
    const std::string text = MakeHead("/usr/bin/free ") + "one\ntwo\n" + MakeHead("/usr/bin/vmstat ") +
                             MakeHead("/usr/bin/cat /proc/meminfo") + "three\n";
    const SectionFile found = ScanInBlocks(text, GetParam());
    ASSERT_EQ(found.sections.size(), 3U);
    EXPECT_EQ(found.sections[0].command, "/usr/bin/free ");
    EXPECT_EQ(GetOutput(text, found.sections[0]), "one\ntwo\n");
    EXPECT_EQ(found.sections[1].command, "/usr/bin/vmstat ");
    EXPECT_EQ(GetOutput(text, found.sections[1]), "");
    EXPECT_EQ(found.sections[2].command, "/usr/bin/cat /proc/meminfo");
    EXPECT_EQ(GetOutput(text, found.sections[2]), "three\n");
    EXPECT_EQ(found.strayBytes, 0U);
    EXPECT_EQ(found.zeroBytes, 0U);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SectionBlocks, testing::Values(1, 2, 7, 83, 84, 85, 93, 94, 95, 200, 100000));

TEST(SectionFile, OfNoSectionIsStrayText)
{
    for (const std::string text : {"", "hello\n", "\n\n----\nCommand: x\n----\n"}) {
        const SectionFile found = ScanInBlocks(text, 4);
        EXPECT_TRUE(found.sections.empty());
        EXPECT_EQ(found.strayBytes, text.size());
    }
}

TEST(SectionFile, GivesARuleInTheOutputToTheOutput)
{
    const std::string output =
        std::string(82, '-') + "\nCommand: not a head, no line end before it\n" + std::string(82, '-') + "\n";
    const std::string text = MakeHead("/usr/bin/top -b -n 1") + output;
    const SectionFile found = ScanInBlocks(text, 50);
    ASSERT_EQ(found.sections.size(), 1U);
    EXPECT_EQ(GetOutput(text, found.sections[0]), output);
}

TEST(SectionFile, FindsTheHeadAfterOneThatWasCutOff)
{
    const std::string whole = MakeHead("/usr/bin/free ");
    const std::string text =
        MakeHead("/usr/bin/top -b -n 1") + "top\n" + whole.substr(0, 100) + whole + "free\n";
    for (const std::size_t block : {1U, 90U, 4096U}) {
        const SectionFile found = ScanInBlocks(text, block);
        ASSERT_EQ(found.sections.size(), 2U) << block;
        EXPECT_EQ(found.sections[1].command, "/usr/bin/free ");
        EXPECT_EQ(GetOutput(text, found.sections[1]), "free\n");
    }
}

TEST(SectionFile, LeavesOutAHeadThatNeverEnds)
{
    const std::string text =
        MakeHead("/usr/bin/free ") + "out\n" + MakeHead("/usr/bin/vmstat ").substr(0, 120);
    const SectionFile found = ScanInBlocks(text, 1000);
    ASSERT_EQ(found.sections.size(), 1U);
    EXPECT_EQ(GetOutput(text, found.sections[0]), "out\n");
}

TEST(SectionFile, OfHeadsWithoutEndIsReadInGoodTime)
{
    std::string text;
    while (text.size() < 4U << 20U) {
        text += MakeHead("x").substr(0, 95);
    }
    EXPECT_TRUE(ScanInBlocks(text, 65536).sections.empty());
}

TEST(SectionFile, HoldsNoMoreSectionsThanAreLookedAt)
{
    std::string text;
    for (std::size_t index = 0; index < SectionScanner::MOST_SECTIONS + 5; ++index) {
        text += MakeHead("x") + "y\n";
    }
    const SectionFile found = ScanInBlocks(text, 65536);
    EXPECT_EQ(found.sections.size(), SectionScanner::MOST_SECTIONS);
    EXPECT_TRUE(found.isCut);
    EXPECT_EQ(GetOutput(text, found.sections.back()), "y\n");
}

TEST(SectionFile, CountsZeroBytesAndHoles)
{
    const EvidenceFolder folder;
    const std::string text = MakeHead("/usr/bin/free ") + std::string("a\0b\n", 4);
    const std::string path = folder.Write("file", text);
    std::filesystem::resize_file(path, 8U << 20U);
    const std::string after = MakeHead("/usr/bin/vmstat ") + "late\n";
    std::ofstream(path, std::ios::app) << after;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    const SectionFile found = ScanSections(file, (8U << 20U) + after.size());
    ASSERT_EQ(found.sections.size(), 2U);
    EXPECT_EQ(found.zeroBytes, (8U << 20U) - text.size() + 1);
    EXPECT_EQ(ReadSection(file, found.sections[1], 100), "late\n");
    EXPECT_EQ(ReadSection(file, found.sections[1], 2), "la");
    close(file);
}

TEST(SectionCommand, IsKnownWhereverItsToolLies)
{
    Section section;
    section.command = "/bin/netstat -op | /usr/bin/grep 12";
    EXPECT_EQ(GetToolLine(section), "netstat -op | /usr/bin/grep 12");
    section.command = "/usr/bin/free ";
    EXPECT_EQ(GetToolLine(section), "free");
    section.command = "";
    EXPECT_EQ(GetToolLine(section), "");
}
