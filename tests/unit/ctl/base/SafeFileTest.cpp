#include "base/SafeFile.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

class SafeFileFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/safefileXXXXXX";
        mFolder = mkdtemp(pattern);
        mOpened = ctl::OpenFolder(AT_FDCWD, mFolder);
        ASSERT_TRUE(mOpened.IsOpen());
    }
    void TearDown() override { std::filesystem::remove_all(mFolder); }

    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(mFolder + "/" + name) << text;
    }
    ctl::FileText Read(const std::string& name, std::size_t limit = 1000) const
    {
        return ctl::ReadFile(mOpened.file.Get(), name, limit);
    }

    std::string mFolder;
    ctl::OpenedFile mOpened;
};

} // namespace

TEST_F(SafeFileFixture, ReadsAFileToItsEnd)
{
    Write("file", "text\n");
    const ctl::FileText read = Read("file");
    EXPECT_TRUE(read.IsRead());
    EXPECT_FALSE(read.isCut);
    EXPECT_EQ(read.text, "text\n");
}

TEST_F(SafeFileFixture, ReadsNoMoreThanTheLimitAndSaysSo)
{
    Write("file", "12345");
    EXPECT_FALSE(Read("file", 5).isCut);
    EXPECT_EQ(Read("file", 4).text, "1234");
    EXPECT_TRUE(Read("file", 4).isCut);
}

TEST_F(SafeFileFixture, ReadsFilesThatShowNoSize)
{
    EXPECT_FALSE(ctl::ReadFile(AT_FDCWD, "/proc/self/stat", 10'000).text.empty());
}

TEST_F(SafeFileFixture, FollowsNoLink)
{
    Write("file", "secret");
    ASSERT_EQ(symlink("file", (mFolder + "/link").c_str()), 0);
    EXPECT_EQ(Read("link").failure, "is a symbolic link, which isn't followed");
    EXPECT_EQ(Read("link").text, "");
}

TEST_F(SafeFileFixture, WaitsForNoFifoAndOpensNoDevice)
{
    ASSERT_EQ(mkfifo((mFolder + "/fifo").c_str(), 0600), 0);
    EXPECT_EQ(Read("fifo").failure, "is not a regular file");
    EXPECT_EQ(ctl::ReadFile(AT_FDCWD, "/dev/zero", 10).failure, "is not a regular file");
    EXPECT_EQ(Read(".").failure, "is not a regular file");
}

TEST_F(SafeFileFixture, NamesTheReasonOfAFailure)
{
    EXPECT_EQ(Read("none").failure, "No such file or directory");
    EXPECT_EQ(Read("none").error, ENOENT);
    EXPECT_EQ(Read(std::string("a\0b", 3)).failure, "the name holds a NUL byte");
    EXPECT_FALSE(ctl::OpenFolder(mOpened.file.Get(), "none").IsOpen());
}

TEST_F(SafeFileFixture, ListsNamesInOrder)
{
    Write("b", "");
    Write("a", "");
    EXPECT_EQ(ctl::ListNames(mOpened.file.Get()), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(ctl::ListNames(mOpened.file.Get()).size(), 2U) << "the folder can be listed again";
}
