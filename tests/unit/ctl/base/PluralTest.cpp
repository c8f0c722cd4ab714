#include "base/Plural.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

TEST(Plural, OneHasTheWordAndAnyOtherNumberItsPlural)
{
    EXPECT_EQ(CountNoun(0, "error"), "0 errors");
    EXPECT_EQ(CountNoun(1, "error"), "1 error");
    EXPECT_EQ(CountNoun(2, "error"), "2 errors");
}

TEST(Plural, AWordOfItsOwnForManyCounts)
{
    EXPECT_EQ(CountNoun(1, "pass", "passes"), "1 pass");
    EXPECT_EQ(CountNoun(6, "pass", "passes"), "6 passes");
    EXPECT_EQ(ChooseNoun(false, "it is", "they are"), "they are");
}

} // namespace
} // namespace ctl
