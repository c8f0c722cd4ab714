#include "config/KeyTable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{
bool IsNumber(const KeyRow& row)
{
    return row.mKind == KeyKind::Integer || row.mKind == KeyKind::Switch;
}
} // namespace

TEST(KeyTable, HasEachOfTheTwentyKeysOnce)
{
    std::set<std::string> names;
    for (const KeyRow& row : KEY_TABLE) {
        EXPECT_TRUE(names.insert(row.mName).second) << row.mName;
    }
    EXPECT_EQ(names.size(), 20U);
}

TEST(KeyTable, HasDefaultsThatPassTheirOwnCheck)
{
    for (const KeyRow& row : KEY_TABLE) {
        if (IsNumber(row)) {
            EXPECT_GE(GetDefaultNumber(row), row.mLowest) << row.mName;
            EXPECT_LE(GetDefaultNumber(row), row.mHighest) << row.mName;
            EXPECT_EQ(std::to_string(GetDefaultNumber(row)), row.mDefault) << row.mName;
        }
    }
}

TEST(KeyTable, SaysWhatABadValueDoes)
{
    for (const KeyRow& row : KEY_TABLE) {
        const bool isRefused = row.mWhenBad != WhenBad::StaysAsItWas;
        EXPECT_EQ(row.mMessage != nullptr, isRefused) << row.mName;
        EXPECT_EQ(row.mStopCode != 0, row.mWhenBad == WhenBad::StopsService) << row.mName;
        EXPECT_EQ(row.mKind == KeyKind::Switch, row.mLowest == 0 && row.mHighest == 1) << row.mName;
    }
}

TEST(KeyTable, IsAskedByExactName)
{
    EXPECT_EQ(FindKey("THHS_VERBOSE")->mName, std::string("THHS_VERBOSE"));
    EXPECT_EQ(FindKey("THHS_VERBOS"), nullptr);
    EXPECT_EQ(FindKey("thhs_verbose"), nullptr);
    EXPECT_EQ(FindKey(""), nullptr);
}
