#include "config/THCrossPlatformMapping.h"

#include "config/SettingsFixture.h"

#include <gmock/gmock.h>

namespace
{
/** Clocks that stand still; on any machine, as no file is touched. */
class TimeStamp : public testing::Test
{
protected:
    static void Freeze(const struct tm& local, suseconds_t microseconds)
    {
        GetStore().mLocalTime = local;
        GetSeams().mGettimeofday = [microseconds](struct timeval* now) { *now = {0, microseconds}; };
    }

    void TearDown() override
    {
        GetStore() = StoreDouble();
        GetSeams() = SystemSeams();
    }
};

TEST_F(TimeStamp, TakesTwentySixCharacters)
{
    Freeze(MakeLocalTime(2026, 11, 13, 2, 7, 28), 45000);
    EXPECT_EQ(GetCurrentTimeStamp(), "2026-11-13 02:07:28:045 - ");
    EXPECT_EQ(GetCurrentTimeStamp().size(), 26U);
}

TEST_F(TimeStamp, CutsMicrosecondsToMilliseconds)
{
    const struct tm local = MakeLocalTime(2026, 3, 5, 0, 0, 0);
    const struct
    {
        suseconds_t mMicroseconds;
        const char* mStamp;
    } rows[] = {{0, "2026-03-05 00:00:00:000 - "},      {999, "2026-03-05 00:00:00:000 - "},
                {1000, "2026-03-05 00:00:00:001 - "},   {45999, "2026-03-05 00:00:00:045 - "},
                {999000, "2026-03-05 00:00:00:999 - "}, {999999, "2026-03-05 00:00:00:999 - "}};
    for (const auto& row : rows) {
        Freeze(local, row.mMicroseconds);
        EXPECT_EQ(GetCurrentTimeStamp(), row.mStamp) << row.mMicroseconds;
    }
}

TEST_F(TimeStamp, PadsEveryFieldWithZeros)
{
    Freeze(MakeLocalTime(1900, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(GetCurrentTimeStamp(), "1900-01-01 00:00:00:000 - ");
    Freeze(MakeLocalTime(9999, 12, 31, 23, 59, 60), 999999);
    EXPECT_EQ(GetCurrentTimeStamp(), "9999-12-31 23:59:60:999 - ");
}

TEST_F(TimeStamp, GrowsWithTheYear)
{
    Freeze(MakeLocalTime(1000000, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(GetCurrentTimeStamp(), "1000000-01-01 00:00:00:000 - ");
}

TEST_F(TimeStamp, TakesTheSecondsFromTheLocalTimeAndNotFromThePreciseClock)
{
    Freeze(MakeLocalTime(2026, 3, 5, 12, 0, 1), 999000);
    GetSeams().mGettimeofday = [](struct timeval* now) { *now = {1772711999, 999000}; };
    EXPECT_EQ(GetCurrentTimeStamp(), "2026-03-05 12:00:01:999 - ");
}

TEST_F(TimeStamp, FollowsTheRealClocks)
{
    EXPECT_THAT(GetCurrentTimeStamp(),
                testing::MatchesRegex("20[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+:[0-9][0-9][0-9] - "));
}
} // namespace
