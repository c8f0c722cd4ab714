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
    cursor.places["root.111326_00001.log"] = {18446744073709551615U, 9007199254740993U,
                                              LogMark{18446744073709551614U, 9007199254740995U}};
    cursor.places["root.111426_00001.log"] = {1, 2, std::nullopt};
    WriteCursor(path, cursor);
    const std::optional<EventCursor> read = ReadCursor(path);
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->isStopped);
    ASSERT_EQ(read->places.size(), 2U);
    EXPECT_EQ(read->places.begin()->first, "root.111326_00001.log");
    EXPECT_EQ(read->places.begin()->second.inode, 18446744073709551615U);
    EXPECT_EQ(read->places.begin()->second.offset, 9007199254740993U);
    EXPECT_EQ(read->places.begin()->second.mark, (LogMark{18446744073709551614U, 9007199254740995U}));
    EXPECT_EQ(read->places.rbegin()->second.mark, std::nullopt);
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(EventCursor, OfOldIsReadAndSaysThatItHasNotAllPlaces)
{
    const EvidenceFolder folder;
    const std::string text = R"(", "stopped": true, "logs": {"a": {"inode": 1, "offset": 2}}})";
    const auto read = [&](const std::string& schema) {
        return ReadCursor(folder.Write("cursor", R"({"schema": ")" + schema + text));
    };
    EXPECT_FALSE(read("thsentinelctl.cursor/1")->isWhole);
    EXPECT_TRUE(read("thsentinelctl.cursor/2")->isWhole);
    EXPECT_TRUE(read("thsentinelctl.cursor/3")->isWhole);
    EXPECT_EQ(read("thsentinelctl.cursor/2")->places.at("a").offset, 2U);
    EXPECT_EQ(read("thsentinelctl.cursor/2")->places.at("a").mark, std::nullopt);
}

TEST(EventCursor, OfALaterReleaseIsRefusedByName)
{
    const EvidenceFolder folder;
    const std::string path =
        folder.Write("cursor", R"({"schema": "thsentinelctl.cursor/4", "stopped": true, "logs": {}})");
    try {
        (void)ReadCursor(path);
        FAIL() << "it was taken";
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(),
                  path + " is a cursor of another release of thsentinelctl: thsentinelctl.cursor/4");
    }
}

TEST(EventCursor, ThatIsNotThereIsNone)
{
    EXPECT_EQ(ReadCursor("/nowhere/cursor").has_value(), false);
}

/** A cursor with one place of these members. */
std::string MakePlace(const std::string& members)
{
    return R"({"schema": "thsentinelctl.cursor/3", "stopped": true, "logs": {"a": {)" + members + "}}}";
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
                    R"({"schema": "thsentinelctl.cursor/1", "stopped": true, "logs": 7})",
                    MakePlace(R"("inode": 1, "offset": -5)"), MakePlace(R"("inode": 1, "offset": 0.5)"),
                    MakePlace(R"("inode": 1, "offset": 1e99)"), MakePlace(R"("inode": "1", "offset": 1)"),
                    MakePlace(R"("inode": 1, "offset": 1, "begin": 1)"),
                    MakePlace(R"("inode": 1, "offset": 1, "begin": 1, "end": -1)")));

TEST(EventCursor, ThatIsALinkOrAFolderIsRefused)
{
    const EvidenceFolder folder;
    std::filesystem::create_symlink("/dev/zero", folder.GetRoot() / "link");
    EXPECT_THROW((void)ReadCursor(folder.GetRoot() / "link"), std::runtime_error);
    EXPECT_THROW((void)ReadCursor(folder.GetRoot()), std::runtime_error);
}

} // namespace
} // namespace ctl
