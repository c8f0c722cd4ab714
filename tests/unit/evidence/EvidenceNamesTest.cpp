#include "evidence/EvidenceNames.h"

#include "support/StoreDouble.h"

#include <gtest/gtest.h>

namespace
{
struct FileCase
{
    const char* mName;
    int mPid;
    std::string mLabel;
    std::string mSuffix;
    std::string mFile;
};

class EvidenceFileName : public testing::TestWithParam<FileCase>
{
};
} // namespace

TEST_P(EvidenceFileName, HasProcessIdTimeLabelAndSuffix)
{
    const FileCase& row = GetParam();
    const struct tm local = MakeLocalTime(2026, 11, 13, 2, 10, 28);
    EXPECT_EQ(GetEvidenceFileName(local, row.mPid, row.mLabel, row.mSuffix), row.mFile);
}

INSTANTIATE_TEST_SUITE_P(
    Names, EvidenceFileName,
    testing::Values(FileCase{"WithoutSuffix", 4321, "Memory", "", "4321_13-11_02.10.28_Memory"},
                    FileCase{"WithSuffix", 4321, "Memory", "MemoryPerf",
                             "4321_13-11_02.10.28_Memory.MemoryPerf"},
                    FileCase{"WithoutLabel", 1, "", "x", "1_13-11_02.10.28_.x"},
                    FileCase{"ProcessIdOfAnyLength", 12345678, "CPU", "", "12345678_13-11_02.10.28_CPU"},
                    FileCase{"SixtyThreeCharacters", 4321, std::string(43, 'L'), "",
                             "4321_13-11_02.10.28_" + std::string(43, 'L')},
                    FileCase{"LongerNameIsCutBeforeItsSuffix", 4321, std::string(44, 'L'), "Netstat",
                             "4321_13-11_02.10.28_" + std::string(43, 'L') + ".Netstat"}),
    [](const auto& row) { return row.param.mName; });

TEST(EvidenceNames, PutDayBeforeMonthInTwoDigits)
{
    EXPECT_EQ(GetEvidenceFileName(MakeLocalTime(2021, 3, 5, 7, 8, 9), 1, "CPU", ""), "1_05-03_07.08.09_CPU");
}

TEST(EvidenceNames, CutTheFolderOfAProcessIdToSevenDigits)
{
    EXPECT_EQ(GetPidFolderName(4321), "4321");
    EXPECT_EQ(GetPidFolderName(1234567), "1234567");
    EXPECT_EQ(GetPidFolderName(12345678), "1234567");
}

TEST(EvidenceNames, CutTheFolderOfASetToFifteenCharacters)
{
    EXPECT_EQ(GetEvidenceFolderName(1), "Evidence1");
    EXPECT_EQ(GetEvidenceFolderName(12), "Evidence12");
    EXPECT_EQ(GetEvidenceFolderName(1234567), "Evidence1234567");
    EXPECT_EQ(GetEvidenceFolderName(12345678), "Evidence1234567");
}
