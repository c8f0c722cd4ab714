#include "base/TimeText.h"

#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace
{

/** A clock one hour and a half east of Greenwich, without summer time. */
class TimeTextFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("TZ", "XST-1:30", 1);
        tzset();
    }
};

constexpr std::time_t NOON = 1'700'000'000; // 2023-11-14T22:13:20Z

struct Length
{
    const char* text;
    long seconds; ///< -1: no length
};

class Lengths : public testing::TestWithParam<Length>
{
};

} // namespace

TEST_F(TimeTextFixture, FormatsWithTheOffsetOfTheHost)
{
    EXPECT_EQ(ctl::FormatTime(NOON), "2023-11-14T23:43:20+01:30");
    EXPECT_EQ(ctl::FormatLocalTime(NOON), "2023-11-14 23:43:20");
}

TEST_F(TimeTextFixture, ReadsWhatItFormats)
{
    EXPECT_EQ(ctl::ParseTime(ctl::FormatTime(NOON), 0), NOON);
    EXPECT_EQ(ctl::ParseTime(ctl::FormatLocalTime(NOON), 0), NOON);
}

TEST_F(TimeTextFixture, ReadsTheFormsThatPeopleGive)
{
    EXPECT_EQ(ctl::ParseTime("2023-11-14T22:13:20Z", 0), NOON);
    EXPECT_EQ(ctl::ParseTime("2023-11-14T19:13:20-0300", 0), NOON);
    EXPECT_EQ(ctl::ParseTime("2023-11-14 23:43", 0), NOON - 20);
    EXPECT_EQ(ctl::ParseTime("2023-11-14", 0), NOON - (23 * 3600 + 43 * 60 + 20));
    EXPECT_EQ(ctl::ParseTime("23:40", NOON), NOON - 200);
    EXPECT_EQ(ctl::ParseTime("23:43:20", NOON), NOON);
    EXPECT_EQ(ctl::ParseTime("23:44", NOON), ctl::ParseTime("2023-11-13 23:44", 0))
        << "that of today is still to come";
    EXPECT_EQ(ctl::ParseTime("@1700000000", 0), NOON);
    EXPECT_EQ(ctl::ParseTime("now", NOON), NOON);
    EXPECT_EQ(ctl::ParseTime("2h", NOON), NOON - 7200);
    EXPECT_EQ(ctl::ParseTime("today", NOON), ctl::ParseTime("2023-11-14", 0));
    EXPECT_EQ(ctl::ParseTime("yesterday", NOON), ctl::ParseTime("2023-11-13", 0));
}

TEST_F(TimeTextFixture, RefusesWhatIsNoTime)
{
    for (const char* const text : {"", "soon", "2023-02-30", "2023-11-14 25:00", "@x",
                                   "2023-11-14 23:43 or so", "2023-11-14T23:43:20+99:00", "-1h"}) {
        EXPECT_EQ(ctl::ParseTime(text, NOON), std::nullopt) << text;
    }
}

TEST_P(Lengths, AreReadByTheirUnits)
{
    const auto length = ctl::ParseDuration(GetParam().text);
    EXPECT_EQ(length ? length->count() : -1, GetParam().seconds);
}

INSTANTIATE_TEST_SUITE_P(TimeText, Lengths,
                         testing::Values(Length{"30d", 2'592'000}, Length{"90", 90}, Length{"1h30m", 5400},
                                         Length{"5min", 300}, Length{"2w", 1'209'600}, Length{"0", 0},
                                         Length{"", -1}, Length{"d", -1}, Length{"3x", -1}, Length{"-3d", -1},
                                         Length{"1.5h", -1}, Length{"99999999999999999999", -1},
                                         Length{"9223372036854775807w", -1}));

TEST(DurationText, NamesTheTwoLargestUnits)
{
    EXPECT_EQ(ctl::FormatDuration(45s), "45 s");
    EXPECT_EQ(ctl::FormatDuration(725s), "12 min 5 s");
    EXPECT_EQ(ctl::FormatDuration(3600s), "1 h");
    EXPECT_EQ(ctl::FormatDuration(187200s), "2 d 4 h");
}
