#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;

DiskPoint MakePoint(Wall wall, const std::string& name, double latency, double utilisation)
{
    DiskRow row;
    row.mDevice = name;
    row.mReadKilobytes = 1024;
    row.mWriteKilobytes = 512;
    row.mLatency = latency;
    row.mQueue = 2.5;
    row.mUtilisation = utilisation;
    return {wall, row};
}

TEST(DiskPart, ShowsUseAndLatencyOfTheBusiestDiskFirst)
{
    ReportData data;
    data.mDisks["sda"] = {MakePoint(1, "sda", 1, 10), MakePoint(2, "sda", 2, 20)};
    data.mDisks["sdb"] = {MakePoint(1, "sdb", 20, 90), MakePoint(2, "sdb", 40, 100)};
    const std::string text = ReadPart(WriteDisks, data);
    EXPECT_THAT(text, HasSubstr("|sdb|95.0 %|100.0 %|30 ms|40 ms|1.00 MiB/s|512 KiB/s|2.5|"
                                "sda|15.0 %|20.0 %|1.5 ms|2.0 ms|1.00 MiB/s|512 KiB/s|2.5|"));
}

TEST(DiskPart, NamesNoMoreDisksThanItsTableHolds)
{
    ReportData data;
    for (int disk = 0; disk < 100; ++disk) {
        const std::string name = "sd" + std::to_string(disk);
        data.mDisks[name] = {MakePoint(1, name, 1, disk), MakePoint(2, name, 1, disk)};
    }
    EXPECT_THAT(ReadPart(WriteDisks, data), HasSubstr("The busiest of 100 disks."));
}

} // namespace
} // namespace ctl
