#include "page/parse/Fields.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

TEST(Fields, StandBetweenBlanksAndTabs)
{
    std::vector<std::string_view> fields = {"old"};
    SplitFields("  a\tbb   c \r", fields);
    EXPECT_EQ(fields, (std::vector<std::string_view>{"a", "bb", "c"}));
}

TEST(Fields, RestKeepsItsOwnBlanks)
{
    EXPECT_EQ(RestFromField(" 7  /bin/sh -c  x ", 1), "/bin/sh -c  x");
    EXPECT_EQ(RestFromField("7", 1), "");
    EXPECT_EQ(RestFromField("", 3), "");
}

TEST(Numbers, HaveAPointOrAComma)
{
    EXPECT_EQ(ReadNumber("12.5"), 12.5);
    EXPECT_EQ(ReadNumber("12,5"), 12.5);
    EXPECT_EQ(ReadNumber("-3"), -3.0);
}

TEST(Numbers, AreNothingElse)
{
    for (const char* text : {"", "-", "1x", "nan", "inf", "1e5", "0x10", "1.2.3", "9999999999999999999"}) {
        EXPECT_EQ(ReadNumber(text), std::nullopt) << text;
    }
    EXPECT_EQ(ReadNumber(std::string(65, '1')), std::nullopt);
    EXPECT_EQ(ReadWhole("99999999999"), std::nullopt);
}

TEST(Kilobytes, FollowTheLetterOrThePlainUnit)
{
    EXPECT_EQ(ReadKilobytes("17160", 1), 17160.0);
    EXPECT_EQ(ReadKilobytes("2.5g", 1), 2.5 * 1024 * 1024);
    EXPECT_EQ(ReadKilobytes("3M", 1), 3072.0);
    EXPECT_EQ(ReadKilobytes("2", 1024), 2048.0);
    EXPECT_EQ(ReadKilobytes("g", 1), std::nullopt);
}

struct ClockRow
{
    const char* mWord;
    const char* mHalf;
    std::optional<int> mSeconds;
};

class Clock : public testing::TestWithParam<ClockRow>
{
};

TEST_P(Clock, CountsFromMidnight)
{
    EXPECT_EQ(ReadClock(GetParam().mWord, GetParam().mHalf), GetParam().mSeconds);
}

INSTANTIATE_TEST_SUITE_P(Words, Clock,
                         testing::Values(ClockRow{"20:32:45", "", 73965}, ClockRow{"08:32:45", "PM", 73965},
                                         ClockRow{"08:32:45", "AM", 30765}, ClockRow{"12:00:01", "AM", 1},
                                         ClockRow{"12:00:01", "PM", 43201}, ClockRow{"00:00:00", "all", 0},
                                         ClockRow{"24:00:00", "", std::nullopt},
                                         ClockRow{"1:2", "", std::nullopt},
                                         ClockRow{"a:b:c", "", std::nullopt},
                                         ClockRow{"", "", std::nullopt}));

TEST(Clock, IsFoundAmongWordsAndInIsoTimes)
{
    EXPECT_EQ(FindClock({"11/21/2026", "08:32:45", "PM"}), 73965);
    EXPECT_EQ(FindClock({"2026-11-21T20:32:45+0000"}), 73965);
    EXPECT_EQ(FindClock({"no", "time"}), std::nullopt);
}

} // namespace
} // namespace ctl
