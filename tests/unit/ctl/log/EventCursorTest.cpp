#include "log/EventCursor.h"

#include <stdexcept>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ctl/evidence/EvidenceFolder.h"

namespace ctl
{
namespace
{

TEST(EventCursor, ComesBackAsItWasWritten)
{
    const EvidenceFolder folder;
    const std::string path = folder.GetRoot() / "cursor";
    EventCursor cursor;
    cursor.isStopped = false;
    cursor.places["root.111326_00001.log"] = {18446744073709551615U, 9007199254740993U};
    WriteCursor(path, cursor);
    const std::optional<EventCursor> read = ReadCursor(path);
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->isStopped);
    ASSERT_EQ(read->places.size(), 1U);
    EXPECT_EQ(read->places.begin()->first, "root.111326_00001.log");
    EXPECT_EQ(read->places.begin()->second.inode, 18446744073709551615U);
    EXPECT_EQ(read->places.begin()->second.offset, 9007199254740993U);
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(EventCursor, OfOldSaysThatItHasNotAllPlaces)
{
    const EvidenceFolder folder;
    const std::string text = R"(", "stopped": true, "logs": {"a": {"inode": 1, "offset": 2}}})";
    const auto read = [&](const std::string& schema) {
        return ReadCursor(folder.Write("cursor", R"({"schema": ")" + schema + text));
    };
    EXPECT_FALSE(read("thsentinelctl.cursor/1")->isWhole);
    EXPECT_TRUE(read("thsentinelctl.cursor/2")->isWhole);
}

TEST(EventCursor, ThatIsNotThereIsNone)
{
    EXPECT_EQ(ReadCursor("/nowhere/cursor").has_value(), false);
}

class BadCursor : public testing::TestWithParam<std::string>
{
};

TEST_P(BadCursor, IsRefused)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("cursor", GetParam());
    try {
        (void)ReadCursor(path);
        FAIL() << "it was taken";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), path + " is no cursor of thsentinelctl events");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BadCursor,
    testing::Values("", "{", "[]", "null", "\x1b[2J", std::string(100, '\0'), std::string(200'000, '['),
                    R"({"schema": "other", "stopped": true, "logs": {}})",
                    R"({"schema": "thsentinelctl.cursor/1", "stopped": 1, "logs": {}})",
                    R"({"schema": "thsentinelctl.cursor/1", "stopped": true, "logs": {"a": {"inode": 1}}})",
                    R"({"schema": "thsentinelctl.cursor/1", "stopped": true, "logs": 7})"));

TEST(EventCursor, ThatIsALinkOrAFolderIsRefused)
{
    const EvidenceFolder folder;
    std::filesystem::create_symlink("/dev/zero", folder.GetRoot() / "link");
    EXPECT_THROW((void)ReadCursor(folder.GetRoot() / "link"), std::runtime_error);
    EXPECT_THROW((void)ReadCursor(folder.GetRoot()), std::runtime_error);
}

} // namespace
} // namespace ctl
