#include "evidence/Activity.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace ctl;

namespace
{
const EvidenceSet& GetSet()
{
    static const EvidenceSet set = [] {
        EvidenceSet made;
        made.process = "tbrd";
        made.pid = 4321;
        made.label = "CPU";
        made.number = 1;
        made.folder = "tbrd/4321/Evidence1";
        return made;
    }();
    return set;
}

bool IsLine(const std::string& line, FileKind kind)
{
    return IsCaptureLine(line, GetSet(), kind);
}
} // namespace

TEST(CaptureLine, NamesTheFileThatItWrites)
{
    const std::string line = "sh -c /usr/bin/iostat -xt 5 50 >> "
                             "/ev/thsentinel/tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU.DiskPerf_iostat ";
    EXPECT_TRUE(IsLine(line, FileKind::Iostat));
    EXPECT_FALSE(IsLine(line, FileKind::Mpstat));
    EXPECT_FALSE(IsLine("/usr/bin/iostat -xt 5 50", FileKind::Iostat));
}

TEST(CaptureLine, OfGcoreNamesTheFileWithoutItsEnding)
{
    const std::string line =
        "/bin/sh /usr/bin/gcore -o /ev/thsentinel/tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU 4321 ";
    EXPECT_TRUE(IsLine(line, FileKind::Core));
    EXPECT_FALSE(IsLine(line, FileKind::Netstat));
}

TEST(CaptureLine, IsKnownHoweverTheEvidencePathIsSpelt)
{
    EXPECT_TRUE(
        IsLine("/bin/sh /usr/bin/gcore -o /ev//thsentinel/tbrd/4321/Evidence1/4321_13-11_02.10.28_CPU 4321",
               FileKind::Core));
    EXPECT_FALSE(IsLine("/bin/sh /usr/bin/gcore -o /ev/xtbrd/4321/Evidence1/4321_13-11_02.10.28_CPU 4321",
                        FileKind::Core));
}

TEST(CaptureLine, OfJcmdNamesTheProcess)
{
    EXPECT_TRUE(IsLine("su app -c /jdk/bin/jcmd 4321 GC.heap_dump /tmp/4321dump.hprof", FileKind::HeapDump));
    EXPECT_FALSE(IsLine("su app -c /jdk/bin/jcmd 43210 GC.heap_dump /tmp/x", FileKind::HeapDump));
}

TEST(CaptureLine, OfAnotherSetIsNotOfThisOne)
{
    EXPECT_FALSE(IsLine("sh -c x >> /ev/thsentinel/tbrd/4321/Evidence2/4321_13-11_02.10.28_CPU.Netstat",
                        FileKind::Netstat));
    EXPECT_FALSE(IsLine("sh -c x >> /ev/thsentinel/tbrd/4321/Evidence1/4321_13-11_02.10.28_Memory.Netstat",
                        FileKind::Netstat));
    EXPECT_FALSE(IsLine("sh -c x >> /ev/thsentinel/tbrd/4321/Evidence1/", FileKind::Netstat));
}

TEST(Activity, KnowsWhichProcessesLive)
{
    const Activity activity;
    EXPECT_TRUE(activity.IsAlive(getpid()));
    EXPECT_FALSE(activity.IsAlive(0x3FFFFFFF));
}
