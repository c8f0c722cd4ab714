#include "StoreText.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace
{

/** One line as a text: "3 KEY|value" for an entry, "3 empty", or "3 skipped: reason". */
std::string Describe(const StoreLine& line)
{
    const std::string number = std::to_string(line.mNumber) + " ";
    if (line.mKind == StoreLineKind::Entry) {
        return number + std::string(line.mKey) + "|" + std::string(line.mValue);
    }
    const char* const reason = GetSkipReason(line.mKind);
    return number + (reason == nullptr ? "empty"s : "skipped: "s + reason);
}

std::vector<std::string> Parse(const std::string& text)
{
    std::vector<std::string> lines;
    ForEachStoreLine(text, [&](const StoreLine& line) { lines.push_back(Describe(line)); });
    return lines;
}

const std::string NO_EQUALS_SIGN = " skipped: it has no equals sign";
const std::string EMPTY_KEY = " skipped: its key is empty";
const std::string NUL_BYTE = " skipped: it holds a NUL byte";

struct LineCase
{
    std::string name;
    std::string text;
    std::vector<std::string> lines;

    friend void PrintTo(const LineCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class StoreTextLine : public testing::TestWithParam<LineCase>
{
};

TEST_P(StoreTextLine, IsParsedAsItsRuleSays)
{
    EXPECT_EQ(Parse(GetParam().text), GetParam().lines);
}

template <typename Case>
std::string GetName(const testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Entries, StoreTextLine,
    testing::Values(
        LineCase{"Plain", "KEY=value\n", {"1 KEY|value"}},
        LineCase{"BlanksAround", " \tKEY \t= \tvalue\t \n", {"1 KEY|value"}},
        LineCase{"BlanksWithinStay", "A KEY = a  value\there\n", {"1 A KEY|a  value\there"}},
        LineCase{"OtherWhiteSpaceStays", "KEY=\vvalue\f\n", {"1 KEY|\vvalue\f"}},
        LineCase{"EmptyValue", "KEY=\n", {"1 KEY|"}}, LineCase{"BlankValue", "KEY = \t\n", {"1 KEY|"}},
        LineCase{"EqualsSignInTheValue", "KEY=a=b==\n", {"1 KEY|a=b=="}},
        LineCase{"HashInTheValue", "KEY=a#b #c\n", {"1 KEY|a#b #c"}},
        LineCase{"HashAsTheValue", "KEY=#\n", {"1 KEY|#"}},
        LineCase{"HashWithinTheKey", "K#EY=a\n", {"1 K#EY|a"}},
        LineCase{"QuotesAreNothingSpecial", "KEY=\"a\"\n", {"1 KEY|\"a\""}},
        LineCase{"BackslashAtTheEndJoinsNothing", "A=b\\\nC=d\n", {"1 A|b\\", "2 C|d"}},
        LineCase{"CaseOfTheKeyStays", "key=1\nKEY=2\n", {"1 key|1", "2 KEY|2"}},
        LineCase{"BytesBeyondAscii", "K\xC3\xA9Y=\xFF\xFE\x01\x7F\n", {"1 K\xC3\xA9Y|\xFF\xFE\x01\x7F"}}),
    GetName<LineCase>);

INSTANTIATE_TEST_SUITE_P(
    LineEnds, StoreTextLine,
    testing::Values(LineCase{"NoFinalNewline", "A=1\nB=2", {"1 A|1", "2 B|2"}},
                    LineCase{"FinalNewlineMakesNoLine", "A=1\n", {"1 A|1"}},
                    LineCase{"CarriageReturns", "A=1\r\n\r\nB=2\r\n", {"1 A|1", "2 empty", "3 B|2"}},
                    LineCase{"CarriageReturnAfterBlanks", "A=1 \r\n", {"1 A|1"}},
                    LineCase{"CarriageReturnAtTheEndOfTheFile", "A=1\r", {"1 A|1"}},
                    LineCase{"OnlyOneCarriageReturnGoes", "A=1\r\r\n", {"1 A|1\r"}},
                    LineCase{"CarriageReturnWithinStays", "A=1\rB=2\n", {"1 A|1\rB=2"}},
                    LineCase{"EmptyText", "", {}}, LineCase{"OneNewline", "\n", {"1 empty"}}),
    GetName<LineCase>);

INSTANTIATE_TEST_SUITE_P(
    EmptyLines, StoreTextLine,
    testing::Values(LineCase{"Blank", " \t \nA=1\n", {"1 empty", "2 A|1"}},
                    LineCase{"Comment", "# A=1\n", {"1 empty"}},
                    LineCase{"CommentAfterBlanks", " \t#A=1\n", {"1 empty"}},
                    LineCase{"BareHash", "#\n", {"1 empty"}},
                    LineCase{"CommentDoesNotReachTheNextLine", "#\\\nA=1\n", {"1 empty", "2 A|1"}}),
    GetName<LineCase>);

INSTANTIATE_TEST_SUITE_P(
    SkippedLines, StoreTextLine,
    testing::Values(
        LineCase{"NoEqualsSign", "A=1\nnonsense\nB=2\n", {"1 A|1", "2" + NO_EQUALS_SIGN, "3 B|2"}},
        LineCase{"NoEqualsSignAtTheEnd", "A=1\nB", {"1 A|1", "2" + NO_EQUALS_SIGN}},
        LineCase{"EmptyKey", "A=1\n=x\nB=2\n", {"1 A|1", "2" + EMPTY_KEY, "3 B|2"}},
        LineCase{"BlankKey", " \t = x\n", {"1" + EMPTY_KEY}},
        LineCase{"BareEqualsSign", "=\n", {"1" + EMPTY_KEY}},
        LineCase{"NulInTheValue", "A=1\nB=\0x\nC=3\n"s, {"1 A|1", "2" + NUL_BYTE, "3 C|3"}},
        LineCase{"NulInTheKey", "A\0=1\n"s, {"1" + NUL_BYTE}},
        LineCase{"NulAtTheEndOfTheLine", "A=1\0\nB=2\n"s, {"1" + NUL_BYTE, "2 B|2"}},
        LineCase{"NulInAComment", "#\0\nB=2\n"s, {"1" + NUL_BYTE, "2 B|2"}},
        LineCase{"NulAlone", "\0"s, {"1" + NUL_BYTE}},
        LineCase{"NulBeforeNoEqualsSign", "a\0b\n"s, {"1" + NUL_BYTE}}),
    GetName<LineCase>);

INSTANTIATE_TEST_SUITE_P(
    ByteOrderMarks, StoreTextLine,
    testing::Values(LineCase{"BeforeTheFirstKey", "\xEF\xBB\xBFKEY=1\n", {"1 KEY|1"}},
                    LineCase{"BeforeAComment", "\xEF\xBB\xBF# KEY=1\n", {"1 empty"}},
                    LineCase{"Alone", "\xEF\xBB\xBF", {}},
                    LineCase{"OnlyTheFirstGoes", "\xEF\xBB\xBF\xEF\xBB\xBF=1\n", {"1 \xEF\xBB\xBF|1"}},
                    LineCase{"NotInALaterLine",
                             "A=1\n\xEF\xBB\xBF"
                             "B=2\n",
                             {"1 A|1", "2 \xEF\xBB\xBF"
                                       "B|2"}},
                    LineCase{"HalfOfOneStays", "\xEF\xBB=1\n", {"1 \xEF\xBB|1"}}),
    GetName<LineCase>);

TEST(StoreText, NumbersTheLinesOfAVeryLongText)
{
    std::string text;
    for (int number = 0; number < 99'999; ++number) {
        text += "\n";
    }
    text += "nonsense";
    const std::vector<std::string> lines = Parse(text);
    ASSERT_EQ(lines.size(), 100'000u);
    EXPECT_EQ(lines.back(), "100000" + NO_EQUALS_SIGN);
}

TEST(StoreText, GivesNoReasonForALineThatIsNotSkipped)
{
    EXPECT_EQ(GetSkipReason(StoreLineKind::Entry), nullptr);
    EXPECT_EQ(GetSkipReason(StoreLineKind::Empty), nullptr);
}

struct NumberCase
{
    std::string name;
    std::string text;
    std::optional<int> number;

    friend void PrintTo(const NumberCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class StoreTextNumber : public testing::TestWithParam<NumberCase>
{
};

TEST_P(StoreTextNumber, IsReadWholeOrNotAtAll)
{
    EXPECT_EQ(ParseStoreNumber(GetParam().text), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Numbers, StoreTextNumber,
                         testing::Values(NumberCase{"Zero", "0", 0}, NumberCase{"Plain", "600", 600},
                                         NumberCase{"PlusSign", "+7", 7}, NumberCase{"MinusSign", "-7", -7},
                                         NumberCase{"MinusZero", "-0", 0},
                                         NumberCase{"LeadingZerosAreDecimal", "010", 10},
                                         NumberCase{"ManyLeadingZeros", "0000000000000000000000000000001", 1},
                                         NumberCase{"Largest", "2147483647", 2147483647},
                                         NumberCase{"LargestWithPlusSign", "+2147483647", 2147483647},
                                         NumberCase{"Smallest", "-2147483648", -2147483647 - 1}),
                         GetName<NumberCase>);

INSTANTIATE_TEST_SUITE_P(
    NoNumbers, StoreTextNumber,
    testing::Values(NumberCase{"Empty", "", {}}, NumberCase{"OneTooLarge", "2147483648", {}},
                    NumberCase{"OneTooSmall", "-2147483649", {}},
                    NumberCase{"FarTooLarge", "99999999999999999999999999", {}},
                    NumberCase{"Word", "abc", {}}, NumberCase{"WordAfterIt", "12x", {}},
                    NumberCase{"WordBeforeIt", "x12", {}}, NumberCase{"BlankAfterIt", "12 ", {}},
                    NumberCase{"BlankBeforeIt", " 12", {}}, NumberCase{"BlankAfterTheSign", "- 12", {}},
                    NumberCase{"BarePlusSign", "+", {}}, NumberCase{"BareMinusSign", "-", {}},
                    NumberCase{"PlusThenMinus", "+-1", {}}, NumberCase{"MinusThenPlus", "-+1", {}},
                    NumberCase{"TwoPlusSigns", "++1", {}}, NumberCase{"TwoMinusSigns", "--1", {}},
                    NumberCase{"Hexadecimal", "0x10", {}}, NumberCase{"Fraction", "1.5", {}},
                    NumberCase{"Exponent", "1e3", {}}, NumberCase{"Thousands", "1,000", {}},
                    NumberCase{"OtherDigits", "\xD9\xA1", {}}),
    GetName<NumberCase>);

} // namespace
