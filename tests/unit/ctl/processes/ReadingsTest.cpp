#include "processes/Readings.h"

#include <gtest/gtest.h>
#include <unistd.h>

using ctl::Machine;
using ctl::ProcessDetails;

namespace
{

/** A process of this age in seconds that has used the processor for so many. */
ProcessDetails MakeProcess(double age, double used)
{
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    ProcessDetails details;
    details.startTicks = static_cast<std::uint64_t>((1000 - age) * ticks);
    details.cpuTicks = static_cast<std::uint64_t>(used * ticks);
    details.residentKb = 2048;
    return details;
}

constexpr Machine FOUR_PROCESSORS = {4, 1048576, 0, 1000};

} // namespace

TEST(CpuReading, IsTheShareOfTheWholeLifeOfAllProcessors)
{
    EXPECT_DOUBLE_EQ(GetCpuReading(MakeProcess(100, 200), FOUR_PROCESSORS), 50);
    EXPECT_DOUBLE_EQ(GetCpuReading(MakeProcess(100, 0), FOUR_PROCESSORS), 0);
    EXPECT_DOUBLE_EQ(GetCpuReading(MakeProcess(0, 1), FOUR_PROCESSORS), 0)
        << "a process that was just started";
}

TEST(CpuReading, HasNoTenthsWhereTheListingShowsNone)
{
    EXPECT_DOUBLE_EQ(GetCpuReading(MakeProcess(100, 99.5), FOUR_PROCESSORS), 99.5 / 4);
    EXPECT_DOUBLE_EQ(GetCpuReading(MakeProcess(100, 151.5), FOUR_PROCESSORS), 151.0 / 4);
}

TEST(MemoryReading, IsInMegabytesOrPercent)
{
    EXPECT_DOUBLE_EQ(GetMemoryReading(MakeProcess(1, 0), FOUR_PROCESSORS, true), 2);
    EXPECT_DOUBLE_EQ(GetMemoryReading(MakeProcess(1, 0), FOUR_PROCESSORS, false), 0.1);
    EXPECT_DOUBLE_EQ(GetMemoryReading(MakeProcess(1, 0), {4, 2048, 0, 1000}, false), 99.9)
        << "the listing shows no more";
}

TEST(TimeToLimit, GrowsWithTheAgeOfTheProcess)
{
    // Above 9 percent of four processors is 0.4 processors over its whole life.
    EXPECT_DOUBLE_EQ(*GetTimeToLimit(MakeProcess(300, 0), FOUR_PROCESSORS, 9, 1), 200);
    EXPECT_DOUBLE_EQ(*GetTimeToLimit(MakeProcess(600, 0), FOUR_PROCESSORS, 9, 1), 400);
    EXPECT_DOUBLE_EQ(*GetTimeToLimit(MakeProcess(100, 90), FOUR_PROCESSORS, 9, 1), 0) << "it is above it now";
}

TEST(TimeToLimit, NeverComesWhereOneProcessorIsTooLittle)
{
    EXPECT_EQ(GetTimeToLimit(MakeProcess(100, 0), FOUR_PROCESSORS, 24, 1), std::nullopt);
    EXPECT_NE(GetTimeToLimit(MakeProcess(100, 0), FOUR_PROCESSORS, 23, 1), std::nullopt);
}
