#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>

#include <unistd.h>

#include <gtest/gtest.h>

#include "ScannedText.h"

namespace
{

constexpr int UNTOUCHED = 4711;

TEST(BoundedScan, ReadsAProcessIdWithoutALineEnd)
{
    int pid = -1;
    EXPECT_EQ(ScannedText("12345").Scan("%d", &pid, 4), 1);
    EXPECT_EQ(pid, 12345);
}

TEST(BoundedScan, LeavesTheDestinationAloneWhenTheTextIsNoNumber)
{
    int pid = -1;
    EXPECT_EQ(ScannedText("abc").Scan("%d", &pid, 4), 0);
    EXPECT_EQ(pid, -1);
}

TEST(BoundedScan, ReportsTheEndOfTheFile)
{
    int pid = -1;
    EXPECT_EQ(ScannedText("").Scan("%d", &pid, 4), -1);
    EXPECT_EQ(ScannedText(" \n\t").Scan("%d", &pid, 4), -1);
    EXPECT_EQ(pid, -1);
}

struct NumberCase
{
    std::string name;
    std::string text;
    const char* format;
    int conversions;
    int value;
    std::string rest;

    friend void PrintTo(const NumberCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class BoundedScanNumber : public testing::TestWithParam<NumberCase>
{
};

TEST_P(BoundedScanNumber, IsConvertedOrLeftAlone)
{
    ScannedText text(GetParam().text);
    int value = UNTOUCHED;
    EXPECT_EQ(text.Scan(GetParam().format, &value, 4), GetParam().conversions);
    EXPECT_EQ(value, GetParam().value);
    EXPECT_EQ(text.TakeRest(), GetParam().rest);
}

template <typename Case>
std::string GetName(const testing::TestParamInfo<Case>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Decimal, BoundedScanNumber,
    testing::Values(
        NumberCase{"Zero", "0", "%d", 1, 0, ""}, NumberCase{"BlanksBefore", " \t\n\v\f\r7", "%d", 1, 7, ""},
        NumberCase{"TextAfter", "12x", "%d", 1, 12, "x"},
        NumberCase{"LineEndAfter", "12\n", "%d", 1, 12, "\n"}, NumberCase{"Minus", "-12", "%d", 1, -12, ""},
        NumberCase{"Plus", "+12", "%d", 1, 12, ""}, NumberCase{"LeadingZeros", "0012", "%d", 1, 12, ""},
        NumberCase{"NoPrefix", "0x12", "%d", 1, 0, "x12"}, NumberCase{"Width", "12345", "%3d", 1, 123, "45"},
        NumberCase{"SignWithinWidth", "-12345", "%3d", 1, -12, "345"},
        NumberCase{"BlanksOutsideWidth", "   12345", "%3d", 1, 123, "45"},
        NumberCase{"Largest", "2147483647", "%d", 1, 2147483647, ""},
        NumberCase{"Smallest", "-2147483648", "%d", 1, std::numeric_limits<int>::min(), ""}),
    GetName<NumberCase>);

INSTANTIATE_TEST_SUITE_P(
    NoDecimal, BoundedScanNumber,
    testing::Values(NumberCase{"OneTooLarge", "2147483648 x", "%d", 0, UNTOUCHED, " x"},
                    NumberCase{"OneTooSmall", "-2147483649 x", "%d", 0, UNTOUCHED, " x"},
                    NumberCase{"BeyondAllTypes", "99999999999999999999999999999999999999 x", "%d", 0,
                               UNTOUCHED, " x"},
                    NumberCase{"JustBeyondAllTypes", "18446744073709551616", "%d", 0, UNTOUCHED, ""},
                    NumberCase{"BareSign", "-", "%d", 0, UNTOUCHED, ""},
                    NumberCase{"SignAndText", "-a", "%d", 0, UNTOUCHED, "a"},
                    NumberCase{"SignAndBlank", "- 1", "%d", 0, UNTOUCHED, " 1"},
                    NumberCase{"TwoSigns", "--1", "%d", 0, UNTOUCHED, "-1"},
                    NumberCase{"SignFillsTheWidth", "-1", "%1d", 0, UNTOUCHED, "1"},
                    NumberCase{"SignFillsTheWidthBeforeAZero", "-0", "%1i", 0, UNTOUCHED, "0"},
                    NumberCase{"Text", " a", "%d", 0, UNTOUCHED, "a"}),
    GetName<NumberCase>);

INSTANTIATE_TEST_SUITE_P(
    OtherBases, BoundedScanNumber,
    testing::Values(NumberCase{"Hexadecimal", "fFg", "%x", 1, 255, "g"},
                    NumberCase{"HexadecimalLowestLetters", "aA`@", "%x", 1, 170, "`@"},
                    NumberCase{"HexadecimalWithPrefix", "0xff", "%x", 1, 255, ""},
                    NumberCase{"HexadecimalWithCapitalPrefix", "0XFF", "%X", 1, 255, ""},
                    NumberCase{"HexadecimalZero", "0", "%x", 1, 0, ""},
                    NumberCase{"HexadecimalZeroThenText", "0g", "%x", 1, 0, "g"},
                    NumberCase{"PrefixWithoutDigits", "0xg", "%x", 0, UNTOUCHED, "g"},
                    NumberCase{"PrefixAtTheEnd", "0x", "%i", 0, UNTOUCHED, ""},
                    NumberCase{"WidthCutsThePrefix", "0x1", "%1x", 1, 0, "x1"},
                    NumberCase{"WidthEndsAfterThePrefix", "0x1", "%2x", 0, UNTOUCHED, "1"},
                    NumberCase{"WidthCountsThePrefix", "0x12", "%3i", 1, 1, "2"},
                    NumberCase{"Octal", "0178", "%o", 1, 15, "8"},
                    NumberCase{"OctalWithoutZero", "17", "%o", 1, 15, ""},
                    NumberCase{"ByPrefixDecimal", "19", "%i", 1, 19, ""},
                    NumberCase{"ByPrefixOctal", "0178", "%i", 1, 15, "8"},
                    NumberCase{"ByPrefixHexadecimal", "-0x10", "%i", 1, -16, ""},
                    NumberCase{"ByPrefixZero", "0", "%i", 1, 0, ""},
                    NumberCase{"ByPrefixTooLarge", "0x80000000", "%i", 0, UNTOUCHED, ""},
                    NumberCase{"HexadecimalTooLarge", "100000000", "%x", 0, UNTOUCHED, ""},
                    NumberCase{"HexadecimalLargest", "ffffffff", "%x", 1, -1, ""},
                    NumberCase{"UnsignedLargest", "4294967295", "%u", 1, -1, ""},
                    NumberCase{"UnsignedTooLarge", "4294967296", "%u", 0, UNTOUCHED, ""},
                    NumberCase{"UnsignedNegative", "-1", "%u", 0, UNTOUCHED, ""},
                    NumberCase{"UnsignedMinusZero", "-0", "%u", 1, 0, ""},
                    NumberCase{"UnsignedPlus", "+5", "%u", 1, 5, ""}),
    GetName<NumberCase>);

/**
 * Checks that `format` converts the limits of `Type`, and neither what lies one beyond them nor a wrong
 * size.
 */
template <typename Type>
void CheckLimits(const char* format, const std::string& smallest, const std::string& largest,
                 const std::string& tooSmall, const std::string& tooLarge)
{
    constexpr int SIZE = sizeof(Type);
    constexpr Type START = 42;
    std::array<Type, 2> values = {START, START}; // the second one shows a write past the first
    EXPECT_EQ(ScannedText(smallest).Scan(format, values.data(), SIZE), 1) << format;
    EXPECT_EQ(values[0], std::numeric_limits<Type>::min()) << format;
    EXPECT_EQ(ScannedText(largest).Scan(format, values.data(), SIZE), 1) << format;
    EXPECT_EQ(values[0], std::numeric_limits<Type>::max()) << format;
    values[0] = START;
    EXPECT_EQ(ScannedText(tooSmall).Scan(format, values.data(), SIZE), 0) << format;
    EXPECT_EQ(ScannedText(tooLarge).Scan(format, values.data(), SIZE), 0) << format;
    for (const int wrongSize : {SIZE - 1, SIZE + 1, 0, -SIZE, 2 * SIZE, std::numeric_limits<int>::max()}) {
        ScannedText text("1");
        EXPECT_EQ(text.Scan(format, values.data(), wrongSize), 0) << format << " " << wrongSize;
        EXPECT_EQ(text.TakeRest(), "1");
    }
    EXPECT_EQ(values[0], START) << format;
    EXPECT_EQ(values[1], START) << format;
}

TEST(BoundedScanLimits, HoldForEachSignedType)
{
    CheckLimits<int8_t>("%hhd", "-128", "127", "-129", "128");
    CheckLimits<int16_t>("%hd", "-32768", "32767", "-32769", "32768");
    CheckLimits<int32_t>("%d", "-2147483648", "2147483647", "-2147483649", "2147483648");
    for (const char* const format : {"%ld", "%lld", "%jd", "%td", "%zd", "%li"}) {
        CheckLimits<int64_t>(format, "-9223372036854775808", "9223372036854775807", "-9223372036854775809",
                             "9223372036854775808");
    }
}

TEST(BoundedScanLimits, HoldForEachUnsignedType)
{
    CheckLimits<uint8_t>("%hhu", "0", "255", "-1", "256");
    CheckLimits<uint16_t>("%hx", "0", "ffff", "-1", "10000");
    CheckLimits<uint32_t>("%o", "0", "37777777777", "-1", "40000000000");
    for (const char* const format : {"%lu", "%llu", "%ju", "%tu", "%zu"}) {
        CheckLimits<uint64_t>(format, "0", "18446744073709551615", "-1", "18446744073709551616");
    }
}

struct TextCase
{
    std::string name;
    std::string text;
    const char* format;
    int size;
    int conversions;
    std::string written; ///< the whole buffer of 8 bytes, which starts as "########"
    std::string rest;

    friend void PrintTo(const TextCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class BoundedScanText : public testing::TestWithParam<TextCase>
{
};

TEST_P(BoundedScanText, IsWrittenWithinItsSize)
{
    ScannedText text(GetParam().text);
    std::string buffer(8, '#');
    EXPECT_EQ(text.Scan(GetParam().format, buffer.data(), GetParam().size), GetParam().conversions);
    std::replace(buffer.begin(), buffer.end(), '\0', '0');
    EXPECT_EQ(buffer, GetParam().written);
    EXPECT_EQ(text.TakeRest(), GetParam().rest);
}

INSTANTIATE_TEST_SUITE_P(
    Words, BoundedScanText,
    testing::Values(TextCase{"Fits", "abc", "%s", 8, 1, "abc0####", ""},
                    TextCase{"StopsAtABlank", " abc d", "%s", 8, 1, "abc0####", " d"},
                    TextCase{"FitsExactly", "abc", "%s", 4, 1, "abc0####", ""},
                    TextCase{"IsCut", "abcdef g", "%s", 4, 1, "abc0####", " g"},
                    TextCase{"IsCutToNothing", "abc d", "%s", 1, 1, "0#######", " d"},
                    TextCase{"WidthLeavesTheRest", "abcdef", "%3s", 8, 1, "abc0####", "def"},
                    TextCase{"WidthAndCut", "abcdef", "%5s", 4, 1, "abc0####", "f"},
                    TextCase{"WidthLargerThanTheWord", "abc d", "%7s", 8, 1, "abc0####", " d"},
                    TextCase{"BytesBeyondAscii", "\xFF\x80z", "%s", 8, 1, "\xFF\x80z0####", ""},
                    TextCase{"NoSize", "abc", "%s", 0, 0, "########", "abc"},
                    TextCase{"NegativeSize", "abc", "%s", -8, 0, "########", "abc"},
                    TextCase{"EndOfFile", "  ", "%s", 8, -1, "########", ""}),
    GetName<TextCase>);

INSTANTIATE_TEST_SUITE_P(
    Sets, BoundedScanText,
    testing::Values(TextCase{"Fits", "abcd", "%[a-c]", 8, 1, "abc0####", "d"},
                    TextCase{"BlanksCount", " a", "%[ a]", 8, 1, " a0#####", ""},
                    TextCase{"BlanksAreNotSkipped", " a", "%[a]", 8, 0, "########", " a"},
                    TextCase{"TurnedRound", "ab\ncd", "%[^\n]", 8, 1, "ab0#####", "\ncd"},
                    TextCase{"IsCut", "aaaaaaaab", "%[a]", 3, 1, "aa0#####", "b"},
                    TextCase{"Width", "aaab", "%2[a]", 8, 1, "aa0#####", "ab"},
                    TextCase{"NothingFits", "b", "%[a]", 8, 0, "########", "b"},
                    TextCase{"EndOfFile", "", "%[a]", 8, -1, "########", ""},
                    TextCase{"NoSize", "a", "%[a]", 0, 0, "########", "a"},
                    TextCase{"NeverEnds", "a", "%[a", 8, 0, "########", "a"}),
    GetName<TextCase>);

INSTANTIATE_TEST_SUITE_P(Bytes, BoundedScanText,
                         testing::Values(TextCase{"One", "ab", "%c", 8, 1, "a#######", "b"},
                                         TextCase{"BlanksAreNotSkipped", " b", "%c", 8, 1, " #######", "b"},
                                         TextCase{"Several", "abcde", "%3c", 8, 1, "abc#####", "de"},
                                         TextCase{"FillTheSize", "abcde", "%3c", 3, 1, "abc#####", "de"},
                                         TextCase{"MoreThanTheSize", "abcde", "%3c", 2, 0, "########",
                                                  "abcde"},
                                         TextCase{"NoSize", "a", "%c", 0, 0, "########", "a"},
                                         TextCase{"TooFew", "ab", "%3c", 8, -1, "ab######", ""},
                                         TextCase{"EndOfFile", "", "%c", 8, -1, "########", ""}),
                         GetName<TextCase>);

TEST(BoundedScan, ReadsSeveralConversions)
{
    ScannedText text("user = root, id 0x1f; done");
    std::array<char, 8> name = {};
    unsigned id = 0;
    EXPECT_EQ(text.Scan("user = %[a-z], id %x; %*s", name.data(), 8, &id, 4), 2);
    EXPECT_STREQ(name.data(), "root");
    EXPECT_EQ(id, 0x1fu);
    EXPECT_EQ(text.TakeRest(), "");
}

TEST(BoundedScan, ContinuesAfterATextThatWasCut)
{
    std::array<char, 3> word = {};
    int number = UNTOUCHED;
    EXPECT_EQ(ScannedText("averylongword 7").Scan("%s %d", word.data(), 3, &number, 4), 2);
    EXPECT_STREQ(word.data(), "av");
    EXPECT_EQ(number, 7);
}

TEST(BoundedScan, CountsTheConversionsBeforeTheOneThatFails)
{
    int first = UNTOUCHED;
    int second = UNTOUCHED;
    int third = UNTOUCHED;
    EXPECT_EQ(ScannedText("1 x 3").Scan("%d %d %d", &first, 4, &second, 4, &third, 4), 1);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, UNTOUCHED);
    EXPECT_EQ(third, UNTOUCHED);
}

TEST(BoundedScan, CountsTheConversionsBeforeTheEndOfTheFile)
{
    int first = UNTOUCHED;
    int second = UNTOUCHED;
    EXPECT_EQ(ScannedText("1 ").Scan("%d%d", &first, 4, &second, 4), 1);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, UNTOUCHED);
}

TEST(BoundedScan, EndsAtASizeThatDoesNotFitAndKeepsWhatCameBefore)
{
    int first = UNTOUCHED;
    int64_t second = UNTOUCHED;
    ScannedText text("1 2");
    EXPECT_EQ(text.Scan("%d%d", &first, 4, &second, 8), 1);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, UNTOUCHED);
    EXPECT_EQ(text.TakeRest(), " 2");
}

TEST(BoundedScan, EndsAtASizeThatDoesNotFitAndLeavesWhatFollows)
{
    int64_t first = UNTOUCHED;
    int second = UNTOUCHED;
    ScannedText text("1 2");
    EXPECT_EQ(text.Scan("%d%d", &first, 8, &second, 4), 0);
    EXPECT_EQ(first, UNTOUCHED);
    EXPECT_EQ(second, UNTOUCHED);
    EXPECT_EQ(text.TakeRest(), "1 2");
}

TEST(BoundedScan, EndsAtANullPointer)
{
    int after = UNTOUCHED;
    ScannedText text("1");
    EXPECT_EQ(text.Scan("%d%d", nullptr, 4, &after, 4), 0);
    EXPECT_EQ(text.Scan("%s%d", nullptr, 8, &after, 4), 0);
    EXPECT_EQ(text.Scan("%c%d", nullptr, 8, &after, 4), 0);
    EXPECT_EQ(text.Scan("%n%d", nullptr, 4, &after, 4), 0);
    EXPECT_EQ(after, UNTOUCHED);
    EXPECT_EQ(text.TakeRest(), "1");
}

TEST(BoundedScan, EndsAtAConversionThatItDoesNotKnow)
{
    int first = UNTOUCHED;
    double second = 0.5;
    ScannedText text("1 2.5");
    EXPECT_EQ(text.Scan("%d %lf", &first, 4, &second, 8), 1);
    EXPECT_EQ(second, 0.5);
    EXPECT_EQ(text.TakeRest(), "2.5");
    EXPECT_EQ(ScannedText("1").Scan("%"), 0);
}

TEST(BoundedScan, DropsWhatASuppressedConversionReads)
{
    int value = UNTOUCHED;
    EXPECT_EQ(ScannedText("12 word xyz777").Scan("%*d %*s %*2c%*[xyz]%d", &value, 4), 1);
    EXPECT_EQ(value, 777);
    EXPECT_EQ(ScannedText("12 x").Scan("%*d"), 0);
    EXPECT_EQ(ScannedText("x").Scan("%*d"), 0);
    EXPECT_EQ(ScannedText("99999999999 5").Scan("%*d %d", &value, 4), 0);
    EXPECT_EQ(ScannedText("").Scan("%*d"), -1);
    EXPECT_EQ(ScannedText("1").Scan("%*n"), 0);
}

TEST(BoundedScan, MatchesAnyBlanksForABlankInTheFormat)
{
    int value = UNTOUCHED;
    EXPECT_EQ(ScannedText("a \t\n b1").Scan("a b%d", &value, 4), 1);
    EXPECT_EQ(ScannedText("ab2").Scan("a\nb%d", &value, 4), 1);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(ScannedText("").Scan(" "), 0);
}

TEST(BoundedScan, MatchesOtherBytesOnlyByThemselves)
{
    int value = UNTOUCHED;
    ScannedText text("ab1");
    EXPECT_EQ(text.Scan("ax%d", &value, 4), 0);
    EXPECT_EQ(text.TakeRest(), "b1");
    EXPECT_EQ(ScannedText("1").Scan("a%d", &value, 4), 0);
    EXPECT_EQ(value, UNTOUCHED);
    EXPECT_EQ(ScannedText("a").Scan("ab%d", &value, 4), -1);
    EXPECT_EQ(ScannedText(" a").Scan("a"), 0);
    EXPECT_EQ(ScannedText("\xFF"
                          "3")
                  .Scan("\xFF%d", &value, 4),
              1);
    EXPECT_EQ(value, 3);
}

TEST(BoundedScan, MatchesAPercentSign)
{
    int value = UNTOUCHED;
    EXPECT_EQ(ScannedText("90 %5").Scan("%d%%%d", &value, 4, &value, 4), 2);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(ScannedText("90x").Scan("%d%%", &value, 4), 1);
}

TEST(BoundedScan, GivesTheCountOfBytesReadSoFar)
{
    int count = UNTOUCHED;
    int value = UNTOUCHED;
    EXPECT_EQ(ScannedText("  12ab").Scan("%d%n", &value, 4, &count, 4), 1);
    EXPECT_EQ(count, 4);
    int64_t longCount = UNTOUCHED;
    EXPECT_EQ(ScannedText("abcd").Scan("%*2c%ln", &longCount, 8), 0);
    EXPECT_EQ(longCount, 2);
    EXPECT_EQ(ScannedText("").Scan("%n", &count, 4), 0);
    EXPECT_EQ(count, 0);
}

TEST(BoundedScan, DoesNotWriteACountThatDoesNotFit)
{
    std::array<int8_t, 2> count = {42, 42};
    EXPECT_EQ(ScannedText(std::string(127, 'a')).Scan("%*s%hhn", count.data(), 1), 0);
    EXPECT_EQ(count[0], 127);
    EXPECT_EQ(ScannedText(std::string(128, 'a')).Scan("%*s%hhn%d", count.data(), 1, &count, 1), 0);
    EXPECT_EQ(count[0], 127);
    EXPECT_EQ(ScannedText("").Scan("%hhn", count.data(), 2), 0);
    EXPECT_EQ(count[1], 42);
}

TEST(BoundedScan, ContinuesWhereTheScanBeforeEnded)
{
    ScannedText text("1 2 x");
    int value = UNTOUCHED;
    EXPECT_EQ(text.Scan("%d", &value, 4), 1);
    EXPECT_EQ(text.Scan("%d", &value, 4), 1);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(text.Scan("%d", &value, 4), 0);
    EXPECT_EQ(text.TakeRest(), "x");
    EXPECT_EQ(text.Scan("%d", &value, 4), -1);
}

TEST(BoundedScan, KeepsOtherThreadsFromItsStreamWhileItReads)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    ScannedText text(fdopen(ends[0], "r"));
    int number = UNTOUCHED;
    std::thread scan([&] { EXPECT_EQ(text.Scan("%d", &number, 4), 1); });
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (text.IsFree() && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(text.IsFree()); // while the reading waits for the writer
    EXPECT_EQ(write(ends[1], "12\n", 3), 3);
    close(ends[1]);
    scan.join();
    EXPECT_EQ(number, 12);
    EXPECT_TRUE(text.IsFree());
}

TEST(BoundedScan, ReportsAFileThatCannotBeReadLikeItsEnd)
{
    std::FILE* const folder = std::fopen("/", "r");
    ASSERT_NE(folder, nullptr);
    const auto scan = [&](const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        const int conversions = BoundedScan(folder, arguments).Run(format);
        va_end(arguments);
        return conversions;
    };
    int value = UNTOUCHED;
    EXPECT_EQ(scan("%d", &value, 4), -1);
    EXPECT_EQ(value, UNTOUCHED);
    EXPECT_NE(std::ferror(folder), 0);
    (void)std::fclose(folder);
}

} // namespace
