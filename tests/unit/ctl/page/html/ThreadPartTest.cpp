#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

std::string ReadStack(std::vector<std::string> frames)
{
    ReportData data;
    data.mStackSource = "the core image";
    data.mStacks.mThreadCount = 2;
    data.mStacks.mGroups = {{"", std::move(frames), {"worker (7)", "worker (8)"}, 2}};
    return ReadPart(WriteThreads, data);
}

TEST(ThreadPart, HeadsAStackWithItsWaitAndTheFunctionOfTheProgram)
{
    EXPECT_THAT(
        ReadStack({"?? (libc.so.6)", "pthread_cond_wait (libc.so.6)", "Queue::Pop (queue.cpp:88)"}),
        HasSubstr("|2 threads| |pthread_cond_wait (libc.so.6)| called from |Queue::Pop (queue.cpp:88)|"
                  "worker (7), worker (8)|"));
    EXPECT_THAT(ReadStack({"Catalog::Compare (catalog.cpp:412)", "main"}),
                HasSubstr("|2 threads| |Catalog::Compare (catalog.cpp:412)|worker (7)"));
    EXPECT_THAT(ReadStack({}), HasSubstr("|no frames|"));
}

TEST(ThreadPart, SaysWhyThereAreNoStacks)
{
    ReportData data;
    data.mStackFailure = "The core image can't be read.";
    EXPECT_EQ(ReadPart(WriteThreads, data), "|Threads|The core image can&#39;t be read.|");
}

TEST(JavaPart, ShowsStatesDeadlocksAndLockOwners)
{
    ReportData data;
    JavaThreadReport& java = data.mJava;
    java.mHasHead = java.mHasEnd = true;
    java.mVersion = "OpenJDK";
    java.mThreadCount = 4;
    java.mStates = {{"BLOCKED", 3}, {"(VM)", 1}};
    java.mContended = {{"0x1", "tarn.Index", "", {"a", "b"}, {}}, {"0x2", "tarn.Catalog", "a", {"c"}, {}}};
    const std::string text = ReadPart(WriteJava, data);
    EXPECT_THAT(text, HasSubstr("|4 threads of OpenJDK.|"));
    EXPECT_THAT(text, HasSubstr("|of the Java machine itself|1|BLOCKED|3|"));
    EXPECT_THAT(text, HasSubstr("|None was found.|"));
    EXPECT_THAT(text, HasSubstr("|tarn.Index 0x1|not in the dump|2|a, b|tarn.Catalog 0x2|a|1|c|"));
    java.mHasEnd = false;
    EXPECT_THAT(ReadPart(WriteJava, data),
                HasSubstr("|Not known: the dump ends before it would name them.|"));
    java.mDeadlocks = {"a waits for b\nb waits for a\n"};
    EXPECT_THAT(ReadPart(WriteJava, data), HasSubstr("|a waits for b b waits for a |"));
    java.mHasHead = false;
    EXPECT_EQ(ReadPart(WriteJava, data), "|") << "no Java process";
}

} // namespace
} // namespace ctl
