#include "StoreFile.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "FreshProcess.h"
#include "TemporaryFolder.h"

namespace
{

class StoreFile : public testing::Test
{
protected:
    const TemporaryFolder mFolder;
    const std::string mPath = mFolder / "master.conf";
};

TEST_F(StoreFile, GivesTheWholeTextToTheByte)
{
    const std::string text("A = 1\r\n\0\xFF no end", 17);
    WriteTextFile(mPath, text);
    const StoreFileContent content = ReadStoreFile(mPath.c_str());
    EXPECT_EQ(content.mFailure, nullptr);
    EXPECT_EQ(content.mText, text);
}

TEST_F(StoreFile, GivesAnEmptyTextForAnEmptyFile)
{
    WriteTextFile(mPath, "");
    const StoreFileContent content = ReadStoreFile(mPath.c_str());
    EXPECT_EQ(content.mFailure, nullptr);
    EXPECT_EQ(content.mText, "");
}

TEST_F(StoreFile, ReadsAFileOfExactly16Mebibytes)
{
    const std::string text(STORE_FILE_LIMIT, 'x');
    WriteTextFile(mPath, text);
    const StoreFileContent content = ReadStoreFile(mPath.c_str());
    EXPECT_EQ(content.mFailure, nullptr);
    EXPECT_TRUE(content.mText == text);
}

TEST_F(StoreFile, RefusesAFileOfOneByteMore)
{
    WriteTextFile(mPath, std::string(STORE_FILE_LIMIT + 1, 'x'));
    EXPECT_STREQ(ReadStoreFile(mPath.c_str()).mFailure, "it is larger than 16 MiB");
}

TEST_F(StoreFile, RefusesAnEnormousFileWithoutReadingIt)
{
    WriteTextFile(mPath, "");
    std::filesystem::resize_file(mPath, std::uintmax_t{1} << 40);
    bool wasCompared = false;
    EXPECT_STREQ(ReadStoreFile(mPath.c_str(), nullptr, [&] { wasCompared = true; }).mFailure,
                 "it is larger than 16 MiB");
    EXPECT_TRUE(wasCompared);
}

TEST_F(StoreFile, FollowsALinkToAFile)
{
    WriteTextFile(mFolder / "target", "A = 1\n");
    std::filesystem::create_symlink("target", mPath);
    EXPECT_EQ(ReadStoreFile(mPath.c_str()).mText, "A = 1\n");
}

TEST_F(StoreFile, ReadsToTheEndOfAFileThatReportsNoSize)
{
    const StoreFileContent content = ReadStoreFile("/proc/self/cmdline");
    EXPECT_EQ(content.mFailure, nullptr);
    EXPECT_FALSE(content.mText.empty());
}

TEST_F(StoreFile, RefusesAFolder)
{
    EXPECT_STREQ(ReadStoreFile(mFolder.GetPath().c_str()).mFailure, "it is not a regular file");
}

TEST_F(StoreFile, RefusesAFifoWithoutWaitingForItsWriter)
{
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
    EXPECT_STREQ(ReadStoreFile(mPath.c_str()).mFailure, "it is not a regular file");
}

TEST_F(StoreFile, RefusesADeviceWithoutReadingIt)
{
    EXPECT_STREQ(ReadStoreFile("/dev/zero").mFailure, "it is not a regular file");
    EXPECT_STREQ(ReadStoreFile("/dev/null").mFailure, "it is not a regular file");
}

TEST_F(StoreFile, RefusesASocket)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(mPath.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, mPath.c_str(), mPath.size() + 1);
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_STREQ(ReadStoreFile(mPath.c_str()).mFailure, "No such device or address");
    close(descriptor);
}

TEST_F(StoreFile, NamesTheReasonWhenThereIsNoFile)
{
    EXPECT_STREQ(ReadStoreFile(mPath.c_str()).mFailure, "No such file or directory");
    std::filesystem::create_symlink("nowhere", mPath);
    EXPECT_STREQ(ReadStoreFile(mPath.c_str()).mFailure, "No such file or directory");
    WriteTextFile(mFolder / "file", "");
    EXPECT_STREQ(ReadStoreFile((mFolder / "file/master.conf").c_str()).mFailure, "Not a directory");
}

TEST_F(StoreFile, NamesTheReasonWhenThereIsNoPermission)
{
    WriteTextFile(mPath, "A = 1\n");
    std::filesystem::permissions(mPath, std::filesystem::perms::none);
    std::filesystem::permissions(mFolder.GetPath(), std::filesystem::perms(0755));
    const int status = RunInFreshProcess([&] {
        constexpr uid_t NOBODY = 65534;
        if (geteuid() == 0 && setuid(NOBODY) != 0) {
            std::exit(CANNOT_RUN);
        }
        EXPECT_STREQ(ReadStoreFile(mPath.c_str()).mFailure, "Permission denied");
        // Not through exit: what runs there may write files, and this process may not any more.
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    });
    if (status == CANNOT_RUN) {
        GTEST_SKIP() << "the superuser of this host cannot become an ordinary user";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(StoreFile, NamesTheReasonWhenTheReadingItselfFails)
{
    // Nothing lies at the first address of a process.
    EXPECT_STREQ(ReadStoreFile("/proc/self/mem").mFailure, "Input/output error");
}

TEST_F(StoreFile, LeavesNoDescriptorOpen)
{
    const auto getNextDescriptor = [] {
        const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(descriptor);
        return descriptor;
    };
    const int before = getNextDescriptor();
    WriteTextFile(mPath, "A = 1\n");
    EXPECT_EQ(ReadStoreFile(mPath.c_str()).mFailure, nullptr);
    EXPECT_NE(ReadStoreFile(mFolder.GetPath().c_str()).mFailure, nullptr);
    EXPECT_NE(ReadStoreFile("/dev/zero").mFailure, nullptr);
    EXPECT_EQ(getNextDescriptor(), before);
}

TEST_F(StoreFile, ReadsANewTextTwice)
{
    WriteTextFile(mPath, "A = 1\n");
    const std::string known = "A = 2\n";
    int readings = 0;
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, [&] { ++readings; }).mText, "A = 1\n");
    EXPECT_EQ(readings, 2);
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), &known, [&] { ++readings; }).mText, "A = 1\n");
    EXPECT_EQ(readings, 4);
}

TEST_F(StoreFile, ReadsTheKnownTextOnce)
{
    WriteTextFile(mPath, "A = 1\n");
    const std::string known = "A = 1\n";
    int readings = 0;
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), &known, [&] { ++readings; }).mText, "A = 1\n");
    EXPECT_EQ(readings, 1);
}

TEST_F(StoreFile, DoesNotTakeAFileThatIsEmptyForAMoment)
{
    WriteTextFile(mPath, "");
    int readings = 0;
    const auto fillOnce = [&] {
        if (++readings == 1) {
            WriteTextFile(mPath, "A = 1\n");
        }
    };
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, fillOnce).mText, "A = 1\n");
    EXPECT_EQ(readings, 3);
}

TEST_F(StoreFile, ReadsAFileAgainThatGrewMeanwhile)
{
    WriteTextFile(mPath, "A = 1\n");
    int readings = 0;
    const auto growOnce = [&] {
        if (++readings == 1) {
            std::ofstream(mPath, std::ios::app) << "B = 2\n";
        }
    };
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, growOnce).mText, "A = 1\nB = 2\n");
    EXPECT_EQ(readings, 3);
}

TEST_F(StoreFile, ReadsAFileAgainThatShrankMeanwhile)
{
    WriteTextFile(mPath, "A = 1\nB = 2\n");
    int readings = 0;
    const auto shrinkOnce = [&] {
        if (++readings == 1) {
            std::filesystem::resize_file(mPath, 6);
        }
    };
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, shrinkOnce).mText, "A = 1\n");
    EXPECT_EQ(readings, 3);
}

TEST_F(StoreFile, ReadsAFileAgainThatWasRewrittenInTheSameLength)
{
    WriteTextFile(mPath, "A = 1\n");
    int readings = 0;
    const auto rewriteOnce = [&] {
        if (++readings == 1) {
            WriteTextFile(mPath, "A = 2\n");
        }
    };
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, rewriteOnce).mText, "A = 2\n");
    EXPECT_EQ(readings, 3);
}

TEST_F(StoreFile, ReadsAFileAgainThatWasRewrittenWithTheSameText)
{
    // The same bytes twice are no proof while someone writes between the two readings.
    WriteTextFile(mPath, "A = 1\n");
    int readings = 0;
    const auto rewriteOnce = [&] {
        if (++readings == 1) {
            WriteTextFile(mPath, "A = 1\n");
        }
    };
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, rewriteOnce).mText, "A = 1\n");
    EXPECT_EQ(readings, 3);
}

TEST_F(StoreFile, GivesOneWholeVersionOfAFileThatIsReplacedMeanwhile)
{
    WriteTextFile(mPath, "A = 1\n");
    int readings = 0;
    const auto replaceOnce = [&] {
        if (++readings == 1) {
            ReplaceTextFile(mPath, "A = 2\nB = 2\n");
        }
    };
    EXPECT_EQ(ReadStoreFile(mPath.c_str(), nullptr, replaceOnce).mText, "A = 2\nB = 2\n");
}

TEST_F(StoreFile, GivesUpOnAFileThatNeverRests)
{
    WriteTextFile(mPath, "A = 1\n");
    int readings = 0;
    const auto rewriteAlways = [&] {
        WriteTextFile(mPath, "A = " + std::string(++readings % 2 == 0 ? "1" : "11") + "\n");
    };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_STREQ(ReadStoreFile(mPath.c_str(), nullptr, rewriteAlways).mFailure,
                 "it keeps changing while it is read");
    EXPECT_EQ(readings, 16);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(15 * 30));
}

TEST_F(StoreFile, NamesTheReasonOfTheReadingThatFailed)
{
    WriteTextFile(mPath, "A = 1\n");
    const auto remove = [&] { std::filesystem::remove(mPath); };
    EXPECT_STREQ(ReadStoreFile(mPath.c_str(), nullptr, remove).mFailure, "No such file or directory");
}

} // namespace
