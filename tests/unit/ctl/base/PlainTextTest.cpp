#include "base/PlainText.h"

#include <gtest/gtest.h>

using ctl::CountColumns;
using ctl::EscapeControls;
using ctl::ToUtf8;

TEST(EscapedText, ShowsWhatATerminalWouldActOn)
{
    EXPECT_EQ(EscapeControls("a\033[2Jb\n\tc\rd\x7f"), "a\\x1B[2Jb\\n\\tc\\x0Dd\\x7F");
    EXPECT_EQ(EscapeControls(std::string_view("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(EscapeControls("\xC2\x9B"), "\\u{009B}") << "a C1 control in UTF-8";
    EXPECT_EQ(EscapeControls("\xE2\x80\xAE"), "\\u{202E}") << "writing from right to left";
    EXPECT_EQ(EscapeControls("C:\\new"), "C:\\\\new")
        << "an escape is never taken for a text that looks like one";
}

TEST(EscapedText, KeepsLettersOfAnyScript)
{
    EXPECT_EQ(EscapeControls("Gr\xC3\xBC\xC3\x9F \xE6\x97\xA5 \xF0\x9F\x98\x80"),
              "Gr\xC3\xBC\xC3\x9F \xE6\x97\xA5 \xF0\x9F\x98\x80");
}

TEST(EscapedText, ShowsBytesThatAreNoUtf8)
{
    EXPECT_EQ(EscapeControls("\xFF\xC3"), "\\xFF\\xC3");
    EXPECT_EQ(EscapeControls("\xC0\xAF"), "\\xC0\\xAF") << "a slash in two bytes";
    EXPECT_EQ(EscapeControls("\xED\xA0\x80"), "\\xED\\xA0\\x80") << "half a pair";
}

TEST(Utf8Text, ReplacesBadBytesAlone)
{
    EXPECT_EQ(ToUtf8("a\xFF\xC3\xBC"), "a\xEF\xBF\xBD\xC3\xBC");
}

TEST(Columns, AreCharactersAndNotBytes)
{
    EXPECT_EQ(CountColumns("Gr\xC3\xBC"), 3U);
}
