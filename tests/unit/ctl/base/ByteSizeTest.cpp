#include "base/ByteSize.h"

#include <gtest/gtest.h>

TEST(ByteSize, IsReadWithUnitsThatArePowersOf1024)
{
    EXPECT_EQ(ctl::ParseByteSize("4096"), 4096U);
    EXPECT_EQ(ctl::ParseByteSize("20G"), 20ULL << 30U);
    EXPECT_EQ(ctl::ParseByteSize("1.5k"), 1536U);
    EXPECT_EQ(ctl::ParseByteSize("2MiB"), 2ULL << 20U);
    EXPECT_EQ(ctl::ParseByteSize("2MB"), 2ULL << 20U);
}

TEST(ByteSize, RefusesWhatIsNone)
{
    for (const char* const text :
         {"", "G", "-1", "+1", "1X", "1Gi", "1 G", "0x10", "9999999P", "nan", "1e3"}) {
        EXPECT_EQ(ctl::ParseByteSize(text), std::nullopt) << text;
    }
}

TEST(ByteSize, IsShownShort)
{
    EXPECT_EQ(ctl::FormatByteSize(0), "0 B");
    EXPECT_EQ(ctl::FormatByteSize(1023), "1023 B");
    EXPECT_EQ(ctl::FormatByteSize(1536), "1.5 KiB");
    EXPECT_EQ(ctl::FormatByteSize(20ULL << 30U), "20 GiB");
}
