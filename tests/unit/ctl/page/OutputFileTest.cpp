#include "page/OutputFile.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

namespace ctl
{
namespace
{

class OutputFileFixture : public testing::Test
{
protected:
    OutputFileFixture()
    {
        mFolder.Write("old", "old");
        mPath = mFolder.GetRoot() / "old";
    }

    std::string Read(const std::filesystem::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    EvidenceFolder mFolder;
    std::filesystem::path mPath;
};

TEST_F(OutputFileFixture, ReplacesAFileAndIsForItsOwnerAlone)
{
    WriteOutputFile(mPath, "new");
    EXPECT_EQ(Read(mPath), "new");
    EXPECT_EQ(std::filesystem::status(mPath).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(OutputFileFixture, KeepsALinkToAFile)
{
    std::filesystem::create_symlink("old", mFolder.GetRoot() / "link");
    WriteOutputFile(mFolder.GetRoot() / "link", "new");
    EXPECT_TRUE(std::filesystem::is_symlink(mFolder.GetRoot() / "link"));
    EXPECT_EQ(Read(mPath), "new");
}

TEST_F(OutputFileFixture, WritesToADeviceAndLeavesItThere)
{
    WriteOutputFile("/dev/null", "new");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(OutputFileFixture, ThatCannotBeWrittenLeavesTheOldOneAndNothingElse)
{
    const std::string missing = mFolder.GetRoot() / "missing/new";
    try {
        WriteOutputFile(missing, "new");
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_EQ(failure.what(), missing + " can't be written: No such file or directory");
    }
    EXPECT_THROW(WriteOutputFile("/dev/full", "new"), std::runtime_error);
    EXPECT_EQ(Read(mPath), "old");
}

} // namespace
} // namespace ctl
