#include "evidence/EvidenceName.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gtest/gtest.h>

using namespace ctl;

TEST(EvidenceName, SaysProcessTimeCounterAndKind)
{
    const auto name = ParseEvidenceName("4321_13-11_02.10.28_Memory.DiskPerf_iostat");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->pid, 4321);
    EXPECT_EQ(name->stamp.day, 13);
    EXPECT_EQ(name->stamp.month, 11);
    EXPECT_EQ(name->stamp.hour, 2);
    EXPECT_EQ(name->stamp.minute, 10);
    EXPECT_EQ(name->stamp.second, 28);
    EXPECT_EQ(name->label, "Memory");
    EXPECT_EQ(name->kind, FileKind::Iostat);
}

class EvidenceKind : public testing::TestWithParam<std::pair<const char*, FileKind>>
{
};

TEST_P(EvidenceKind, IsKnownByTheEndingOfTheName)
{
    const auto name = ParseEvidenceName(std::string("77_01-02_03.04.05_CPU.") + GetParam().first);
    ASSERT_TRUE(name);
    EXPECT_EQ(name->kind, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(
    All, EvidenceKind,
    testing::Values(std::pair("77", FileKind::Core), std::pair("MemoryPerf", FileKind::MemoryPerf),
                    std::pair("Netstat", FileKind::Netstat), std::pair("DiskPerf_iostat", FileKind::Iostat),
                    std::pair("DiskPerf_mpstat", FileKind::Mpstat),
                    std::pair("ProcessData", FileKind::ProcessData), std::pair("hprof", FileKind::HeapDump),
                    std::pair("ThreadDump", FileKind::ThreadDump),
                    std::pair("CustomScript", FileKind::CustomScript)));

TEST(EvidenceName, RefusesWhatTheDaemonDoesNotWrite)
{
    for (const char* const text :
         {"", "_", "4321", "4321_13-11_02.10.28_Memory", "4321_13-11_02.10.28_Memory.",
          "4321_13-11_02.10.28_.hprof", "4321_13-11_02.10.28_Memory.99", "4321_13-11_02.10.28_Memory.core",
          "04321_13-11_02.10.28_CPU.hprof", "-1_13-11_02.10.28_CPU.hprof", "4321_32-11_02.10.28_CPU.hprof",
          "4321_13-13_02.10.28_CPU.hprof", "4321_13-11_24.10.28_CPU.hprof", "4321_13-11_02.60.28_CPU.hprof",
          "4321_13-11_02-10-28_CPU.hprof", "4321_13-11_02.10.28_C\033U.hprof",
          "4321_13-11_02.10.28_CPU.hprof~", "99999999999_13-11_02.10.28_CPU.hprof", "notes.txt"}) {
        EXPECT_FALSE(ParseEvidenceName(text)) << text;
    }
}

TEST(EvidenceNumber, IsThatOfTheFolderName)
{
    EXPECT_EQ(ParseEvidenceNumber("Evidence1"), 1);
    EXPECT_EQ(ParseEvidenceNumber("Evidence10"), 10);
    for (const char* const text : {"Evidence", "Evidence01", "Evidence-1", "evidence1", "Evidence1a", ""}) {
        EXPECT_EQ(ParseEvidenceNumber(text), std::nullopt) << text;
    }
}

TEST(EvidenceStamp, LiesInTheYearOfTheLastChange)
{
    const NameStamp stamp = {13, 11, 2, 10, 28};
    EXPECT_EQ(ResolveStamp(stamp, MakeTime(2026, 11, 13, 2, 20, 0)), MakeTime(2026, 11, 13, 2, 10, 28));
}

TEST(EvidenceStamp, OfDecemberLiesInTheYearBeforeAChangeInJanuary)
{
    const NameStamp stamp = {31, 12, 23, 59, 58};
    EXPECT_EQ(ResolveStamp(stamp, MakeTime(2027, 1, 1, 0, 0, 5)), MakeTime(2026, 12, 31, 23, 59, 58));
}

TEST(EvidenceStamp, OfALeapDayLiesInALeapYear)
{
    const NameStamp stamp = {29, 2, 12, 0, 0};
    EXPECT_EQ(ResolveStamp(stamp, MakeTime(2026, 11, 13, 0, 0, 0)), MakeTime(2024, 2, 29, 12, 0, 0));
}

TEST(EvidenceStamp, OfADayThatNeverWasIsTheLastChange)
{
    const NameStamp stamp = {31, 2, 12, 0, 0};
    const std::time_t changed = MakeTime(2026, 11, 13, 0, 0, 0);
    EXPECT_EQ(ResolveStamp(stamp, changed), changed);
}
