#include "ScanConversion.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace
{

struct GoodCase
{
    std::string name;
    std::string text;
    char kind;
    bool isSuppressed;
    std::size_t width;
    std::size_t numberSize;
    std::string rest; ///< what the parser leaves of the text

    friend void PrintTo(const GoodCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class ScanConversionGood : public testing::TestWithParam<GoodCase>
{
};

TEST_P(ScanConversionGood, IsParsed)
{
    ScanConversion conversion;
    const char* const rest = ParseScanConversion(GetParam().text.c_str(), conversion);
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(conversion.mKind, GetParam().kind);
    EXPECT_EQ(conversion.mIsSuppressed, GetParam().isSuppressed);
    EXPECT_EQ(conversion.mWidth, GetParam().width);
    EXPECT_EQ(conversion.mNumberSize, GetParam().numberSize);
    EXPECT_EQ(rest, GetParam().rest);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ScanConversionGood,
    testing::Values(GoodCase{"Decimal", "d", 'd', false, 0, sizeof(int), ""},
                    GoodCase{"ByPrefix", "i", 'i', false, 0, sizeof(int), ""},
                    GoodCase{"Unsigned", "u", 'u', false, 0, sizeof(int), ""},
                    GoodCase{"Octal", "o", 'o', false, 0, sizeof(int), ""},
                    GoodCase{"Hexadecimal", "x", 'x', false, 0, sizeof(int), ""},
                    GoodCase{"CapitalHexadecimal", "X", 'x', false, 0, sizeof(int), ""},
                    GoodCase{"Word", "s", 's', false, 0, sizeof(int), ""},
                    GoodCase{"Bytes", "c", 'c', false, 0, sizeof(int), ""},
                    GoodCase{"Count", "n", 'n', false, 0, sizeof(int), ""},
                    GoodCase{"Percent", "%", '%', false, 0, sizeof(int), ""},
                    GoodCase{"Char", "hhd", 'd', false, 0, sizeof(char), ""},
                    GoodCase{"Short", "hu", 'u', false, 0, sizeof(short), ""},
                    GoodCase{"Long", "lx", 'x', false, 0, sizeof(long), ""},
                    GoodCase{"LongLong", "llo", 'o', false, 0, sizeof(long long), ""},
                    GoodCase{"Widest", "ji", 'i', false, 0, sizeof(intmax_t), ""},
                    GoodCase{"Size", "zu", 'u', false, 0, sizeof(std::size_t), ""},
                    GoodCase{"Difference", "td", 'd', false, 0, sizeof(std::ptrdiff_t), ""},
                    GoodCase{"LongCount", "ln", 'n', false, 0, sizeof(long), ""},
                    GoodCase{"Suppressed", "*s", 's', true, 0, sizeof(int), ""},
                    GoodCase{"Width", "17s", 's', false, 17, sizeof(int), ""},
                    GoodCase{"WidthOfAllDigits", "1234567890s", 's', false, 1234567890, sizeof(int), ""},
                    GoodCase{"WidthWithLeadingZero", "05d", 'd', false, 5, sizeof(int), ""},
                    GoodCase{"LargestWidth", "2147483647s", 's', false, 2147483647, sizeof(int), ""},
                    GoodCase{"AllAtOnce", "*12lld", 'd', true, 12, sizeof(long long), ""},
                    GoodCase{"LeavesWhatFollows", "d %s", 'd', false, 0, sizeof(int), " %s"}),
    [](const auto& test) { return test.param.name; });

TEST(ScanConversionBad, IsRefused)
{
    // As one test: some of these texts would make bad names.
    for (const char* const text : {"",      "*",           "5",
                                   "l",     "hh",          "f",
                                   "e",     "g",           "a",
                                   "p",     "S",           "C",
                                   "D",     "ms",          "1$d",
                                   "'d",    "0d",          "00s",
                                   "ls",    "lc",          "l[a]",
                                   "hs",    "l%",          "Ld",
                                   "**d",   "5*d",         "-5d",
                                   "hhhd",  "llld",        " d",
                                   "[",     "[abc",        "[^",
                                   "[]",    "[^]",         "[a-",
                                   "[]abc", "2147483648d", "99999999999999999999999d"}) {
        ScanConversion conversion;
        EXPECT_EQ(ParseScanConversion(text, conversion), nullptr) << text;
    }
}

/** The bytes of a set, in order. */
std::string GetSet(const char* text)
{
    ScanConversion conversion;
    const char* const rest = ParseScanConversion(text, conversion);
    EXPECT_STREQ(rest, "|") << text;
    std::string bytes;
    for (std::size_t byte = 0; byte < conversion.mSet.size(); ++byte) {
        if (conversion.mSet[byte]) {
            bytes += static_cast<char>(byte);
        }
    }
    return bytes;
}

TEST(ScanConversionSet, HoldsTheBytesThatStandInIt)
{
    EXPECT_EQ(GetSet("[cab]|"), "abc");
    EXPECT_EQ(GetSet("[a%[b]|"), "%[ab");
}

TEST(ScanConversionSet, HoldsRanges)
{
    EXPECT_EQ(GetSet("[a-e]|"), "abcde");
    EXPECT_EQ(GetSet("[0-3x-z]|"), "0123xyz");
    EXPECT_EQ(GetSet("[a-a]|"), "a");
}

TEST(ScanConversionSet, HoldsNothingForARangeThatRunsBackwards)
{
    EXPECT_EQ(GetSet("[z-ab]|"), "b");
}

TEST(ScanConversionSet, TakesAHyphenAtEitherEndAsItself)
{
    EXPECT_EQ(GetSet("[-a]|"), "-a");
    EXPECT_EQ(GetSet("[a-]|"), "-a");
    EXPECT_EQ(GetSet("[-]|"), "-");
}

TEST(ScanConversionSet, TakesAClosingBracketThatComesFirstAsItself)
{
    EXPECT_EQ(GetSet("[]a]|"), "]a");
    EXPECT_EQ(GetSet("[]]|"), "]");
    EXPECT_EQ(GetSet("[^]a]|").size(), 254u);
}

TEST(ScanConversionSet, IsInvertedAfterACaret)
{
    const std::string bytes = GetSet("[^a-c]|");
    EXPECT_EQ(bytes.size(), 253u);
    EXPECT_EQ(bytes.find_first_of("abc"), std::string::npos);
    EXPECT_NE(bytes.find('\0'), std::string::npos);
    EXPECT_NE(bytes.find('\xFF'), std::string::npos);
}

TEST(ScanConversionSet, TakesACaretThatDoesNotComeFirstAsItself)
{
    EXPECT_EQ(GetSet("[a^]|"), "^a");
}

TEST(ScanConversionSet, HoldsBytesBeyondAscii)
{
    EXPECT_EQ(GetSet("[\xFE-\xFF]|"), "\xFE\xFF");
}

TEST(ScanConversion, ForgetsTheConversionBefore)
{
    ScanConversion conversion;
    ASSERT_NE(ParseScanConversion("*5[a]", conversion), nullptr);
    ASSERT_NE(ParseScanConversion("d", conversion), nullptr);
    EXPECT_FALSE(conversion.mIsSuppressed);
    EXPECT_EQ(conversion.mWidth, 0u);
    EXPECT_TRUE(conversion.mSet.none());
}

} // namespace
