#include "config/ConfigurationValueReaders.h"

#include "config/ConfigurationMgr.h"
#include "config/SettingsFixture.h"
#include "platform/UnixHelperFunction.h"
#include "support/HelperSeam.h"
#include "thbase.h"

#include <limits>
#include <ostream>

namespace
{
constexpr char KEY[] = "THHS_DUMP_COUNT";
constexpr char NOT_DEFINED[] = "THHS_DUMP_COUNT not defined in Tarnhaven configuration.";
constexpr char UNAUTHORIZED[] = "There are unauthorized characters detected in the input. Returning Error.";
constexpr int UNUSUAL = 228; ///< one of the store's other codes

class ReadInteger : public SettingsFixture
{
protected:
    /** Reads KEY into mValue, keeping result and console. */
    void Read()
    {
        mConsole = GetConsole([this] { mResult = ReadIntegerValue(KEY, mValue); });
    }

    int mValue = 4711;
    int mResult = -1;
    std::string mConsole;
};

TEST_F(ReadInteger, StoresTheNumberSilently)
{
    mConfig->mVerbose = 1;
    for (const int number :
         {0, 1, -1, 11, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        GetStore().mValues[KEY] = std::to_string(number);
        Read();
        EXPECT_EQ(mResult, 0);
        EXPECT_EQ(mValue, number); // no range is tested
        EXPECT_EQ(mConsole, "");
    }
    EXPECT_EQ(GetLogLines(), Lines());
    EXPECT_EQ(GetStore().mHandles, 6) << "the handle is asked for anew by each read";
}

TEST_F(ReadInteger, LeavesTheFieldOfAnAbsentKey)
{
    Read();
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mValue, 4711);
    EXPECT_EQ(mConsole, "");
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ReadInteger, TracesAnAbsentKeyWhenVerbose)
{
    mConfig->mVerbose = 1;
    Read();
    EXPECT_EQ(mConsole, "");
    EXPECT_EQ(GetLogLines(), Lines{NOT_DEFINED});
}

TEST_F(ReadInteger, ReportsAValueThatIsNoNumber)
{
    for (const char* const text : {"abc", "", "1.5", "12x", "2147483648", "99999999999999999999"}) {
        ForgetLog();
        GetStore().mValues[KEY] = text;
        Read();
        EXPECT_EQ(mResult, 101) << text;
        EXPECT_EQ(mValue, 4711) << text;
        EXPECT_EQ(mConsole, "Invalid numeric value for THHS_DUMP_COUNT key in Tarnhaven configuration.\n");
        EXPECT_EQ(GetLogLines(),
                  Lines{"Invalid numeric value for THHS_DUMP_COUNT key in Tarnhaven configuration."});
    }
}

TEST_F(ReadInteger, LeavesTheFieldWhereTheStoreGivesANumberAndFails)
{
    GetStore().mValues[KEY] = "5";
    for (const int code : {STORE_RC_NOT_FOUND, STORE_RC_NOT_NUMERIC, UNUSUAL}) {
        GetStore().mResults[KEY] = code;
        Read();
        EXPECT_EQ(mValue, 4711) << code;
        EXPECT_NE(mResult, 0) << code;
    }
}

TEST_F(ReadInteger, TreatsAnyOtherCodeAsAnAbsentKeySilently)
{
    mConfig->mVerbose = 1;
    GetStore().mValues[KEY] = "5";
    for (const int code : {UNUSUAL, 1, -1, 222, 224, 226}) {
        GetStore().mResults[KEY] = code;
        Read();
        EXPECT_EQ(mResult, 103) << code;
        EXPECT_EQ(mValue, 4711) << code;
        EXPECT_EQ(mConsole, "");
    }
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ReadInteger, CutsTheMessageAtTheSizeOfItsBuffer)
{
    const std::string longKey(2000, 'K');
    GetStore().mValues[longKey] = "abc";
    int value = 0;
    const std::string console = GetConsole([&] { EXPECT_EQ(ReadIntegerValue(longKey.c_str(), value), 101); });
    EXPECT_EQ(console, "Invalid numeric value for " + std::string(1023 - 26, 'K') + "\n");
    EXPECT_EQ(GetLogLines(), Lines{console.substr(0, 1023)});
}

class ReadString : public SettingsFixture
{
protected:
    void Read()
    {
        mConsole = GetConsole([this] { mCopy = ReadStringValue("THHS_JDK_HOME", mValue, mResult); });
    }

    std::string mValue = "of the load before";
    std::string mCopy = "unset";
    int mResult = -1;
    std::string mConsole;
};

TEST_F(ReadString, StoresAndReturnsTheText)
{
    GetStore().mValues["THHS_JDK_HOME"] = "/opt/jdk";
    Read();
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mValue, "/opt/jdk");
    EXPECT_EQ(mCopy, "/opt/jdk");
    EXPECT_EQ(mConsole, "");
    EXPECT_EQ(GetLogLines(), Lines());
    EXPECT_EQ(GetStore().mHandles, 1);
}

TEST_F(ReadString, HasEmptiedTheFieldWhenItAsksTheStore)
{
    std::string during = "not asked";
    GetStore().mOnRead = [&](const std::string&) { during = mValue; };
    GetStore().mValues["THHS_JDK_HOME"] = "/opt/jdk";
    Read();
    EXPECT_EQ(during, "");
}

TEST_F(ReadString, FreesTheTextOfTheStoreWhateverItIs)
{
    for (const char* const text : {"/opt/jdk", "", "a;b"}) {
        GetStore().mFreedTexts = 0;
        GetStore().mValues["THHS_JDK_HOME"] = text;
        Read();
        EXPECT_EQ(GetStore().mFreedTexts, 1) << text;
    }
}

TEST_F(ReadString, IgnoresATextThatComesWithTheCodeOfAnAbsentKey)
{
    mConfig->mVerbose = 1;
    GetStore().mValues["THHS_JDK_HOME"] = "/opt/jdk";
    GetStore().mResults["THHS_JDK_HOME"] = STORE_RC_NOT_FOUND;
    Read();
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mValue, "");
    EXPECT_EQ(mCopy, "");
    EXPECT_EQ(GetLogLines(), Lines{"THHS_JDK_HOME not defined in Tarnhaven configuration."});
    EXPECT_EQ(GetStore().mFreedTexts, 0) << "what an absent key brings is not the reader's";
    FreeDeliveredText();
}

TEST_F(ReadString, TakesAnEmptyTextForAValue)
{
    GetStore().mValues["THHS_JDK_HOME"] = "";
    Read();
    EXPECT_EQ(mResult, 0);
    EXPECT_EQ(mValue, "");
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ReadString, EmptiesTheFieldOfAKeyThatHasGone)
{
    Read();
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mValue, "");
    EXPECT_EQ(mCopy, "");
    EXPECT_EQ(mConsole, "");
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ReadString, TracesAnAbsentKeyWhenVerbose)
{
    mConfig->mVerbose = 1;
    Read();
    EXPECT_EQ(GetLogLines(), Lines{"THHS_JDK_HOME not defined in Tarnhaven configuration."});
}

TEST_F(ReadString, TreatsAnUnusualCodeWithoutATextAsAnAbsentKey)
{
    mConfig->mVerbose = 1;
    GetStore().mResults["THHS_JDK_HOME"] = UNUSUAL;
    Read();
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mValue, "");
    EXPECT_EQ(GetLogLines(), Lines{"THHS_JDK_HOME not defined in Tarnhaven configuration."});
}

TEST_F(ReadString, KeepsATextThatCameWithAnUnusualCodeButDoesNotCallItRead)
{
    mConfig->mVerbose = 1;
    GetStore().mValues["THHS_JDK_HOME"] = "/opt/jdk";
    GetStore().mResults["THHS_JDK_HOME"] = UNUSUAL;
    Read();
    EXPECT_EQ(mResult, 103);
    EXPECT_EQ(mValue, "/opt/jdk");
    EXPECT_EQ(mCopy, "/opt/jdk");
    EXPECT_EQ(GetLogLines(), Lines());
}

TEST_F(ReadString, KeepsARejectedText)
{
    GetStore().mValues["THHS_JDK_HOME"] = "/opt/a;b";
    Read();
    EXPECT_EQ(mResult, 102);
    EXPECT_EQ(mValue, "/opt/a;b");
    EXPECT_EQ(mCopy, "/opt/a;b");
    EXPECT_EQ(mConsole, "There are invalid characters in the input for THHS_JDK_HOME.\n");
    EXPECT_EQ(GetLogLines(),
              (Lines{"There are non alpha numeric characters in the input ';'. Returning Error.",
                     "There are invalid characters in the input for THHS_JDK_HOME."}));
}

TEST_F(ReadString, RejectsATextAlsoWhenItCameWithAnUnusualCode)
{
    GetStore().mValues["THHS_JDK_HOME"] = "a*";
    GetStore().mResults["THHS_JDK_HOME"] = UNUSUAL;
    Read();
    EXPECT_EQ(mResult, 102);
    EXPECT_EQ(mValue, "a*");
    EXPECT_EQ(GetLogLines(),
              (Lines{UNAUTHORIZED, "There are invalid characters in the input for THHS_JDK_HOME."}));
}

TEST_F(ReadString, TakesATextOfAnyLength)
{
    const std::string text = "/" + std::string(1 << 20, 'x');
    GetStore().mValues["THHS_JDK_HOME"] = text;
    Read();
    EXPECT_EQ(mResult, 0);
    EXPECT_TRUE(mValue == text);
    EXPECT_TRUE(mCopy == text);
}

struct FilterRow
{
    const char* mName;
    std::string mText;
    const char* mLine; ///< null for a text that may be used

    friend void PrintTo(const FilterRow& row, std::ostream* out) { *out << row.mName; }
};

class InputFilter : public SettingsFixture, public testing::WithParamInterface<FilterRow>
{
};

TEST_P(InputFilter, AnswersAndNamesTheReason)
{
    const FilterRow& row = GetParam();
    bool isAllowed = false;
    EXPECT_EQ(GetConsole([&] { isAllowed = ValidateInputForSpecialChars(row.mText); }), "");
    EXPECT_EQ(isAllowed, row.mLine == nullptr);
    EXPECT_EQ(GetLogLines(), row.mLine == nullptr ? Lines() : Lines{row.mLine});
}

constexpr char BAD_SEMICOLON[] = "There are non alpha numeric characters in the input ';'. Returning Error.";
constexpr char BAD_QUESTION[] = "There are non alpha numeric characters in the input '?'. Returning Error.";
constexpr char BAD_HIGH_BYTE[] =
    "There are non alpha numeric characters in the input '\xe4'. Returning Error.";

INSTANTIATE_TEST_SUITE_P(
    Texts, InputFilter,
    testing::Values(
        FilterRow{"Nothing", "", nullptr}, FilterRow{"APath", "/var/log/a.b", nullptr},
        FilterRow{"EveryLetter", "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ", nullptr},
        FilterRow{"EveryDigit", "0123456789", nullptr},
        FilterRow{"EveryOtherAllowedCharacter", "@_.\\/-:, \t", nullptr},
        FilterRow{"SingleDots", ".a.b.", nullptr}, FilterRow{"AList", "thwmc:90, tbrd : 75", nullptr},
        FilterRow{"ALongText", std::string(100000, 'x'), nullptr},
        FilterRow{"TheFolderAbove", "/var/../x", UNAUTHORIZED},
        FilterRow{"TheFolderAboveInAnotherManner", "..\\x", UNAUTHORIZED},
        FilterRow{"TwoDots", "a..b", UNAUTHORIZED}, FilterRow{"AStarAtTheEnd", "a*", UNAUTHORIZED},
        FilterRow{"AStarAfterABadCharacter", ";*", UNAUTHORIZED},
        FilterRow{"ADotAndAQuestionMark", "a.?", UNAUTHORIZED},
        FilterRow{"AQuestionMarkAlone", "a?", BAD_QUESTION}, FilterRow{"ASemicolon", "a;b", BAD_SEMICOLON},
        FilterRow{"TheFirstOfSeveral", "ok;?$", BAD_SEMICOLON},
        FilterRow{"AtTheEndOfALongText", std::string(100000, 'x') + ";", BAD_SEMICOLON},
        FilterRow{"AHighByte", "\xe4", BAD_HIGH_BYTE}),
    NameOfRow());

TEST_F(ReadString, LetsNoOtherByteThrough)
{
    const std::string allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789@_.\\/-:, \t";
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(ValidateInputForSpecialChars(text), allowed.find(text) != std::string::npos) << byte;
    }
}

TEST_F(ReadString, NamesEveryOtherCharacter)
{
    const std::string quiet = "@_.\\/-:, \t\n*"; // allowed, the end of a log line, and what is a sequence
    for (int byte = 1; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        if ((byte < 128 && isalnum(byte) != 0) || quiet.find(character) != std::string::npos) {
            continue;
        }
        ForgetLog();
        EXPECT_FALSE(ValidateInputForSpecialChars(std::string("K") + character + "B"));
        EXPECT_EQ(GetLogLines(), Lines{std::string("There are non alpha numeric characters in the input '") +
                                       character + "'. Returning Error."});
    }
}

TEST(UnauthorizedStrings, AreFoundAnywhere)
{
    for (const char* const text :
         {"..\\", "../", "..", "*", ".?", "x..", "..x", "a*b", "a.?b", "...", "?.?"}) {
        EXPECT_TRUE(CheckForUnauthorizedStrings(text)) << text;
    }
}

TEST(UnauthorizedStrings, AreNotFoundWhereTheyAreNot)
{
    for (const char* const text : {"", ".", "./", ".\\", "?", "?.", ". .", "a;b", "/a.b/c.d"}) {
        EXPECT_FALSE(CheckForUnauthorizedStrings(text)) << text;
    }
}

struct TupleRow
{
    const char* mName;
    const char* mTuple;
    const char* mKey;
    int mValue;

    friend void PrintTo(const TupleRow& row, std::ostream* out) { *out << row.mName; }
};

class TupleSplitter : public testing::TestWithParam<TupleRow>
{
};

TEST_P(TupleSplitter, GivesNameAndNumber)
{
    const TupleRow& row = GetParam();
    std::string key = "of the element before";
    int value = 4711;
    GetKeyValueFromStringTouple(row.mTuple, ":", key, value);
    EXPECT_EQ(key, row.mKey);
    EXPECT_EQ(value, row.mValue);
}

INSTANTIATE_TEST_SUITE_P(
    Tuples, TupleSplitter,
    testing::Values(TupleRow{"Usual", "tbrd:75", "tbrd", 75},
                    TupleRow{"Blanks", "  tbrd  :  75  ", "tbrd", 75}, TupleRow{"NameAlone", "name", "", -1},
                    TupleRow{"Empty", "", "", -1}, TupleRow{"NoNumber", "name:", "name", -1},
                    TupleRow{"NoName", ":5", "", 5}, TupleRow{"DelimiterAlone", ":", "", -1},
                    TupleRow{"TextForANumber", "a:abc", "a", 0},
                    TupleRow{"NumberWithATail", "a:12x", "a", 12}, TupleRow{"Negative", "a:-1", "a", -1},
                    TupleRow{"OnlyTheFirstDelimiterSplits", "a:1:2", "a", 1},
                    TupleRow{"NameStaysWithASecondDelimiter", "a::2", "a", 0},
                    TupleRow{"TabsStayWithTheName", "\ta\t:\t7", "\ta\t", 7},
                    TupleRow{"BlanksInsideANameStay", "a b:7", "a b", 7},
                    TupleRow{"ABlankNameIsTakenAsItIs", " :7", " ", 7},
                    TupleRow{"ABlankNumberIsZero", "a: ", "a", 0},
                    TupleRow{"LargestNumber", "a:2147483647", "a", 2147483647},
                    TupleRow{"CutToThirtyTwoBits", "a:4294967346", "a", 50},
                    TupleRow{"CutBelowZero", "a:2147483648", "a", std::numeric_limits<int>::min()},
                    TupleRow{"PastAllBits", "a:99999999999999999999", "a", -1}),
    NameOfRow());

TEST(TupleSplitter, TakesTheDelimiterForOneCharacterLong)
{
    std::string key;
    int value = 0;
    GetKeyValueFromStringTouple("a=>5", "=>", key, value);
    EXPECT_EQ(key, "a");
    EXPECT_EQ(value, 0); // of ">5"
}

struct ListRow
{
    const char* mName;
    const char* mInput;
    Lines mElements;

    friend void PrintTo(const ListRow& row, std::ostream* out) { *out << row.mName; }
};

class ListSplitter : public testing::TestWithParam<ListRow>
{
};

TEST_P(ListSplitter, GivesTheElementsInOrder)
{
    Lines elements = {"of the list before"};
    GetVectorFromString(GetParam().mInput, ",", elements);
    EXPECT_EQ(elements, GetParam().mElements);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, ListSplitter,
    testing::Values(ListRow{"Usual", "a:1, b:2", {"a:1", "b:2"}}, ListRow{"One", "a", {"a"}},
                    ListRow{"Empty", "", {}}, ListRow{"DelimiterAtTheEnd", "a:1, b:2,", {"a:1", "b:2"}},
                    ListRow{"DelimiterAtTheStart", ",a", {"", "a"}}, ListRow{"DelimiterAlone", ",", {""}},
                    ListRow{"TwoInARow", "a,,b", {"a", "", "b"}}, ListRow{"BlanksAlone", "   ", {"   "}},
                    ListRow{"BlanksAfterTheLastDelimiter", "a, ", {"a", " "}},
                    ListRow{"BlanksBetween", "a, ,b", {"a", " ", "b"}},
                    ListRow{"TabsStay", "\ta\t, b\t", {"\ta\t", "b\t"}}),
    NameOfRow());

TEST(ListSplitter, TakesTheDelimiterForOneCharacterLong)
{
    Lines elements;
    GetVectorFromString("a=>b", "=>", elements);
    EXPECT_EQ(elements, (Lines{"a", ">b"}));
}

TEST(ListSplitter, TakesAListOfAnyLength)
{
    std::string input;
    for (int element = 0; element < 10000; ++element) {
        input += std::to_string(element) + " , ";
    }
    Lines elements;
    GetVectorFromString(input, ",", elements);
    ASSERT_EQ(elements.size(), 10001U); // and the blank at the end
    EXPECT_EQ(elements[9999], "9999");
}

TEST(Splitters, SplitNothingWithoutAHelper)
{
    GetHelperSeam().mMake = [] { return nullptr; };
    std::string key = "of the element before";
    int value = 7;
    GetKeyValueFromStringTouple("a:5", ":", key, value);
    EXPECT_EQ(key, "");
    EXPECT_EQ(value, -1);
    Lines elements = {"of the list before"};
    GetVectorFromString("a,b", ",", elements);
    EXPECT_EQ(elements, Lines());
    GetHelperSeam().mMake = nullptr;
}

/** A helper that is counted while it lives. */
class CountedHelper : public UnixHelperFunction
{
public:
    explicit CountedHelper(int& count) : mCount(count) { ++mCount; }
    ~CountedHelper() override { --mCount; }

private:
    int& mCount;
};

TEST(Splitters, UseOneHelperEachAndFreeIt)
{
    int made = 0;
    int alive = 0;
    GetHelperSeam().mMake = [&] {
        ++made;
        return new CountedHelper(alive);
    };
    std::string key;
    int value = 0;
    for (const char* const text : {"", "a", "a:1", "a:1,b:2"}) {
        GetKeyValueFromStringTouple(text, ":", key, value);
    }
    Lines elements;
    GetVectorFromString("a,b,c", ",", elements);
    GetHelperSeam() = {};
    EXPECT_EQ(made, 5);
    EXPECT_EQ(alive, 0);
}
} // namespace
