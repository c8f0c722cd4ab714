#include "platform/TextUtilities.h"

#include "platform/UnixHelperFunction.h"
#include "support/NothrowNew.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
const std::string NUL(1, '\0');

class TextUtilities : public testing::Test
{
protected:
    UnixHelperFunction mHelper;
};
} // namespace

// ---- Tokens

namespace
{
struct TokenCase
{
    const char* mName;
    std::string mText;
    int mIndex;
    std::string mDelimiter;
    std::string mToken;
};

class TextUtilitiesToken : public testing::TestWithParam<TokenCase>
{
};

const TokenCase TOKENS[] = {
    {"FirstOfTwoWords", "ab cd", 0, " ", "ab"},
    {"SecondOfTwoWords", "ab cd", 1, " ", "cd"},
    {"PastTheLast", "ab cd", 2, " ", ""},
    {"FarPastTheLast", "ab cd", INT_MAX, " ", ""},
    {"MiddleOfThree", "ab cd ef", 1, " ", "cd"},
    {"WholeTextWithoutDelimiter", "abcd", 0, " ", "abcd"},
    {"NothingAfterAWholeText", "abcd", 1, " ", ""},
    {"BetweenTwoBlanks", "ab  cd", 1, " ", ""},
    {"AfterTwoBlanks", "ab  cd", 2, " ", "cd"},
    {"BeforeALeadingDelimiter", " ab", 0, " ", ""},
    {"AfterALeadingDelimiter", " ab", 1, " ", "ab"},
    {"BeforeATrailingDelimiter", "ab ", 0, " ", "ab"},
    {"AfterATrailingDelimiter", "ab ", 1, " ", ""},
    {"NegativeIndex", "ab cd", -1, " ", ""},
    {"NegativeIndexWithoutDelimiter", "abcd", -1, " ", ""},
    {"LowestIndex", "ab cd", INT_MIN, " ", ""},
    {"OfAnEmptyText", "", 0, " ", ""},
    {"PastAnEmptyText", "", 1, " ", ""},
    {"DelimiterIsAWholeText", "ab:;cd;ef:gh", 1, ":;", "cd;ef:gh"},
    {"DelimiterIsNoSetOfCharacters", "ab;cd:ef", 0, ":;", "ab;cd:ef"},
    {"DelimiterLongerThanTheText", "ab", 0, "abc", "ab"},
    {"TextIsTheDelimiter", "--", 0, "--", ""},
    {"OverlappingDelimitersMatchFromTheLeft", "a---b", 1, "--", "-b"},
    {"TabsAreNoBlanks", "ab\tcd ef", 0, " ", "ab\tcd"},
    {"EmptyDelimiterAtIndexZero", "ab", 0, "", ""},
    {"EmptyDelimiterEndsToo", "ab", 3, "", ""},
    {"NulIsText", "a" + NUL + "b c", 0, " ", "a" + NUL + "b"},
};
} // namespace

TEST_P(TextUtilitiesToken, IsWhatStandsBetweenTheDelimiters)
{
    const TokenCase& token = GetParam();
    EXPECT_EQ(UnixHelperFunction().GetToken(token.mText, token.mIndex, token.mDelimiter), token.mToken);
}

INSTANTIATE_TEST_SUITE_P(All, TextUtilitiesToken, testing::ValuesIn(TOKENS),
                         [](const auto& test) { return test.param.mName; });

TEST_F(TextUtilities, FindATokenAfterAMegabyte)
{
    const std::string word(1 << 20, 'x');
    EXPECT_EQ(mHelper.GetToken(word + " second", 1, " "), "second");
    EXPECT_EQ(mHelper.GetToken(word + " second", 0, " "), word);
}

// ---- Numbers

namespace
{
struct NumberCase
{
    const char* mName;
    const char* mText;
    std::int64_t mLong;
    int mInt; ///< what is left of it in 32 bits
    double mDouble;
};

class TextUtilitiesNumber : public testing::TestWithParam<NumberCase>
{
};

constexpr NumberCase NUMBERS[] = {
    {"Zero", "0", 0, 0, 0.0},
    {"Positive", "4711", 4711, 4711, 4711.0},
    {"Negative", "-12", -12, -12, -12.0},
    {"Plus", "+5", 5, 5, 5.0},
    {"LeadingZeros", "007", 7, 7, 7.0},
    {"TabBefore", "\t9", 9, 9, 9.0},
    {"LettersAfter", "12abc", 12, 12, 12.0},
    {"LettersAlone", "abc", 0, 0, 0.0},
    {"Fraction", "0.5", 0, 0, 0.5},
    {"Percent", "99.9", 99, 99, 99.9},
    {"Exponent", "1e3", 1, 1, 1000.0},
    {"Empty", "", 0, 0, 0.0},
    {"HighestInt", "2147483647", 2147483647, 2147483647, 2147483647.0},
    {"AboveTheHighestInt", "2147483648", 2147483648, INT_MIN, 2147483648.0},
    {"AboveThirtyTwoBits", "4294967297", 4294967297, 1, 4294967297.0},
    {"AboveTheHighestLong", "99999999999999999999", INT64_MAX, -1, 1e20},
    {"BelowTheLowestLong", "-99999999999999999999", INT64_MIN, 0, -1e20},
};
} // namespace

TEST_P(TextUtilitiesNumber, IsTheValueOfTheLeadingDigits)
{
    const NumberCase& number = GetParam();
    const std::string text = "word:" + std::string(number.mText);
    UnixHelperFunction helper;
    EXPECT_EQ(helper.GetPid(text, 1, ":"), number.mInt);
    EXPECT_EQ(helper.GetIntValue(text, 1, ":"), number.mInt);
    EXPECT_EQ(helper.GetLongValue(text, 1, ":"), number.mLong);
    EXPECT_EQ(helper.GetDoubleValue(text, 1, ":"), number.mDouble);
}

INSTANTIATE_TEST_SUITE_P(All, TextUtilitiesNumber, testing::ValuesIn(NUMBERS),
                         [](const auto& test) { return test.param.mName; });

TEST_F(TextUtilities, ReadAMissingTokenAsZeroAndNotAsMinusOne)
{
    EXPECT_EQ(mHelper.GetPid("one", 1, " "), 0);
    EXPECT_EQ(mHelper.GetIntValue("one", 1, " "), 0);
    EXPECT_EQ(mHelper.GetLongValue("one", 1, " "), 0);
    EXPECT_EQ(mHelper.GetDoubleValue("one", 1, " "), 0.0);
}

// ---- Parts of a path

namespace
{
struct PathCase
{
    const char* mName;
    const char* mToken;
    const char* mBase;
    const char* mDirectory;
};

class TextUtilitiesPath : public testing::TestWithParam<PathCase>
{
};

constexpr PathCase PATHS[] = {
    {"Absolute", "/usr/tarnv/bin/exampled", "exampled", "/usr/tarnv/bin"},
    {"BareWord", "exampled", "exampled", "."},
    {"InTheCurrentFolder", "./exampled", "exampled", "."},
    {"InTheRoot", "/exampled", "exampled", "/"},
    {"TrailingSlash", "/usr/lib/", "lib", "/usr"},
    {"DoubleSlash", "/usr//lib", "lib", "/usr"},
    {"Root", "/", "/", "/"},
    {"Dot", ".", ".", "."},
    {"DotDot", "..", "..", "."},
    {"KernelThread", "[kworker/0:1]", "0:1]", "[kworker"},
    {"LoginShell", "-sh", "-sh", "."},
    {"NotUtf8", "\xff\xfe/\x80", "\x80", "\xff\xfe"},
    {"Empty", "", "", ""},
};
} // namespace

TEST_P(TextUtilitiesPath, IsSplitIntoNameAndDirectory)
{
    const std::string text = "4711 " + std::string(GetParam().mToken) + " --option /usr/tarnv/x";
    UnixHelperFunction helper;
    EXPECT_EQ(helper.GetProcName(text, 1, " "), GetParam().mBase);
    EXPECT_EQ(helper.GetProcDir(text, 1, " "), GetParam().mDirectory);
}

INSTANTIATE_TEST_SUITE_P(All, TextUtilitiesPath, testing::ValuesIn(PATHS),
                         [](const auto& test) { return test.param.mName; });

TEST_F(TextUtilities, HaveNoPathPartsOfAMissingToken)
{
    EXPECT_EQ(mHelper.GetProcName("4711", 1, " "), "");
    EXPECT_EQ(mHelper.GetProcDir("4711", 1, " "), "");
}

TEST_F(TextUtilities, ReachTokensThroughTheVirtualTable)
{
    struct TokensAreSeven : UnixHelperFunction
    {
        std::string GetToken(std::string /*text*/, int /*index*/, std::string /*delimiter*/) override
        {
            return "/run/7";
        }
    } helper;
    EXPECT_EQ(helper.GetProcName("", 0, ""), "7");
    EXPECT_EQ(helper.GetProcDir("", 0, ""), "/run");
    struct NumbersAreSeven : UnixHelperFunction
    {
        std::string GetToken(std::string /*text*/, int /*index*/, std::string /*delimiter*/) override
        {
            return "7.5";
        }
    } numbers;
    EXPECT_EQ(numbers.GetPid("", 0, ""), 7);
    EXPECT_EQ(numbers.GetIntValue("", 0, ""), 7);
    EXPECT_EQ(numbers.GetLongValue("", 0, ""), 7);
    EXPECT_EQ(numbers.GetDoubleValue("", 0, ""), 7.5);
}

// ---- Blanks and line ends

namespace
{
struct BlankCase
{
    const char* mName;
    std::string mText;
    std::string mTrimmed;
    std::string mSingle; ///< each run of blanks reduced to one
};

class TextUtilitiesBlanks : public testing::TestWithParam<BlankCase>
{
};

const BlankCase BLANKS[] = {
    {"NoBlanks", "word", "word", "word"},
    {"Around", "  word ", "word", " word "},
    {"Inside", " two  words", "two  words", " two words"},
    {"Everywhere", "  a   b ", "a   b", " a b "},
    {"Empty", "", "", ""},
    {"OneBlank", " ", " ", " "},
    {"ThreeBlanks", "   ", "   ", " "},
    {"TabFirst", "\t  x", "\t  x", "\t x"},
    {"LineFeedLast", "x  \n", "x  \n", "x \n"},
    {"LineFeedAlone", " \n ", "\n", " \n "},
    {"LineFeedInside", "a \n b", "a \n b", "a \n b"},
    {"OtherWhiteSpace", "\r\v\f", "\r\v\f", "\r\v\f"},
    {"NulAlone", " " + NUL + " ", NUL, " "},
    {"NulInside", " ab" + NUL + "  cd ", "ab" + NUL + "  cd", " ab"},
};
} // namespace

TEST_P(TextUtilitiesBlanks, AreRemovedFromTheEndsUnlessThereIsNothingElse)
{
    EXPECT_EQ(UnixHelperFunction().trim(GetParam().mText), GetParam().mTrimmed);
}

TEST_P(TextUtilitiesBlanks, AreReducedToOneUpToTheFirstNul)
{
    EXPECT_EQ(UnixHelperFunction().RemoveConsecutiveSpaces(GetParam().mText), GetParam().mSingle);
}

INSTANTIATE_TEST_SUITE_P(All, TextUtilitiesBlanks, testing::ValuesIn(BLANKS),
                         [](const auto& test) { return test.param.mName; });

TEST_F(TextUtilities, ReduceAMegabyteOfBlanks)
{
    EXPECT_EQ(mHelper.RemoveConsecutiveSpaces("a" + std::string(1 << 20, ' ') + "b"), "a b");
}

TEST_F(TextUtilities, YieldNothingWhenThereIsNoMemoryForTheReducedText)
{
    const NothrowNewFails noMemory;
    EXPECT_EQ(mHelper.RemoveConsecutiveSpaces("a b"), "");
}

TEST_F(TextUtilities, JoinLinesWithoutASeparator)
{
    EXPECT_EQ(mHelper.RemoveEOL("one\ntwo\n\nthree\n"), "onetwothree");
    EXPECT_EQ(mHelper.RemoveEOL("\n"), "");
    EXPECT_EQ(mHelper.RemoveEOL(""), "");
}

TEST_F(TextUtilities, KeepEverythingButLineFeeds)
{
    EXPECT_EQ(mHelper.RemoveEOL("one\r\ntwo\t " + NUL + "x"), "one\rtwo\t " + NUL + "x");
}

// ---- Case

TEST_F(TextUtilities, CompareToTrueWhenTextsDiffer)
{
    for (const char* const other : {"", "WOR", "WORDS", "sword", "w0rd"}) {
        EXPECT_TRUE(CompareIgnoreCase("word", other)) << other;
        EXPECT_TRUE(CompareIgnoreCase(other, "word")) << other;
        EXPECT_TRUE(mHelper.CompareIgnoreCase("word", other)) << other;
        EXPECT_TRUE(mHelper.CompareIgnoreCase(other, "word")) << other;
    }
    EXPECT_TRUE(CompareIgnoreCase("a" + NUL + "b", "a" + NUL + "c"));
}

TEST_F(TextUtilities, CompareToFalseWhenTextsAreEqualButForCase)
{
    for (const char* const other : {"word", "WORD", "wOrD"}) {
        EXPECT_FALSE(CompareIgnoreCase("Word", other)) << other;
        EXPECT_FALSE(mHelper.CompareIgnoreCase("Word", other)) << other;
    }
    EXPECT_FALSE(CompareIgnoreCase("", ""));
    EXPECT_FALSE(mHelper.CompareIgnoreCase("", ""));
}

TEST_F(TextUtilities, LeaveTheComparedTextsAlone)
{
    const std::string capitals = "WORD";
    (void)CompareIgnoreCase(capitals, capitals); // only for what it does to its arguments
    EXPECT_EQ(capitals, "WORD");
}

TEST_F(TextUtilities, LowerCaseInPlaceWithoutTouchingOtherBytes)
{
    std::string text = "-START_1[Z]\xc4\xff" + NUL + "A";
    mHelper.ToLowerCase(text);
    EXPECT_EQ(text, "-start_1[z]\xc4\xff" + NUL + "a");
}

// ---- Fixed texts

TEST_F(TextUtilities, NameEveryJavaProcessJava)
{
    std::string name = "something";
    mHelper.GetJavaProcessOSName(name);
    EXPECT_EQ(name, "java");
}

TEST_F(TextUtilities, RedirectToTheUnquotedFile)
{
    EXPECT_EQ(mHelper.RedirectCommand("tool -x", "/tmp/a b", true, false), "tool -x >> /tmp/a b");
    EXPECT_EQ(mHelper.RedirectCommand("tool -x", "/tmp/file", true, true), "tool -x >> /tmp/file 2>&1 ");
    EXPECT_EQ(mHelper.RedirectCommand("tool -x", "/tmp/file", false, false), "tool -x > /tmp/file");
    EXPECT_EQ(mHelper.RedirectCommand("tool -x", "/tmp/file", false, true), "tool -x > /tmp/file 2>&1 ");
    EXPECT_EQ(mHelper.RedirectCommand("", "", true, false), " >> ");
}
