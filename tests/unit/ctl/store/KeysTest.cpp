#include "store/Keys.h"

#include <gtest/gtest.h>

TEST(NearestKey, IsTheOneThatWasMeant)
{
    EXPECT_EQ(ctl::FindNearestKey("THHS_POLL_INTREVAL"), "THHS_POLL_INTERVAL");
    EXPECT_EQ(ctl::FindNearestKey("THHS_DUMPCOUNT"), "THHS_DUMP_COUNT");
    EXPECT_EQ(ctl::FindNearestKey("thhs_monitor_cp"), "THHS_MONITOR_CPU");
    EXPECT_EQ(ctl::FindNearestKey("EVIDENCE_PATH"), "THHS_EVIDENCE_PATH");
    EXPECT_EQ(ctl::FindNearestKey("THHS_POLL_INTE"), "THHS_POLL_INTERVAL") << "four letters short";
}

TEST(NearestKey, IsNoneForATextThatIsNearToNothing)
{
    EXPECT_EQ(ctl::FindNearestKey("COLOUR"), "");
    EXPECT_EQ(ctl::FindNearestKey(std::string(100000, 'T')), "");
}

TEST(Distance, CountsInsertedDroppedReplacedAndSwappedLetters)
{
    EXPECT_EQ(ctl::GetDistance("", "abc"), 3U);
    EXPECT_EQ(ctl::GetDistance("abc", "abc"), 0U);
    EXPECT_EQ(ctl::GetDistance("abc", "acb"), 1U);
    EXPECT_EQ(ctl::GetDistance("abc", "abd"), 1U);
    EXPECT_EQ(ctl::GetDistance("abc", "ab"), 1U);
}

TEST(Keys, AreTheTwentyOfTheDaemonInItsOrder)
{
    EXPECT_EQ(ctl::GetKeys().size(), 20U);
    EXPECT_STREQ(ctl::GetKeys().front().name, "THHS_MEMORY_UNIT");
    EXPECT_STREQ(ctl::GetKeys().back().name, "THHS_VERBOSE");
    ASSERT_NE(ctl::FindKey("THHS_DUMP_COUNT"), nullptr);
    EXPECT_EQ(ctl::FindKey("THHS_DUMP_COUNT")->highest, 10);
    EXPECT_EQ(ctl::FindKey("thhs_dump_count"), nullptr);
}
