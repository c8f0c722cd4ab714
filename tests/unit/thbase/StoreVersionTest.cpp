#include "StoreVersion.h"

#include <string>

#include <gtest/gtest.h>

namespace
{

TEST(StoreVersion, GivesTheValueOfAKey)
{
    const StoreVersion version("A = 1\nB = two words\n");
    EXPECT_EQ(version.Find("A"), "1");
    EXPECT_EQ(version.Find("B"), "two words");
}

TEST(StoreVersion, GivesNothingForAKeyThatIsNotThere)
{
    const StoreVersion version("AB = 1\n# C = 2\nnonsense\n");
    EXPECT_EQ(version.Find("A"), std::nullopt);
    EXPECT_EQ(version.Find("ABC"), std::nullopt);
    EXPECT_EQ(version.Find("C"), std::nullopt);
    EXPECT_EQ(version.Find("nonsense"), std::nullopt);
    EXPECT_EQ(version.Find(""), std::nullopt);
}

TEST(StoreVersion, TellsAnEmptyValueFromAMissingKey)
{
    const StoreVersion version("A =\n");
    EXPECT_EQ(version.Find("A"), "");
    EXPECT_EQ(version.Find("B"), std::nullopt);
}

TEST(StoreVersion, CountsTheLastOfAKeyThatComesTwice)
{
    const StoreVersion version("A = 1\nB = 2\nA = 3\n");
    EXPECT_EQ(version.Find("A"), "3");
    EXPECT_EQ(version.Find("B"), "2");
}

TEST(StoreVersion, LetsAnEmptyValueBeTheLast)
{
    EXPECT_EQ(StoreVersion("A = 1\nA =\n").Find("A"), "");
}

TEST(StoreVersion, DoesNotLetASkippedLineBeTheLast)
{
    EXPECT_EQ(StoreVersion(std::string("A = 1\nA = \0 2\nA\n", 16)).Find("A"), "1");
}

TEST(StoreVersion, TellsKeysApartByCase)
{
    const StoreVersion version("Key = 1\nKEY = 2\n");
    EXPECT_EQ(version.Find("Key"), "1");
    EXPECT_EQ(version.Find("KEY"), "2");
    EXPECT_EQ(version.Find("key"), std::nullopt);
}

TEST(StoreVersion, KeepsItsTextToTheByte)
{
    const std::string text("\xEF\xBB\xBF"
                           "A = 1\r\n\0\n",
                           12);
    EXPECT_EQ(StoreVersion(text).GetText(), text);
}

TEST(StoreVersion, HoldsAHundredThousandKeys)
{
    std::string text;
    for (int number = 0; number < 100'000; ++number) {
        text += "KEY_" + std::to_string(number) + " = " + std::to_string(7 * number) + "\n";
    }
    const StoreVersion version(text);
    for (int number = 0; number < 100'000; ++number) {
        ASSERT_EQ(version.Find("KEY_" + std::to_string(number)), std::to_string(7 * number));
    }
    EXPECT_EQ(version.Find("KEY_100000"), std::nullopt);
}

TEST(StoreVersion, HoldsLinesOf64KibibytesAndMore)
{
    const std::string longKey(65'536, 'k');
    const std::string longValue(65'536, 'v');
    const std::string veryLongValue(8'000'000, 'w');
    const StoreVersion version("A = 1\n" + longKey + " = " + longValue + "\nB = " + veryLongValue +
                               "\nC = 3");
    EXPECT_EQ(version.Find(longKey), longValue);
    EXPECT_EQ(version.Find("B"), veryLongValue);
    EXPECT_EQ(version.Find("A"), "1");
    EXPECT_EQ(version.Find("C"), "3");
}

TEST(StoreVersion, FindsTheEntriesBetweenBinaryBytes)
{
    std::string everyByte;
    for (int byte = 255; byte >= 0; --byte) {
        everyByte += static_cast<char>(byte);
    }
    const StoreVersion version("A = 1\n" + everyByte + "\nB = 2\n" + everyByte + everyByte);
    EXPECT_EQ(version.Find("A"), "1");
    EXPECT_EQ(version.Find("B"), "2");
}

} // namespace
