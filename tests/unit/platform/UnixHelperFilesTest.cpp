// The file operations of UnixHelperFunction.

#include "platform/UnixHelperFunction.h"
#include "support/LogFixture.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
class UnixHelperFiles : public LogFixture
{
protected:
    void SetUp() override
    {
        LogFixture::SetUp();
        mFolder = MakeFolder();
        mFile = mFolder + "/file";
        WriteFile(mFile, "content");
    }

    UnixHelperFunction mHelper;
    std::string mFolder;
    std::string mFile; ///< a plain file in mFolder
};

/** Permissions of a file. */
mode_t GetMode(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}
} // namespace

// ---- HF_CreateDir

TEST_F(UnixHelperFiles, MakesOneFolderOfMode0755)
{
    const mode_t mask = umask(0);
    EXPECT_TRUE(mHelper.HF_CreateDir(mFolder + "/new", false));
    EXPECT_TRUE(std::filesystem::is_directory(mFolder + "/new"));
    EXPECT_EQ(GetMode(mFolder + "/new"), 0755U);
    (void)umask(mask);
}

TEST_F(UnixHelperFiles, MakesFoldersUnderTheFileMask)
{
    const mode_t mask = umask(077);
    EXPECT_TRUE(mHelper.HF_CreateDir(mFolder + "/new", false));
    EXPECT_EQ(GetMode(mFolder + "/new"), 0700U);
    (void)umask(mask);
}

TEST_F(UnixHelperFiles, CountAFolderAsMadeWhenAnythingLiesThere)
{
    ASSERT_EQ(chmod(mFolder.c_str(), 0711), 0);
    EXPECT_TRUE(mHelper.HF_CreateDir(mFolder, false));
    EXPECT_EQ(GetMode(mFolder), 0711U);
    EXPECT_TRUE(mHelper.HF_CreateDir(mFile, false));
    EXPECT_EQ(ReadFile(mFile), "content");
    std::filesystem::create_symlink("/no/such/folder", mFolder + "/link");
    EXPECT_TRUE(mHelper.HF_CreateDir(mFolder + "/link", false));
}

TEST_F(UnixHelperFiles, MakesNoParentFoldersWhateverTheFlagSays)
{
    EXPECT_FALSE(mHelper.HF_CreateDir(mFolder + "/missing/new", false));
    EXPECT_FALSE(mHelper.HF_CreateDir(mFolder + "/missing/new", true));
    EXPECT_FALSE(std::filesystem::exists(mFolder + "/missing"));
}

TEST_F(UnixHelperFiles, ReportAFolderThatCannotBeMade)
{
    EXPECT_FALSE(mHelper.HF_CreateDir(mFile + "/below-a-file", false));
    EXPECT_FALSE(mHelper.HF_CreateDir("", false));
    EXPECT_FALSE(mHelper.HF_CreateDir(mFolder + "/" + std::string(300, 'x'), false));
}

// ---- HF_OpenFileInMode

TEST_F(UnixHelperFiles, OpensAFileInTheGivenMode)
{
    FILE* file = nullptr;
    ASSERT_TRUE(mHelper.HF_OpenFileInMode(&file, mFile, "a+"));
    ASSERT_NE(file, nullptr);
    EXPECT_GT(fputs(" and more", file), 0);
    EXPECT_EQ(fclose(file), 0);
    EXPECT_EQ(ReadFile(mFile), "content and more");
    ASSERT_TRUE(mHelper.HF_OpenFileInMode(&file, mFile, "w"));
    EXPECT_EQ(fclose(file), 0);
    EXPECT_EQ(ReadFile(mFile), "");
}

TEST_F(UnixHelperFiles, KeepsAnOpenFileFromTheProgramsThatAreStarted)
{
    FILE* file = nullptr;
    ASSERT_TRUE(mHelper.HF_OpenFileInMode(&file, mFile, "a+"));
    EXPECT_EQ(fcntl(fileno(file), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fclose(file), 0);
}

TEST_F(UnixHelperFiles, OpensNothingIntoNull)
{
    EXPECT_FALSE(mHelper.HF_OpenFileInMode(nullptr, mFolder + "/new", "w"));
    EXPECT_FALSE(std::filesystem::exists(mFolder + "/new"));
}

TEST_F(UnixHelperFiles, StoreNullWhenAFileCannotBeOpened)
{
    FILE* file = stdout;
    EXPECT_FALSE(mHelper.HF_OpenFileInMode(&file, mFolder + "/missing", "r"));
    EXPECT_EQ(file, nullptr);
    file = stdout;
    EXPECT_FALSE(mHelper.HF_OpenFileInMode(&file, mFolder, "a+"));
    EXPECT_EQ(file, nullptr);
}

// ---- HF_IsFileExist

TEST_F(UnixHelperFiles, TakeAnythingThatExistsForAFile)
{
    EXPECT_TRUE(mHelper.HF_IsFileExist(mFile));
    EXPECT_TRUE(mHelper.HF_IsFileExist(mFolder));
    EXPECT_TRUE(mHelper.HF_IsFileExist("/dev/null"));
}

TEST_F(UnixHelperFiles, MissWhatDoesNotExist)
{
    EXPECT_FALSE(mHelper.HF_IsFileExist(mFolder + "/missing"));
    EXPECT_FALSE(mHelper.HF_IsFileExist(mFile + "/below-a-file"));
    EXPECT_FALSE(mHelper.HF_IsFileExist(""));
    std::filesystem::create_symlink("/no/such/file", mFolder + "/link");
    EXPECT_FALSE(mHelper.HF_IsFileExist(mFolder + "/link"));
}

// ---- HF_DoesFolderExist, which tests one bit of the type

TEST_F(UnixHelperFiles, TakeFoldersForFolders)
{
    EXPECT_TRUE(mHelper.HF_DoesFolderExist(mFolder));
    std::filesystem::create_directory_symlink(mFolder, mFolder + "/link");
    EXPECT_TRUE(mHelper.HF_DoesFolderExist(mFolder + "/link"));
}

TEST_F(UnixHelperFiles, TakeNoOtherKindForAFolder)
{
    ASSERT_EQ(mkfifo((mFolder + "/pipe").c_str(), 0600), 0);
    EXPECT_FALSE(mHelper.HF_DoesFolderExist(mFolder + "/pipe"));
    EXPECT_FALSE(mHelper.HF_DoesFolderExist(mFile));
    EXPECT_FALSE(mHelper.HF_DoesFolderExist("/dev/null"));
    EXPECT_FALSE(mHelper.HF_DoesFolderExist(mFolder + "/missing"));
    EXPECT_FALSE(mHelper.HF_DoesFolderExist(""));
}

TEST_F(UnixHelperFiles, TakeASocketForAFolder)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = mFolder + "/socket";
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<const struct sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(mHelper.HF_DoesFolderExist(path));
    EXPECT_EQ(close(descriptor), 0);
}

TEST_F(UnixHelperFiles, TakeABlockDeviceForAFolder)
{
    const std::string path = mFolder + "/device";
    if (mknod(path.c_str(), S_IFBLK | 0600, makedev(7, 0)) != 0) {
        GTEST_SKIP() << "device nodes can't be made here: " << std::strerror(errno);
    }
    EXPECT_TRUE(mHelper.HF_DoesFolderExist(path));
}
