#include "ctl/page/html/PartText.h"

#include <gmock/gmock.h>

namespace ctl
{
namespace
{

using testing::HasSubstr;

Mapping MakeMapping(const std::string& name, double resident)
{
    Mapping mapping;
    mapping.mName = name;
    mapping.mSize = 2 * resident;
    mapping.mResident = mapping.mPrivate = resident;
    mapping.mCount = 1;
    return mapping;
}

MappingReport MakeMap(double heap, double stack)
{
    MappingReport report;
    report.mHasResident = true;
    report.mByName["[heap]"] = MakeMapping("[heap]", heap);
    report.mByName["[stack]"] = MakeMapping("[stack]", stack);
    report.mTotal = MakeMapping("", heap + stack);
    report.mTotal.mCount = 2;
    return report;
}

TEST(MappingPart, ShowsTheLargestFirstAndGrowthSinceTheSetBefore)
{
    ReportData data;
    data.mMappings = MakeMap(4096, 64);
    data.mEarlier = EarlierMap{"tbrd/1", 1000, MakeMap(1024, 64)};
    const std::string text = ReadPart(WriteMappings, data);
    EXPECT_THAT(text, HasSubstr("|[heap]|4.00 MiB|4.00 MiB|0|8.00 MiB|1|+3.00 MiB|"
                                "[stack]|64 KiB|64 KiB|0|128 KiB|1|no change|"
                                "All 2|4.06 MiB|4.06 MiB|0|8.12 MiB|2|+3.00 MiB|"));
    EXPECT_THAT(text, HasSubstr("|[heap]|1.00 MiB|4.00 MiB|+3.00 MiB|"));
    data.mEarlier->mMappings = data.mMappings;
    EXPECT_THAT(ReadPart(WriteMappings, data), HasSubstr("|No mapping changed by more than 64 KiB.|"));
    data.mEarlier.reset();
    const std::string alone = ReadPart(WriteMappings, data);
    EXPECT_THAT(alone, HasSubstr("|Growth is not known: there is no earlier set"));
    EXPECT_THAT(alone, HasSubstr("|Address space|Mappings|[heap]|4.00 MiB|4.00 MiB|0|8.00 MiB|1|[stack]|"))
        << "a column of growth would be empty";
}

TEST(MappingPart, NamesTheFiguresOfTheStatus)
{
    ReportData data;
    for (const char* const line :
         {"State:\tS (sleeping)", "VmPeak:\t 2048 kB", "VmHWM:\t 1024 kB", "FDSize:\t64",
          "voluntary_ctxt_switches:\t5", "nonvoluntary_ctxt_switches:\t7"}) {
        data.mStatus.TakeLine(line);
    }
    EXPECT_THAT(ReadPart(WriteMappings, data),
                HasSubstr("|State of its first thread|S (sleeping)|Address space, peak|2.00 MiB|Resident, "
                          "peak|1.00 MiB|Size of the descriptor table|64|Voluntary context switches|5|"
                          "Involuntary context switches|7|"));
}

TEST(MappingPart, SaysThatSizesAloneAreKnown)
{
    ReportData data;
    data.mMappings = MakeMap(4096, 64);
    data.mMappings.mHasResident = false;
    EXPECT_THAT(ReadPart(WriteMappings, data), HasSubstr("|Only pmap could be read, which knows the sizes"));
    EXPECT_THAT(ReadPart(WriteMappings, data),
                HasSubstr("|[heap]|not known|not known|not known|8.00 MiB|1|"));
}

} // namespace
} // namespace ctl
