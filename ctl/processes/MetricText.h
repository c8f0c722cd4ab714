#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ctl
{

/** Writes metrics in the text format of Prometheus. */
class MetricText
{
public:
    using Labels = std::vector<std::pair<const char*, std::string>>;

    /** Begins a family: its HELP and TYPE lines. `type` is "gauge" or "counter". */
    void Begin(std::string_view name, std::string_view type, std::string_view help);

    /** Adds a sample of the family that was begun last. Label values may hold anything. */
    void Add(double value, const Labels& labels = {});

    /** Begins a family and adds its only sample. */
    void AddSingle(std::string_view name, std::string_view type, std::string_view help, double value);

    const std::string& Get() const { return mText; }

private:
    std::string mText;
    std::string mName;
};

/** A number as the format wants it: whole numbers without a fraction. */
std::string FormatMetric(double value);

} // namespace ctl
