#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"
#include "support/ChildProcess.h"
#include "support/ConfigurationFixture.h"
#include "support/StreamLocks.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{
/** Where a capture hangs for longer than any test waits. */
class EndOfProcess : public ConfigurationFixture
{
protected:
    /** Ends a process while a thread of it does this, once the thread has come to the place. */
    static int EndAmid(const std::function<void()>& work, const std::function<bool()>& isThere)
    {
        ChildProcess process([&] {
            TakeStreamLocksAtExit();
            std::thread(work).detach();
            return WaitFor(isThere) ? 3 : 1;
        });
        return process.Wait();
    }
};

int GetBytesIn(int pipe)
{
    int bytes = 0;
    EXPECT_EQ(ioctl(pipe, FIONREAD, &bytes), 0);
    return bytes;
}
} // namespace

TEST_F(EndOfProcess, DoesNotWaitForACaptureThatReadsFromATool)
{
    const std::string sign = MakeFolder() + "/runs";
    const auto capture = [&] {
        (void)UnixHelperFunction().ExecuteCommand(("echo text; : >" + sign + "; exec sleep 100").c_str());
    };
    EXPECT_EQ(EndAmid(capture, [&] { return access(sign.c_str(), F_OK) == 0; }), 3);
}

TEST_F(EndOfProcess, DoesNotWaitForACaptureWhoseSectionHeadCanNotBeWritten)
{
    const std::string pipe = MakeFolder() + "/evidence";
    ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    const int reader = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    const std::string command(1000000, 'x'); // more than a pipe takes
    const auto capture = [&] { (void)UnixHelperFunction().EchoCommandToFile(command, pipe); };
    EXPECT_EQ(EndAmid(capture, [reader] { return GetBytesIn(reader) == 65536; }), 3);
    (void)close(reader);
}

TEST_F(EndOfProcess, DoesNotWaitForACaptureWhoseLogLineCanNotBeWritten)
{
    const std::string pipe = GetTHPerfMonLogFilePath();
    ForgetLog();
    ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    const int reader = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    const std::string path = "/no/such/" + std::string(1000000, 'x');
    const auto capture = [&] { (void)UnixHelperFunction().CreateTouchFile(path); };
    EXPECT_EQ(EndAmid(capture, [reader] { return GetBytesIn(reader) == 65536; }), 3);
    (void)close(reader);
}
