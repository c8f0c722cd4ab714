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
    EXPECT_THAT(ReadPart(WriteMappings, data), HasSubstr("|Growth is not known: there is no earlier set"));
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
