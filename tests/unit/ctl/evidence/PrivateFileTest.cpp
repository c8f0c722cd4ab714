#include "evidence/PrivateFile.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gtest/gtest.h>

#include <unistd.h>

using ctl::PrivateFile;
namespace fs = std::filesystem;

namespace
{
std::string ReadText(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::ptrdiff_t CountFiles(const EvidenceFolder& folder)
{
    return std::distance(fs::directory_iterator(folder.GetRoot()), fs::directory_iterator());
}
} // namespace

TEST(PrivateFile, GetsItsNameWhenItIsWhole)
{
    const EvidenceFolder folder;
    const std::string path = (folder.GetRoot() / "file").string();
    {
        PrivateFile file(path, false);
        ASSERT_EQ(write(file.Get(), "text", 4), 4);
        EXPECT_FALSE(fs::exists(path));
        file.Commit();
    }
    EXPECT_EQ(ReadText(path), "text");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(CountFiles(folder), 1);
}

TEST(PrivateFile, ThatIsGivenUpLeavesNothing)
{
    const EvidenceFolder folder;
    {
        const PrivateFile file((folder.GetRoot() / "file").string(), false);
    }
    EXPECT_EQ(CountFiles(folder), 0);
}

TEST(PrivateFile, ReplacesOnlyWhenToldTo)
{
    const EvidenceFolder folder;
    const std::string path = folder.Write("file", "old");
    EXPECT_THROW(PrivateFile(path, false), std::runtime_error);
    EXPECT_EQ(ReadText(path), "old");
    PrivateFile file(path, true);
    ASSERT_EQ(write(file.Get(), "new", 3), 3);
    EXPECT_EQ(ReadText(path), "old");
    file.Commit();
    EXPECT_EQ(ReadText(path), "new");
    EXPECT_EQ(CountFiles(folder), 1);
}

TEST(PrivateFile, DoesNotReplaceOneThatCameMeanwhile)
{
    const EvidenceFolder folder;
    const std::string path = (folder.GetRoot() / "file").string();
    PrivateFile file(path, false);
    folder.Write("file", "other");
    EXPECT_THROW(file.Commit(), std::runtime_error);
    EXPECT_EQ(ReadText(path), "other");
}

TEST(PrivateFile, NeedsItsFolder)
{
    EXPECT_THROW(PrivateFile("/absent/file", false), std::runtime_error);
}
