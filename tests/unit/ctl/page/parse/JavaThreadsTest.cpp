#include "page/parse/JavaThreads.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

JavaThreadReport ReadDump(std::string_view text)
{
    JavaThreadParser parser;
    Feed(parser, text);
    return parser.Finish();
}

// OpenJDK 17.
constexpr const char* DEADLOCK =
    "11803:\n"
    "2026-11-21 20:41:00\n"
    "Full thread dump OpenJDK 64-Bit Server VM (17.0.15+6-Debian-1deb12u1 mixed mode, sharing):\n"
    "\n"
    "Threads class SMR info:\n"
    "_java_thread_list=0x00007f0980002670, length=2, elements={\n"
    "0x00007f0a04017ef0, 0x00007f0a04095c10\n"
    "}\n"
    "\n"
    "\"Finalizer\" #3 daemon prio=8 os_prio=0 cpu=0.37ms elapsed=4.59s tid=0x00007f0a04096ff0 nid=0x2e25 in "
    "Object.wait()  [0x00007f09ec5d0000]\n"
    "   java.lang.Thread.State: WAITING (on object monitor)\n"
    "\tat java.lang.Object.wait(java.base@17.0.15/Native Method)\n"
    "\t- waiting on <0x00000000ffd02f40> (a java.lang.ref.ReferenceQueue$Lock)\n"
    "\tat java.lang.ref.ReferenceQueue.remove(java.base@17.0.15/ReferenceQueue.java:155)\n"
    "\t- locked <0x00000000ffd02f40> (a java.lang.ref.ReferenceQueue$Lock)\n"
    "\n"
    "\"writer \"one\"\" #12 prio=5 os_prio=0 cpu=0.33ms elapsed=4.53s tid=0x00007f0a040b60b0 nid=0x2e2f "
    "waiting for monitor entry  [0x00007f09ddafd000]\n"
    "   java.lang.Thread.State: BLOCKED (on object monitor)\n"
    "\tat Dead.take(Dead.java:2)\n"
    "\t- waiting to lock <0x00000000ffd19638> (a java.lang.Object)\n"
    "\t- locked <0x00000000ffd19628> (a java.lang.Object)\n"
    "\n"
    "\"writer-two\" #13 prio=5 os_prio=0 cpu=0.41ms elapsed=4.53s tid=0x00007f0a040b71e0 nid=0x2e30 waiting "
    "for monitor entry  [0x00007f09dd9fd000]\n"
    "   java.lang.Thread.State: BLOCKED (on object monitor)\n"
    "\tat Dead.take(Dead.java:2)\n"
    "\t- waiting to lock <0x00000000ffd19628> (a java.lang.Object)\n"
    "\t- locked <0x00000000ffd19638> (a java.lang.Object)\n"
    "\n"
    "\"idle-1\" #14 prio=5 os_prio=0 tid=0x1 nid=0x2e30 waiting on condition  [0x00007f09dd9fd000]\n"
    "   java.lang.Thread.State: WAITING (parking)\n"
    "\tat jdk.internal.misc.Unsafe.park(java.base@17.0.15/Native Method)\n"
    "\t- parking to wait for  <0x00000000ffd00001> (a "
    "java.util.concurrent.locks.AbstractQueuedSynchronizer$ConditionObject)\n"
    "\n"
    "\"VM Thread\" os_prio=0 cpu=0.47ms elapsed=4.61s tid=0x00007f0a04091c80 nid=0x2e23 runnable  \n"
    "\n"
    "JNI global refs: 4, weak refs: 0\n"
    "\n"
    "\n"
    "Found one Java-level deadlock:\n"
    "=============================\n"
    "\"writer \"one\"\":\n"
    "  waiting to lock monitor 0x00007f096c0667f0 (object 0x00000000ffd19638, a java.lang.Object),\n"
    "  which is held by \"writer-two\"\n"
    "\n"
    "\"writer-two\":\n"
    "  waiting to lock monitor 0x00007f09780015a0 (object 0x00000000ffd19628, a java.lang.Object),\n"
    "  which is held by \"writer \"one\"\"\n"
    "\n"
    "Java stack information for the threads listed above:\n"
    "===================================================\n"
    "\"writer \"one\"\":\n"
    "\tat Dead.take(Dead.java:2)\n"
    "\t- waiting to lock <0x00000000ffd19638> (a java.lang.Object)\n"
    "\n"
    "Found 1 deadlock.\n";

TEST(JavaThreads, AreCountedByState)
{
    const JavaThreadReport report = ReadDump(DEADLOCK);
    EXPECT_TRUE(report.mHasHead);
    EXPECT_TRUE(report.mHasEnd);
    EXPECT_EQ(report.mVersion, "OpenJDK 64-Bit Server VM (17.0.15+6-Debian-1deb12u1 mixed mode, sharing)");
    EXPECT_EQ(report.mThreadCount, 5u);
    EXPECT_EQ(report.mStates, (std::map<std::string, int>{{"(VM)", 1}, {"BLOCKED", 2}, {"WAITING", 2}}));
}

TEST(JavaThreads, DeadlocksComeInTheDumpsOwnWords)
{
    const JavaThreadReport report = ReadDump(DEADLOCK);
    ASSERT_EQ(report.mDeadlocks.size(), 1u);
    EXPECT_EQ(
        report.mDeadlocks[0],
        "\"writer \"one\"\":\n"
        "  waiting to lock monitor 0x00007f096c0667f0 (object 0x00000000ffd19638, a java.lang.Object),\n"
        "  which is held by \"writer-two\"\n"
        "\"writer-two\":\n"
        "  waiting to lock monitor 0x00007f09780015a0 (object 0x00000000ffd19628, a java.lang.Object),\n"
        "  which is held by \"writer \"one\"\"\n");
}

TEST(JavaThreads, LocksNameTheirOwnerAndWaiters)
{
    const JavaThreadReport report = ReadDump(DEADLOCK);
    ASSERT_EQ(report.mContended.size(), 2u);
    EXPECT_EQ(report.mContended[0].mClass, "java.lang.Object");
    EXPECT_EQ(report.mContended[0].mOwner, "writer \"one\"");
    EXPECT_EQ(report.mContended[0].mWaiters, std::vector<std::string>{"writer-two"});
    EXPECT_EQ(report.mContended[1].mOwner, "writer-two");
}

TEST(JavaThreads, ThatWaitToBeNotifiedContendForNothing)
{
    for (const JavaLock& lock : ReadDump(DEADLOCK).mContended) {
        EXPECT_EQ(lock.mClass, "java.lang.Object");
    }
}

TEST(JavaThreads, WithEqualStacksAreOneGroup)
{
    const JavaThreadReport report = ReadDump(DEADLOCK);
    ASSERT_FALSE(report.mStacks.empty());
    EXPECT_EQ(report.mStacks[0].mState, "BLOCKED");
    EXPECT_EQ(report.mStacks[0].mFrames, std::vector<std::string>{"Dead.take(Dead.java:2)"});
    EXPECT_EQ(report.mStacks[0].mThreads, (std::vector<std::string>{"writer \"one\"", "writer-two"}));
}

TEST(JavaThreads, OfJava8AndJava21AreReadToo)
{
    const JavaThreadReport report = ReadDump(
        "Full thread dump Java HotSpot(TM) 64-Bit Server VM (25.202-b08 mixed mode):\n"
        "\n"
        "\"main\" #1 prio=5 os_prio=0 tid=0x00007f0a04017ef0 nid=0x2e1c runnable [0x00007f0a0851e000]\n"
        "   java.lang.Thread.State: RUNNABLE\n"
        "\n"
        "\"http-1\" #21 [11822] daemon prio=5 os_prio=0 cpu=1.00ms elapsed=4.65s tid=0x00007f0a04017ef1 "
        "nid=11822 waiting on condition  [0x00007f0a0851e000]\n"
        "   java.lang.Thread.State: TIMED_WAITING (parking)\n"
        "\n"
        "JNI global references: 7\n");
    EXPECT_EQ(report.mStates, (std::map<std::string, int>{{"RUNNABLE", 1}, {"TIMED_WAITING", 1}}));
    EXPECT_EQ(report.mStacks.at(1).mThreads, std::vector<std::string>{"http-1"});
    EXPECT_TRUE(report.mHasEnd);
}

TEST(JavaThreads, CutAnywhereGiveWhatWasThere)
{
    const std::string_view whole = DEADLOCK;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_LE(ReadDump(whole.substr(0, length)).mThreadCount, 5u);
    }
    EXPECT_FALSE(ReadDump(whole.substr(0, 900)).mHasEnd);
}

TEST(JavaThreads, StayWithinLimits)
{
    JavaThreadParser parser;
    for (int thread = 0; thread < 2500; ++thread) {
        const std::string name = std::to_string(thread);
        parser.TakeLine("\"" + name + "\" #1 tid=0x1");
        parser.TakeLine("   java.lang.Thread.State: STATE" + name);
        parser.TakeLine("\tat Odd.run" + name);
    }
    const JavaThreadReport& report = parser.Finish();
    EXPECT_EQ(report.mStates.size(), 32u);
    EXPECT_EQ(report.mStacks.size(), 2000u);
    EXPECT_EQ(report.mThreadsLeftOut, 500u);
}

TEST(JavaThreads, OfHostileTextHaveNoHead)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        const JavaThreadReport report = ReadDump(text);
        EXPECT_FALSE(report.mHasHead) << text.substr(0, 40);
        EXPECT_TRUE(report.mContended.empty()) << text.substr(0, 40);
    }
}

} // namespace
} // namespace ctl
