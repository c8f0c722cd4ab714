#include "page/html/Chart.h"

#include "base/Document.h"
#include "page/html/Format.h"

#include <algorithm>
#include <cmath>

namespace ctl
{

namespace
{
constexpr double WIDTH = 900;
constexpr double HEIGHT = 200;
constexpr double LEFT = 64;
constexpr double RIGHT = 14;
constexpr double TOP = 12;
constexpr double BOTTOM = 26;
/**
 * Points beyond this many can't be told apart in a picture; each that is drawn is the highest of its stretch.
 */
constexpr std::size_t MOST_POINTS = 600;
constexpr int MARKS_UP = 4;
constexpr int MARKS_ALONG = 6;
/** Half of a label of the time axis. */
constexpr double HALF_A_LABEL = 26;

struct Scale
{
    Wall mFirst = 0;
    Wall mLast = 0;
    double mHighest = 1;

    double X(Wall wall) const
    {
        const double share = static_cast<double>(wall - mFirst) / static_cast<double>(mLast - mFirst);
        return LEFT + share * (WIDTH - LEFT - RIGHT);
    }
    double Y(double value) const { return HEIGHT - BOTTOM - value / mHighest * (HEIGHT - TOP - BOTTOM); }
};

std::string FormatValue(double value, ChartUnit unit)
{
    switch (unit) {
    case ChartUnit::Percent:
        return FormatPlain(value, value < 10 && value != std::floor(value) ? 1 : 0) + " %";
    case ChartUnit::Kilobytes:
        return FormatKilobytes(value);
    case ChartUnit::Milliseconds:
        return FormatMilliseconds(value);
    case ChartUnit::Megabytes:
        return FormatPlain(value, value < 10 && value != std::floor(value) ? 2 : 0) + " MB";
    default:
        return FormatPlain(value, value < 10 && value != std::floor(value) ? 2 : 0);
    }
}

std::string_view NameOf(ChartUnit unit)
{
    switch (unit) {
    case ChartUnit::Percent:
        return "%";
    case ChartUnit::Kilobytes:
        return "KiB";
    case ChartUnit::Milliseconds:
        return "ms";
    case ChartUnit::Megabytes:
        return "MB";
    default:
        return "";
    }
}

double HighestOf(const Chart& chart)
{
    double highest = std::max({chart.mCeiling, chart.mLimit, 0.0});
    for (const ChartSeries& series : chart.mSeries) {
        for (const double value : series.mValues) {
            highest = std::max(highest, value);
        }
    }
    return highest > 0 ? highest : 1;
}

/** Steps of memory are such of its binary unit. */
double StepOf(const Chart& chart, double highest)
{
    if (chart.mUnit != ChartUnit::Kilobytes) {
        return GetTickStep(highest, MARKS_UP);
    }
    double unit = 1;
    while (highest / unit >= 1024) {
        unit *= 1024;
    }
    return GetTickStep(highest / unit, MARKS_UP) * unit;
}

Scale MakeScale(const Chart& chart)
{
    const double highest = HighestOf(chart);
    const double step = StepOf(chart, highest);
    return {chart.mTimes.front(), chart.mTimes.back(), std::ceil(highest / step - 1e-9) * step};
}

void WriteLine(Html& html, std::string_view cssClass, double x1, double y1, double x2, double y2)
{
    html.Markup("<line class=\"").Markup(cssClass).Markup("\" x1=\"" + FormatPlain(x1, 1));
    html.Markup("\" y1=\"" + FormatPlain(y1, 1) + "\" x2=\"" + FormatPlain(x2, 1) + "\" y2=\"");
    html.Markup(FormatPlain(y2, 1) + "\"/>");
}

void WriteLabel(Html& html, std::string_view cssClass, double x, double y, std::string_view text)
{
    html.Markup("<text class=\"").Markup(cssClass).Markup("\" x=\"" + FormatPlain(x, 1));
    html.Markup("\" y=\"" + FormatPlain(y, 1) + "\">").Text(text).Markup("</text>");
}

void WriteGrid(Html& html, const Chart& chart, const Scale& scale)
{
    const double step = StepOf(chart, scale.mHighest);
    for (double value = 0; value <= scale.mHighest + step / 2; value += step) {
        WriteLine(html, "grid", LEFT, scale.Y(value), WIDTH - RIGHT, scale.Y(value));
        WriteLabel(html, "up", LEFT - 6, scale.Y(value) + 4, FormatValue(value, chart.mUnit));
    }
    const Wall apart = GetTimeStep(scale.mLast - scale.mFirst, MARKS_ALONG);
    for (Wall wall = (scale.mFirst + apart - 1) / apart * apart; wall <= scale.mLast; wall += apart) {
        const double x = scale.X(wall);
        const bool isFirst = x < LEFT + HALF_A_LABEL;
        const bool isLast = x > WIDTH - RIGHT - HALF_A_LABEL;
        WriteLine(html, "grid", x, HEIGHT - BOTTOM, x, HEIGHT - BOTTOM + 4);
        WriteLabel(html,
                   isFirst  ? "along first"
                   : isLast ? "along last"
                            : "along",
                   x, HEIGHT - 8, FormatWallClock(wall));
    }
}

/** The stretches of a line between its gaps, as lists of points. */
void WriteSeries(Html& html, const Chart& chart, const Scale& scale, std::size_t index)
{
    const auto& values = chart.mSeries[index].mValues;
    const std::size_t stride = values.size() / MOST_POINTS + 1;
    std::string points;
    const auto flush = [&] {
        if (!points.empty()) {
            html.Markup("<polyline class=\"s" + std::to_string(index) + "\" points=\"" + points + "\"/>");
            points.clear();
        }
    };
    for (std::size_t from = 0; from < values.size(); from += stride) {
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(from);
        const auto end = begin + static_cast<std::ptrdiff_t>(std::min(stride, values.size() - from));
        const double value = *std::max_element(begin, end);
        if (value < 0) {
            flush();
        } else {
            points +=
                FormatPlain(scale.X(chart.mTimes[from]), 1) + "," + FormatPlain(scale.Y(value), 1) + " ";
        }
    }
    flush();
}

void WritePicture(Html& html, const Chart& chart)
{
    const Scale scale = MakeScale(chart);
    html.Markup("<svg class=\"picture\" viewBox=\"0 0 900 200\" role=\"img\" aria-label=\"")
        .Text(chart.mTitle)
        .Markup("\">");
    WriteGrid(html, chart, scale);
    if (chart.mLimit >= 0) {
        WriteLine(html, "limit", LEFT, scale.Y(chart.mLimit), WIDTH - RIGHT, scale.Y(chart.mLimit));
    }
    if (chart.mMark >= scale.mFirst && chart.mMark <= scale.mLast) {
        WriteLine(html, "mark", scale.X(chart.mMark), TOP, scale.X(chart.mMark), HEIGHT - BOTTOM);
    }
    for (std::size_t index = 0; index < chart.mSeries.size(); ++index) {
        WriteSeries(html, chart, scale, index);
    }
    html.Markup("</svg>");
}

void WriteLegend(Html& html, const Chart& chart)
{
    html.Markup("<ul class=\"legend\">");
    for (std::size_t index = 0; index < chart.mSeries.size(); ++index) {
        html.Markup("<li><i class=\"s" + std::to_string(index) + "\"></i>")
            .Text(chart.mSeries[index].mName)
            .Markup("</li>");
    }
    if (chart.mLimit >= 0) {
        html.Markup("<li><i class=\"limit\"></i>limit ")
            .Text(FormatValue(chart.mLimit, chart.mUnit))
            .Markup("</li>");
    }
    const bool hasMark = chart.mMark >= chart.mTimes.front() && chart.mMark <= chart.mTimes.back();
    html.Markup(hasMark ? "<li><i class=\"mark\"></i>breach</li></ul>" : "</ul>");
}

/** The numbers as JSON in a block that no browser runs; "<" can't stand in it, so it ends where it should. */
void WriteNumbers(Html& html, const Chart& chart)
{
    Json rows = Json::array();
    for (std::size_t point = 0; point < chart.mTimes.size(); ++point) {
        Json row = Json::array({chart.mTimes[point]});
        for (const ChartSeries& series : chart.mSeries) {
            const double value = series.mValues[point];
            row.push_back(value < 0 ? Json(nullptr) : Json(std::round(value * 100) / 100));
        }
        rows.push_back(std::move(row));
    }
    Json names = Json::array();
    for (const ChartSeries& series : chart.mSeries) {
        names.push_back(ToJson(series.mName));
    }
    const Json document = {
        {"names", names},      {"unit", NameOf(chart.mUnit)},          {"limit", chart.mLimit},
        {"mark", chart.mMark}, {"highest", MakeScale(chart).mHighest}, {"rows", rows}};
    std::string text = document.dump();
    for (auto found = text.find('<'); found != std::string::npos; found = text.find('<', found)) {
        text.replace(found, 1, "\\u003c");
    }
    html.Markup("<script type=\"application/json\">").Markup(text).Markup("</script>");
}

bool HasNothing(const ChartSeries& series)
{
    return std::all_of(series.mValues.begin(), series.mValues.end(), [](double value) { return value < 0; });
}
} // namespace

double GetTickStep(double highest, int marks)
{
    const double raw = highest / marks;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (raw <= step * power * 1.0001) {
            return step * power;
        }
    }
    return 10 * power;
}

Wall GetTimeStep(Wall span, int marks)
{
    constexpr Wall STEPS[] = {1,   2,   5,    10,   15,   30,    60,    120,   300,
                              600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400};
    for (const Wall step : STEPS) {
        if (span / step <= marks) {
            return step;
        }
    }
    const Wall day = STEPS[std::size(STEPS) - 1];
    return (span / day / marks + 1) * day;
}

void WriteChart(Html& html, Chart chart)
{
    std::erase_if(chart.mSeries, HasNothing);
    if (chart.mSeries.empty() || chart.mTimes.size() < 2 || chart.mTimes.back() <= chart.mTimes.front()) {
        return;
    }
    chart.mSeries.resize(std::min(chart.mSeries.size(), MOST_SERIES));
    html.Markup("\n<figure class=\"chart\" id=\"chart-" + chart.mId + "\">")
        .Element("figcaption", chart.mTitle);
    WriteLegend(html, chart);
    WritePicture(html, chart);
    WriteNumbers(html, chart);
    html.Markup("</figure>");
}

} // namespace ctl
