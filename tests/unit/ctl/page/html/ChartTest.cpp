#include "page/html/Chart.h"
#include "page/html/Format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ctl
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

Chart MakeChart(std::vector<double> values)
{
    Chart chart{"x", "Title", ChartUnit::Percent, {}, {{"line", values}}, 100, -1, 0};
    for (std::size_t index = 0; index < values.size(); ++index) {
        chart.mTimes.push_back(static_cast<Wall>(1000 + 5 * index));
    }
    return chart;
}

std::string Write(Chart chart)
{
    Html html;
    WriteChart(html, std::move(chart));
    return html.Get();
}

TEST(Chart, IsAPictureAndTheNumbersOfIt)
{
    const std::string text = Write(MakeChart({0, 50, 100}));
    EXPECT_THAT(text, HasSubstr("<polyline class=\"s0\" points=\"64.0,174.0 475.0,93.0 886.0,12.0 \"/>"));
    EXPECT_THAT(text, HasSubstr("\"rows\":[[1000,0.0],[1005,50.0],[1010,100.0]]"));
}

TEST(Chart, LeavesAGapWhereAValueIsMissing)
{
    const std::string text = Write(MakeChart({10, 20, -1, 20, 10}));
    EXPECT_EQ(text.find("<polyline"), text.rfind("<polyline", text.rfind("<polyline") - 1));
    EXPECT_THAT(text, HasSubstr("[1010,null]"));
}

TEST(Chart, WithoutTwoTimesOrAnyValueIsNone)
{
    EXPECT_EQ(Write(MakeChart({})), "");
    EXPECT_EQ(Write(MakeChart({1})), "");
    EXPECT_EQ(Write(MakeChart({-1, -1})), "");
}

TEST(Chart, CannotBeLeftByANameInItsNumbers)
{
    Chart chart = MakeChart({1, 2});
    chart.mSeries[0].mName = "</script><b>\xff";
    const std::string text = Write(std::move(chart));
    EXPECT_THAT(text, Not(HasSubstr("</script><b>")));
    EXPECT_THAT(text, HasSubstr("\\u003c/script>\\u003cb>\xEF\xBF\xBD"));
}

TEST(Chart, OfVeryManyPointsKeepsThePeaks)
{
    std::vector<double> values(10000, 1.0);
    values[5003] = 100;
    const std::string text = Write(MakeChart(values));
    EXPECT_LT(text.find("</svg>") - text.find("<polyline"), 12000u);
    EXPECT_THAT(text, HasSubstr(",12.0 "));
}

std::vector<std::string> GetLabels(Wall first, Wall last)
{
    Chart chart{"x", "Title", ChartUnit::Percent, {first, last}, {{"line", {1, 2}}}, 100, -1, 0};
    std::string text = Write(std::move(chart));
    std::vector<std::string> labels;
    constexpr std::string_view BEGIN = "<text class=\"along";
    for (auto found = text.find(BEGIN); found != std::string::npos; found = text.find(BEGIN, found + 1)) {
        const auto begin = text.find('>', found) + 1;
        labels.push_back(text.substr(begin, text.find('<', begin) - begin));
    }
    return labels;
}

TEST(Chart, HasEvenMarksAtWholeTimes)
{
    EXPECT_THAT(GetLabels(1000, 1001), ElementsAre("00:16:40", "00:16:41"));
    EXPECT_THAT(GetLabels(1009, 1015), ElementsAre("00:16:49", "00:16:50", "00:16:51", "00:16:52", "00:16:53",
                                                   "00:16:54", "00:16:55"));
    EXPECT_THAT(GetLabels(1009, 1022), ElementsAre("00:16:50", "00:16:52", "00:16:54", "00:16:56", "00:16:58",
                                                   "00:17:00", "00:17:02"));
    EXPECT_THAT(GetLabels(1009, 1258), ElementsAre("00:17:00", "00:18:00", "00:19:00", "00:20:00"));
}

TEST(Chart, OfMegabytesNamesThem)
{
    Chart chart = MakeChart({1, 2});
    chart.mUnit = ChartUnit::Megabytes;
    chart.mLimit = 60;
    const std::string text = Write(std::move(chart));
    EXPECT_THAT(text, HasSubstr(">100 MB</text>"));
    EXPECT_THAT(text, HasSubstr("limit 60 MB<"));
    EXPECT_THAT(text, HasSubstr("\"unit\":\"MB\""));
}

TEST(TimeStep, GrowsWithTheSpan)
{
    EXPECT_EQ(GetTimeStep(0, 6), 1);
    EXPECT_EQ(GetTimeStep(3600, 6), 600);
    EXPECT_EQ(GetTimeStep(86400, 6), 21600);
    EXPECT_EQ(GetTimeStep(86400 * 100, 6), 86400 * 17);
}

TEST(TickStep, IsOneTwoOrFiveOfAPowerOfTen)
{
    EXPECT_EQ(GetTickStep(100, 4), 50);
    EXPECT_EQ(GetTickStep(80, 4), 20);
    EXPECT_EQ(GetTickStep(4, 4), 1);
    EXPECT_EQ(GetTickStep(0.04, 4), 0.01);
}

TEST(Format, OfAmountsOfMemoryPicksTheUnit)
{
    EXPECT_EQ(FormatKilobytes(-1), "not known");
    EXPECT_EQ(FormatKilobytes(0), "0");
    EXPECT_EQ(FormatKilobytes(999), "999 KiB");
    EXPECT_EQ(FormatKilobytes(1536), "1.50 MiB");
    EXPECT_EQ(FormatKilobytes(16318464), "15.6 GiB");
    EXPECT_EQ(FormatGrowth(2048), "+2.00 MiB");
    EXPECT_EQ(FormatGrowth(-2048), "\u22122.00 MiB");
    EXPECT_EQ(FormatGrowth(0.4), "no change");
}

TEST(Format, OfTimesIsThatOfTheHost)
{
    EXPECT_EQ(FormatWall(1794535648), "2026-11-13 02:07:28");
    EXPECT_EQ(FormatOffset(100, 88), "+12 s");
    EXPECT_EQ(FormatOffset(88, 100), "\u221212 s");
}

TEST(Format, CountsOneAndMany)
{
    EXPECT_EQ(FormatCount(1, "thread"), "1 thread");
    EXPECT_EQ(FormatCount(12, "thread"), "12 threads");
    EXPECT_EQ(FormatPlain(-0.001, 1), "0.0");
}

} // namespace
} // namespace ctl
