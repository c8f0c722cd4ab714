#include "page/parse/MemoryTools.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

template <typename Parser>
auto Read(std::string_view text)
{
    Parser parser;
    Feed(parser, text);
    return parser.Get();
}

TEST(Free, ReadsTheAvailableMemory)
{
    const FreeReading reading = Read<FreeParser>(
        R"(               total        used        free      shared  buff/cache   available
Mem:        24731708     1105580    20878444       13616     3047132    23626128
Swap:        2097148       51200     2045948
)");
    EXPECT_EQ(reading.mTotal, 24731708);
    EXPECT_EQ(reading.mUsed, 1105580);
    EXPECT_EQ(reading.mCache, 3047132);
    EXPECT_EQ(reading.mAvailable, 23626128);
    EXPECT_EQ(reading.mSwapTotal, 2097148);
    EXPECT_EQ(reading.mSwapUsed, 51200);
}

TEST(Free, CountsTheCacheOutWhereAnOlderToolCountsItIn)
{
    const FreeReading reading = Read<FreeParser>(
        R"(             total       used       free     shared    buffers     cached
Mem:       8058780    7915392     143388          0     170608    5021208
-/+ buffers/cache:    2723576    5335204
Swap:      2097144      12344    2084800
)");
    EXPECT_EQ(reading.mUsed, 2723576);
    EXPECT_EQ(reading.mCache, 170608 + 5021208);
    EXPECT_EQ(reading.mAvailable, -1);
    EXPECT_EQ(reading.mSwapUsed, 12344);
}

TEST(Vmstat, ReadsTheQueuesWithAndWithoutGuestTime)
{
    for (const char* columns : {"cs us sy id wa st", "cs us sy id wa st gu"}) {
        const VmstatReading reading = Read<VmstatParser>(
            "procs -----------memory---------- ---swap-- -----io---- -system-- ------cpu-----\n"
            " r  b   swpd   free   buff  cache   si   so    bi    bo   in   " +
            std::string(columns) +
            "\n13  2     77 20878444  66288 2980844    0    0   874  1826  715 1900 42 20 36  1  0  0\n");
        EXPECT_EQ(reading.mRunnable, 13);
        EXPECT_EQ(reading.mBlocked, 2);
        EXPECT_EQ(reading.mSwapped, 77);
        EXPECT_EQ(reading.mFree, 20878444);
    }
}

TEST(NamedValues, HaveTextsAndNumbers)
{
    NamedValues values;
    Feed(values, "MemTotal:       24731708 kB\nName:\ttbrd worker\nThreads:\t12\nodd\n:\n");
    EXPECT_EQ(values.Number("MemTotal"), 24731708);
    EXPECT_EQ(values.Text("Name"), "tbrd worker");
    EXPECT_EQ(values.Number("Threads"), 12);
    EXPECT_EQ(values.Number("Name"), -1);
    EXPECT_EQ(values.Number("None"), -1);
    EXPECT_FALSE(values.IsEmpty());
}

TEST(NamedValues, KeepNoMoreNamesThanTheirLimit)
{
    NamedValues values;
    for (int name = 0; name < 600; ++name) {
        values.TakeLine("Name" + std::to_string(name) + ": 1 kB");
    }
    EXPECT_EQ(values.Number("Name499"), 1);
    EXPECT_EQ(values.Number("Name500"), -1);
}

TEST(MemoryTools, ReadNothingOutOfHostileText)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        EXPECT_EQ(Read<FreeParser>(text).mTotal, -1) << text.substr(0, 40);
        EXPECT_EQ(Read<VmstatParser>(text).mRunnable, -1) << text.substr(0, 40);
        NamedValues values;
        Feed(values, text);
        EXPECT_EQ(values.Number("MemTotal"), -1) << text.substr(0, 40);
    }
}

} // namespace
} // namespace ctl
