#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;
using testing::Not;

ProcessSummary MakeProcess(int pid, double cpu, double first, double last)
{
    ProcessSummary process;
    process.mPid = pid;
    process.mCommand = "p" + std::to_string(pid);
    process.mHighestCpu = process.mCpuSum = cpu;
    process.mCpuSamples = 1;
    process.mFirstResident = first;
    process.mLastResident = process.mHighestResident = last;
    return process;
}

TEST(ProcessPart, SortsByProcessorTimeMemoryAndGrowth)
{
    ReportData data;
    data.mProcesses[1] = MakeProcess(1, 5, 1024, 1024);
    data.mProcesses[2] = MakeProcess(2, 90, 512, 512);
    data.mProcesses[3] = MakeProcess(3, 0, 2048, 8192);
    const std::string text = ReadPart(WriteProcesses, data);
    EXPECT_THAT(text, HasSubstr("|2|p2|90.0 %|90.0 %|512 KiB|no change|1|p1|5.0 %|5.0 %|1.00 MiB|no change|"
                                "By memory|"));
    EXPECT_THAT(text, HasSubstr("|3|p3|0.0 %|0.0 %|8.00 MiB|+6.00 MiB|1|p1|"));
    EXPECT_THAT(text, HasSubstr("|Growing while the samples were taken|"));
    EXPECT_THAT(text, HasSubstr("|Process ids seen in all: 3.|"));
}

TEST(ProcessPart, HidesSecretArgumentsAsABundleDoes)
{
    ReportData data;
    data.mProcesses[1] = MakeProcess(1, 5, 1024, 1024);
    data.mProcesses[1].mCommand = "tbrd --password sesame -Durl=db://u:sesame@host --id=4";
    const std::string text = ReadPart(WriteProcesses, data);
    EXPECT_THAT(text, HasSubstr("|tbrd --password [hidden] -Durl=db://[hidden]@host --id=4|"));
    EXPECT_THAT(text, Not(HasSubstr("sesame")));
}

TEST(ProcessPart, OfAnIdleHostHasNoEmptyTable)
{
    ReportData data;
    data.mProcesses[1] = MakeProcess(1, 0, 1024, 1024);
    const std::string text = ReadPart(WriteProcesses, data);
    EXPECT_THAT(text,
                HasSubstr("|By processor time|No process used a share that the tools show.|By memory|"));
    EXPECT_THAT(text, Not(HasSubstr("Growing while")));
}

} // namespace
} // namespace ctl
