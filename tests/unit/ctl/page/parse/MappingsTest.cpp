#include "page/parse/Mappings.h"

#include <gtest/gtest.h>

#include "ctl/page/parse/Feed.h"

namespace ctl
{
namespace
{

constexpr const char* SMAPS =
    R"(55ab4170b000-55ab4173a000 r--p 00000000 fe:00 123                        /usr/bin/with blank
Size:                188 kB
KernelPageSize:        4 kB
Rss:                 180 kB
Pss:                  60 kB
Private_Clean:         4 kB
Private_Dirty:         8 kB
Swap:                  2 kB
VmFlags: rd mr mw me sd 
55ab4173a000-55ab4174a000 r-xp 00000000 fe:00 123                        /usr/bin/with blank
Size:                 64 kB
Rss:                  64 kB
7f0000000000-7f0000100000 rw-p 00000000 00:00 0 
Size:               1024 kB
Rss:                 900 kB
7f0000200000-7f0000300000 rw-p 00000000 00:00 0                          [stack:1234]
Size:               1024 kB
Rss:                  16 kB
)";

MappingReport ReadSmaps(std::string_view text)
{
    SmapsParser parser;
    Feed(parser, text);
    return parser.Finish();
}

MappingReport ReadPmap(std::string_view text)
{
    PmapParser parser;
    Feed(parser, text);
    return parser.Get();
}

TEST(Smaps, AddsMappingsOfOneName)
{
    const MappingReport report = ReadSmaps(SMAPS);
    const Mapping& file = report.mByName.at("/usr/bin/with blank");
    EXPECT_EQ(file.mCount, 2);
    EXPECT_EQ(file.mSize, 252);
    EXPECT_EQ(file.mResident, 244);
    EXPECT_EQ(file.mPrivate, 12);
    EXPECT_EQ(file.mSwap, 2);
    EXPECT_EQ(report.mByName.at("[anonymous]").mResident, 900);
    EXPECT_EQ(report.mByName.at("[stack of a thread]").mResident, 16);
    EXPECT_EQ(report.mTotal.mResident, 1160);
    EXPECT_EQ(report.mTotal.mCount, 4);
    EXPECT_TRUE(report.mHasResident);
}

TEST(Smaps, KeepsTheLargestMappingsInOrder)
{
    const MappingReport report = ReadSmaps(SMAPS);
    ASSERT_EQ(report.mLargest.size(), 4u);
    EXPECT_EQ(report.mLargest[0].mRange, "7f0000000000-7f0000100000");
    EXPECT_EQ(report.mLargest[0].mAccess, "rw-p");
    EXPECT_EQ(report.mLargest[3].mResident, 16);
}

TEST(Smaps, KeepsNoMoreNamesThanItsLimitAndCountsTheRest)
{
    SmapsParser parser;
    for (int name = 0; name < 20010; ++name) {
        parser.TakeLine("0-1 r--p 0 0:0 1 /file" + std::to_string(name));
        parser.TakeLine("Rss: 1 kB");
    }
    const MappingReport& report = parser.Finish();
    EXPECT_EQ(report.mByName.size(), 20000u);
    EXPECT_EQ(report.mNamesLeftOut, 10u);
    EXPECT_EQ(report.mTotal.mResident, 20010);
    EXPECT_EQ(report.mLargest.size(), MOST_LARGEST);
}

TEST(Smaps, CutAnywhereGivesWhatWasThere)
{
    const std::string_view whole = SMAPS;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_LE(ReadSmaps(whole.substr(0, length)).mTotal.mCount, 4);
    }
}

TEST(Pmap, ReadsSizesAlone)
{
    const MappingReport report = ReadPmap(R"(394:   bash /dev/fd/3
000055ab4170b000    188K r---- bash
000055ab4173a000    772K r-x-- bash
ffffffffff600000      4K --x--   [ anon ]
 total             5008K
)");
    EXPECT_EQ(report.mByName.at("bash").mSize, 960);
    EXPECT_EQ(report.mByName.at("[anonymous]").mSize, 4);
    EXPECT_EQ(report.mTotal.mCount, 3);
    EXPECT_FALSE(report.mHasResident);
}

TEST(Mappings, AreEmptyForHostileText)
{
    for (const std::string& text : HOSTILE_TEXTS) {
        EXPECT_EQ(ReadSmaps(text).mTotal.mResident, 0) << text.substr(0, 40);
        EXPECT_EQ(ReadPmap(text).mTotal.mCount, 0) << text.substr(0, 40);
    }
}

} // namespace
} // namespace ctl
