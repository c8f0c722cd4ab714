#include "logcontrol/processToLogIdMap.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

TEST(ProcessToLogIdMap, HoldsTwoProcessesAndEndsAtTheEmptyName)
{
    EXPECT_EQ(processToLogIdMap[0].mProcessName, "thwmc");
    EXPECT_THAT(processToLogIdMap[0].mLogIds, ElementsAre(485, 495, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(processToLogIdMap[1].mProcessName, "tbrd");
    EXPECT_THAT(processToLogIdMap[1].mLogIds, ElementsAre(119, 128, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(processToLogIdMap[2].mProcessName, "");
}

namespace
{
struct NameCase
{
    const char* mProcessName;
    std::vector<int> mIds;

    friend std::ostream& operator<<(std::ostream& out, const NameCase& row)
    {
        return out << row.mProcessName;
    }
};

class ExtraLogIds : public testing::TestWithParam<NameCase>
{
};
} // namespace

TEST_P(ExtraLogIds, AreThoseOfTheNameInAnyCase)
{
    EXPECT_EQ(GetExtraLogIDsForProcess(GetParam().mProcessName), GetParam().mIds);
}

INSTANTIATE_TEST_SUITE_P(Names, ExtraLogIds,
                         testing::Values(NameCase{"thwmc", {485, 495}}, NameCase{"THWMC", {485, 495}},
                                         NameCase{"ThWmC", {485, 495}}, NameCase{"tbrd", {119, 128}},
                                         NameCase{"TbRd", {119, 128}}, NameCase{"adminconsole", {}},
                                         NameCase{"tbr", {}}, NameCase{"tbrdx", {}}, NameCase{" tbrd", {}},
                                         NameCase{"java", {}}, NameCase{"", {}}));
