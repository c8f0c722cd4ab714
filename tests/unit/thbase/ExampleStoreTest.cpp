#include <climits>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "StoreText.h"
#include "StoreVersion.h"

namespace
{

std::string ReadExample()
{
    std::ifstream file(EXAMPLE_STORE, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** The example with its commented settings in force too. */
std::string TakeOffCommentSigns(std::string text)
{
    std::size_t start = 0;
    while ((start = text.find("\n#", start)) != std::string::npos) {
        ++start;
        const bool isSetting = text[start + 1] == 'T' || text[start + 1] == '_';
        if (isSetting) {
            text.erase(start, 1);
        }
    }
    return text;
}

TEST(ExampleStore, HasNoLineThatIsSkipped)
{
    const std::string text = ReadExample();
    ASSERT_FALSE(text.empty());
    int entries = 0;
    ForEachStoreLine(TakeOffCommentSigns(text), [&](const StoreLine& line) {
        EXPECT_EQ(GetSkipReason(line.mKind), nullptr) << line.mNumber;
        entries += line.mKind == StoreLineKind::Entry ? 1 : 0;
    });
    EXPECT_EQ(entries, 20); // each key once
}

struct NumberKeyCase
{
    std::string name;
    int lowest;
    int highest;
    int value; ///< its default

    friend void PrintTo(const NumberKeyCase& shown, std::ostream* stream) { *stream << shown.name; }
};

class ExampleStoreNumber : public testing::TestWithParam<NumberKeyCase>
{
};

TEST_P(ExampleStoreNumber, IsTheDefaultAndInItsRange)
{
    const StoreVersion version(TakeOffCommentSigns(ReadExample()));
    const std::optional<std::string_view> text = version.Find(GetParam().name);
    ASSERT_TRUE(text.has_value());
    const std::optional<int> number = ParseStoreNumber(*text);
    ASSERT_TRUE(number.has_value());
    EXPECT_EQ(*number, GetParam().value);
    EXPECT_GE(*number, GetParam().lowest);
    EXPECT_LE(*number, GetParam().highest);
}

INSTANTIATE_TEST_SUITE_P(Keys, ExampleStoreNumber,
                         testing::Values(NumberKeyCase{"THHS_POLL_INTERVAL", 1, INT_MAX, 600},
                                         NumberKeyCase{"THHS_DUMP_COUNT", 1, 10, 3},
                                         NumberKeyCase{"THHS_CAPTURE_NETWORK_STAT", 0, 1, 1},
                                         NumberKeyCase{"THHS_DEADLOCK_INTERVAL", 1, INT_MAX, 60},
                                         NumberKeyCase{"THHS_INCREASE_LOG_LEVEL", 0, 1, 0},
                                         NumberKeyCase{"THHS_CAPTURE_PROCESS_DUMP", 0, 1, 0},
                                         NumberKeyCase{"THHS_ALWAYS_DUMP", 0, 1, 0},
                                         NumberKeyCase{"THHS_CAPTURE_DISK_IO", 0, 1, 1},
                                         NumberKeyCase{"_FORCE_READING_INTERVAL_", INT_MIN, INT_MAX, 0},
                                         NumberKeyCase{"THHS_NUMBER_OF_READINGS", 1, INT_MAX, 50},
                                         NumberKeyCase{"THHS_READING_INTERVAL", 1, INT_MAX, 5},
                                         NumberKeyCase{"THHS_PURGE_OLD_EVIDENCE", 0, 1, 0},
                                         NumberKeyCase{"THHS_CAPTURE_WITHOUT_THRESHOLD", 0, 1, 0},
                                         NumberKeyCase{"THHS_VERBOSE", 0, 1, 0}),
                         [](const auto& test) { return test.param.name; });

TEST(ExampleStore, KeepsItsReadingsWithinThePollInterval)
{
    const StoreVersion version(ReadExample());
    const auto getNumber = [&](const char* key) {
        return ParseStoreNumber(version.Find(key).value()).value();
    };
    EXPECT_LT(getNumber("THHS_NUMBER_OF_READINGS") * getNumber("THHS_READING_INTERVAL"),
              getNumber("THHS_POLL_INTERVAL"));
}

TEST(ExampleStore, HoldsTextsThatMayStandThere)
{
    const StoreVersion version(TakeOffCommentSigns(ReadExample()));
    for (const char* const key : {"THHS_MEMORY_UNIT", "THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY",
                                  "THHS_MONITOR_DEADLOCK", "THHS_JDK_HOME", "THHS_EVIDENCE_PATH"}) {
        const std::string text(version.Find(key).value_or(""));
        EXPECT_FALSE(text.empty()) << key;
        EXPECT_EQ(text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                         "@_.\\/-:, \t"),
                  std::string::npos)
            << text;
        EXPECT_EQ(text.find(".."), std::string::npos) << text;
    }
    EXPECT_EQ(version.Find("THHS_MEMORY_UNIT"), "ABSOLUTE");
}

TEST(ExampleStore, NamesTheEvidenceFolderThatTheInstallationMakes)
{
    EXPECT_EQ(StoreVersion(ReadExample()).Find("THHS_EVIDENCE_PATH"), "/var/lib/thsentinel/evidence");
}

} // namespace
