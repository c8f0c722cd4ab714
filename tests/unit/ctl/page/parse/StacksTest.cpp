#include "page/parse/Stacks.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

StackReport ReadStacks(std::string_view text)
{
    StackParser parser;
    Feed(parser, text);
    return parser.Finish();
}

TEST(Stacks, OfThreadsAtTheSamePlaceAreOneGroup)
{
    const StackReport report = ReadStacks(R"([New LWP 11804]
Using host libthread_db library "/lib/x86_64-linux-gnu/libthread_db.so.1".

Thread 3 (Thread 0x7f09dd3fe6c0 (LWP 11806) "worker"):
#0  0x00007f0a09ad772f in __poll (fds=0x1, nfds=1) at ../sysdeps/unix/sysv/linux/poll.c:29
#1  0x000055ab41720000 in Serve(int) () from /usr/tarnv/tarnhaven/lib/libserve.so

Thread 2 (Thread 0x7f09dd3fe6c1 (LWP 11805) "worker"):
#0  0x00007f0a09ad772f in __poll (fds=0x2, nfds=7) at ../sysdeps/unix/sysv/linux/poll.c:29
#1  0x000055ab41720000 in Serve(int) () from /usr/tarnv/tarnhaven/lib/libserve.so

Thread 1 (Thread 0x7f09dd3fe6c2 (LWP 11804)):
#0  main () at main.cpp:7
)");
    EXPECT_EQ(report.mThreadCount, 3u);
    ASSERT_EQ(report.mGroups.size(), 2u);
    EXPECT_EQ(report.mGroups[0].mThreadCount, 2u);
    EXPECT_EQ(report.mGroups[0].mFrames,
              (std::vector<std::string>{"__poll (poll.c:29)", "Serve(int) (libserve.so)"}));
    EXPECT_EQ(report.mGroups[0].mThreads[0], "worker (11806)");
    EXPECT_EQ(report.mGroups[1].mThreads[0], "thread 11804");
    EXPECT_EQ(report.mGroups[1].mFrames, std::vector<std::string>{"main (main.cpp:7)"});
}

TEST(Stacks, OfAProcessWithoutThreadsHaveNoHead)
{
    const StackReport report = ReadStacks("#0  0x00007f0a in pause () from /lib64/libc.so.6\n"
                                          "#1  0x0000000000400b6c in main ()\n");
    ASSERT_EQ(report.mGroups.size(), 1u);
    EXPECT_EQ(report.mGroups[0].mFrames, (std::vector<std::string>{"pause (libc.so.6)", "main"}));
}

TEST(Stacks, OfTheSimplerListingAreReadToo)
{
    const StackReport report = ReadStacks("PID 7 - process\nTID 7:\n#0  0x00007f0a09ad772f poll\n"
                                          "#1  0x000055ab41720000 - 1 main\nTID 8:\n#0  0x1 read\n");
    ASSERT_EQ(report.mGroups.size(), 2u);
    EXPECT_EQ(report.mGroups[0].mThreads, std::vector<std::string>{"TID 7"});
    EXPECT_EQ(report.mGroups[0].mFrames, (std::vector<std::string>{"poll", "main"}));
}

struct FrameRow
{
    const char* mFrame;
    const char* mFunction;
};

class Frame : public testing::TestWithParam<FrameRow>
{
};

TEST_P(Frame, IsItsFunctionAndPlace)
{
    EXPECT_EQ(FunctionOfFrame(GetParam().mFrame), GetParam().mFunction);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, Frame,
    testing::Values(
        FrameRow{"#0  0x00007f0a in ?? () from /lib/libjvm.so", "?? (libjvm.so)"},
        FrameRow{"#4  ___pthread_cond_wait (cond=0x7, mutex=0x8) at ./nptl/pthread_cond_wait.c:618",
                 "___pthread_cond_wait (pthread_cond_wait.c:618)"},
        FrameRow{"#1  0x1 in std::function<void (int)>::operator()(int) const (this=0x1) at f.h:2",
                 "std::function<void (int)>::operator()(int) const (f.h:2)"},
        FrameRow{"#1  0x1 in operator<< (out=..., x=1) at o.cpp:3", "operator<< (o.cpp:3)"},
        FrameRow{"#1  0x1 in Queue::operator-> (this=0x1) at q.cpp:3", "Queue::operator-> (q.cpp:3)"},
        FrameRow{"#3  <signal handler called>", "<signal handler called>"}, FrameRow{"#0", ""}));

TEST(Stacks, StayWithinLimits)
{
    StackParser parser;
    for (int thread = 0; thread < 2100; ++thread) {
        parser.TakeLine("Thread 1 (x):");
        for (int frame = 0; frame < 210; ++frame) {
            parser.TakeLine("#0" + std::to_string(thread) + " f" + std::to_string(thread));
        }
    }
    EXPECT_LE(parser.Finish().mGroups.size(), 2000u);
}

TEST(Stacks, OfHostileTextNameNoFunction)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        for (const StackGroup& group : ReadStacks(text).mGroups) {
            EXPECT_LE(group.mFrames.size(), 3u) << text.substr(0, 40);
        }
    }
}

} // namespace
} // namespace ctl
