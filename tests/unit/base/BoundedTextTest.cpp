#include "base/BoundedText.h"

#include <gtest/gtest.h>

TEST(BoundedText, FormatsAsPrintfDoes)
{
    EXPECT_EQ(FormatBounded(MESSAGE_SIZE, "%s of %d is %5.1f%%", "use", -7, 12.34), "use of -7 is  12.3%");
}

TEST(BoundedText, LeavesAShortTextWhole)
{
    EXPECT_EQ(FormatBounded(5, "%s", "abcd"), "abcd");
    EXPECT_EQ(FormatBounded(5, "%s", ""), "");
}

TEST(BoundedText, CutsALongTextToTheBufferAndItsNul)
{
    EXPECT_EQ(FormatBounded(4, "%s", "abcd"), "abc");
    EXPECT_EQ(FormatBounded(1, "%s", "abcd"), "");
    EXPECT_EQ(FormatBounded(MESSAGE_SIZE, "%s", std::string(5000, 'x').c_str()), std::string(1023, 'x'));
}

TEST(BoundedText, EndsAtTheFirstNul)
{
    EXPECT_EQ(FormatBounded(8, "ab%ccd", '\0'), "ab");
}
