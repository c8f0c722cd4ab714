#include "evidence/ThreadDump.h"

#include "ctl/evidence/EvidenceFolder.h"

#include <sstream>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace ctl;

namespace
{
std::string Check(const std::string& text)
{
    ThreadDumpCheck check;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        check.TakeLine(line);
    }
    return check.Finish();
}

constexpr char HEADER[] =
    "5000:\n2026-11-13 02:10:28\nFull thread dump OpenJDK 64-Bit Server VM (17.0.15+6):\n\n";
constexpr char THREAD[] = "\"main\" #1 prio=5 os_prio=0 cpu=40.1ms tid=0x7f nid=0x2 runnable\n\n";
constexpr char DEADLOCK[] = "Found one Java-level deadlock:\n=============================\n\"a\":\n";
} // namespace

TEST(ThreadDump, IsWholeWithItsHeaderAndTrailer)
{
    EXPECT_EQ(Check(std::string(HEADER) + THREAD + "JNI global refs: 15, weak refs: 0\n\n"), "");
    EXPECT_EQ(Check(std::string(HEADER) + THREAD + "JNI global references: 319\n"), "")
        << "of an older release";
}

TEST(ThreadDump, WithADeadlockEndsWithTheirCount)
{
    const std::string text =
        std::string(HEADER) + THREAD + "JNI global refs: 15, weak refs: 0\n\n" + DEADLOCK;
    EXPECT_EQ(Check(text), "is cut short within its list of deadlocks");
    EXPECT_EQ(Check(text + "\nFound 1 deadlock.\n\n"), "");
}

TEST(ThreadDump, IsCutShortWithoutTheTrailer)
{
    EXPECT_EQ(Check(std::string(HEADER) + THREAD),
              "is cut short: the line \"JNI global refs\" after the threads is missing");
}

TEST(ThreadDump, IsNoneWithoutTheHeader)
{
    EXPECT_EQ(Check("5000:\ncom.sun.tools.attach.AttachNotSupportedException: no answer\n"),
              "is no thread dump: it has no line \"Full thread dump\"");
    EXPECT_EQ(Check("\n\n"), "holds no text");
    EXPECT_EQ(Check(std::string(100, '\0') + "\n"), "holds zero bytes");
}

TEST(ThreadDump, ThatIsLongIsHeldAgainstItsEnds)
{
    const EvidenceFolder folder;
    std::string text = HEADER;
    while (text.size() < std::size_t{3} << 20U) {
        text += THREAD;
    }
    for (const std::string& trailer : {std::string("JNI global refs: 15, weak refs: 0\n"), std::string()}) {
        const std::string path = folder.Write("dump", text + trailer);
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(CheckThreadDumpEnds(file, text.size() + trailer.size()),
                  trailer.empty() ? Check(text) : "");
        close(file);
    }
}
