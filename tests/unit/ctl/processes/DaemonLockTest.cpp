#include "processes/DaemonLock.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ctl/processes/ProcFolder.h"

namespace ctl
{
namespace
{

using State = DaemonLock::State;

const std::string RUN_LOCK = "976AF287-9C13-4F28-AC99-AD456ABE5383.RUN";
const std::string CHILD_LOCK = "41938320-72B9-4818-A4F2-16EBF79F40F0.CHILD";

class DaemonLockFixture : public testing::Test
{
protected:
    DaemonLock Ask() { return AskForDaemon(mFolder.GetRoot() + "/tmp", mFolder.GetProc()); }

    void WriteLocks(const std::string& written = "42\n")
    {
        mFolder.Write("tmp/" + RUN_LOCK, written);
        mPath = mFolder.Write("tmp/" + CHILD_LOCK, "");
    }

    /** A line of the kernel's list about the lock file. */
    std::string DescribeLock(int holder, const std::string& kind = "POSIX  ADVISORY  WRITE") const
    {
        struct stat status = {};
        EXPECT_EQ(stat(mPath.c_str(), &status), 0);
        char place[64];
        (void)snprintf(place, sizeof place, "%02x:%02x:%llu", major(status.st_dev), minor(status.st_dev),
                       static_cast<unsigned long long>(status.st_ino));
        return "1: " + kind + " " + std::to_string(holder) + " " + place + " 0 EOF\n";
    }

    ProcFolder mFolder;
    std::string mPath;
};

TEST_F(DaemonLockFixture, WithoutFilesNobodyRuns)
{
    EXPECT_EQ(Ask().state, State::Stopped);
    EXPECT_FALSE(Ask().IsStale());
}

TEST_F(DaemonLockFixture, IsHeldByWhomTheListNames)
{
    WriteLocks();
    mFolder.Write("proc/locks", DescribeLock(42));
    const DaemonLock lock = Ask();
    EXPECT_EQ(lock.state, State::Running);
    EXPECT_EQ(lock.holder, 42);
    EXPECT_EQ(lock.written, 42);
    EXPECT_EQ(lock.reason, "");
}

TEST_F(DaemonLockFixture, SaysThatAnotherHoldsItThanTheFileNames)
{
    WriteLocks();
    mFolder.Write("proc/locks", DescribeLock(43));
    EXPECT_EQ(Ask().holder, 43);
    EXPECT_EQ(Ask().reason, "the lock is held by process 43, and the run lock file names 42");
}

TEST_F(DaemonLockFixture, IsUnknownWhereTheFileCannotBeAskedAndADaemonIsThere)
{
    mFolder.Write("tmp/" + CHILD_LOCK + "/a file", ""); // a folder in the place of the lock file
    mFolder.Write("proc/locks", "");
    EXPECT_EQ(Ask().state, State::Stopped);
    mFolder.AddProcess(42, std::string("/bin/thsentinel\0", 16));
    EXPECT_EQ(Ask().state, State::Unknown);
    EXPECT_EQ(Ask().reason, mFolder.GetRoot() + "/tmp/" + CHILD_LOCK +
                                " can't be read, and the list of locks doesn't settle it");
}

TEST_F(DaemonLockFixture, SaysThatTheHolderIsNotToBeSeen)
{
    WriteLocks();
    mFolder.Write("proc/locks", DescribeLock(0));
    EXPECT_EQ(Ask().state, State::Running);
    EXPECT_EQ(Ask().holder, std::nullopt);
    EXPECT_EQ(Ask().reason, "the lock is held by a process that can't be seen from here");
}

TEST_F(DaemonLockFixture, IsStaleWhereNobodyHoldsItAndAnIdIsLeft)
{
    WriteLocks();
    mFolder.Write("proc/locks", "1: POSIX  ADVISORY  WRITE 42 00:01:1 0 EOF\n");
    EXPECT_EQ(Ask().state, State::Stopped);
    EXPECT_TRUE(Ask().IsStale());
}

TEST_F(DaemonLockFixture, IsNotHeldByLocksOfAnotherKind)
{
    WriteLocks();
    mFolder.Write("proc/locks", DescribeLock(42, "FLOCK  ADVISORY  WRITE") +
                                    DescribeLock(42, "POSIX  ADVISORY  READ ") + "garbage\n\n");
    EXPECT_EQ(Ask().state, State::Stopped);
}

class WrittenId : public DaemonLockFixture, public testing::WithParamInterface<std::string>
{
};

TEST_P(WrittenId, ThatIsNoneIsMetSafely)
{
    WriteLocks(GetParam());
    EXPECT_EQ(Ask().state, State::Stopped);
    EXPECT_EQ(Ask().written, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Texts, WrittenId,
                         testing::Values("", "x", "-1", "0", "99999999999999999999", std::string(9, '\0'),
                                         "\x1b[2J"));

TEST_F(DaemonLockFixture, LeavesTheFilesAsTheyAre)
{
    WriteLocks();
    const int file = open(mPath.c_str(), O_RDWR);
    (void)Ask();
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    EXPECT_EQ(fcntl(file, F_SETLK, &lock), 0) << "nobody else may hold it";
    EXPECT_TRUE(std::filesystem::is_empty(mPath));
    close(file);
}

} // namespace
} // namespace ctl
