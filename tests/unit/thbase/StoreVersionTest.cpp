#include "StoreVersion.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

#include <gtest/gtest.h>

#include "RepeatText.h"

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

TEST(StoreVersion, DistinguishesAnEmptyValueFromAMissingKey)
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

/** Two keys whose hashes have the same low 32 bits, which are what a version compares first. */
std::pair<std::string, std::string> FindKeysOfOneHash()
{
    std::unordered_map<std::uint32_t, std::string> seen;
    for (int number = 0;; ++number) {
        std::string key = "KEY_" + std::to_string(number);
        const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>()(key));
        const auto [place, isNew] = seen.try_emplace(hash, key);
        if (!isNew) {
            return {place->second, std::move(key)};
        }
    }
}

TEST(StoreVersion, DistinguishesKeysOfOneHash)
{
    const auto [first, second] = FindKeysOfOneHash();
    const StoreVersion version(first + " = 1\n" + second + " = 2\n");
    EXPECT_EQ(version.Find(first), "1");
    EXPECT_EQ(version.Find(second), "2");
    EXPECT_EQ(StoreVersion(first + " = 1\n").Find(second), std::nullopt);
}

TEST(StoreVersion, NamesTheFirstTwentySkippedLinesAndCountsTheOthers)
{
    const StoreVersion version("A = 1\n" + RepeatText("= 2\nB = 3\n", 25));
    ASSERT_EQ(version.GetNamedSkippedLines().size(), 20u);
    EXPECT_EQ(version.GetNamedSkippedLines().front().mNumber, 2u);
    EXPECT_EQ(version.GetNamedSkippedLines().back().mNumber, 40u);
    EXPECT_EQ(version.GetNamedSkippedLines().back().mKind, StoreLineKind::EmptyKey);
    EXPECT_EQ(version.GetOtherSkippedLines(), 5u);
}

TEST(StoreVersion, LetsAnEmptyValueBeTheLast)
{
    EXPECT_EQ(StoreVersion("A = 1\nA =\n").Find("A"), "");
}

TEST(StoreVersion, DoesNotLetASkippedLineBeTheLast)
{
    EXPECT_EQ(StoreVersion(std::string("A = 1\nA = \0 2\nA\n", 16)).Find("A"), "1");
}

TEST(StoreVersion, DistinguishesKeysByCase)
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
    for (int number = 0; number < 100'000; number += 99) { // a look-up walks them one by one
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
