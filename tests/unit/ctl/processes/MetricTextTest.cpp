#include "processes/MetricText.h"

#include <gtest/gtest.h>

namespace ctl
{
namespace
{

TEST(MetricText, HasHelpAndTypeOnceBeforeTheSamplesOfAFamily)
{
    MetricText text;
    text.Begin("a_total", "counter", "What it counts.");
    text.Add(1, {{"name", "x"}, {"resource", "cpu"}});
    text.Add(2, {{"name", "y"}, {"resource", "cpu"}});
    text.AddSingle("b", "gauge", "Another.", 0.5);
    EXPECT_EQ(text.Get(), "# HELP a_total What it counts.\n"
                          "# TYPE a_total counter\n"
                          "a_total{name=\"x\",resource=\"cpu\"} 1\n"
                          "a_total{name=\"y\",resource=\"cpu\"} 2\n"
                          "# HELP b Another.\n"
                          "# TYPE b gauge\n"
                          "b 0.5\n");
}

TEST(MetricText, KeepsHostileLabelsOnTheirLine)
{
    MetricText text;
    text.Add(1, {{"name", "a\"} 9\nb\\ \x1b\xff"}});
    EXPECT_EQ(text.Get(), "{name=\"a\\\"} 9\\nb\\\\ \x1b\xef\xbf\xbd\"} 1\n");
}

TEST(MetricNumber, IsWholeWhereItCanBe)
{
    EXPECT_EQ(FormatMetric(0), "0");
    EXPECT_EQ(FormatMetric(1794535648), "1794535648");
    EXPECT_EQ(FormatMetric(-1), "-1");
    EXPECT_EQ(FormatMetric(1.5), "1.5");
    EXPECT_EQ(FormatMetric(1e300), "1e+300");
}

} // namespace
} // namespace ctl
