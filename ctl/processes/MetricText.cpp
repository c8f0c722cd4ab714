#include "processes/MetricText.h"

#include <cmath>
#include <cstdio>

#include "base/PlainText.h"

namespace ctl
{

namespace
{

/** A label value with its escapes; bytes that are no UTF-8 are replaced, as a scrape would fail at them. */
std::string EscapeLabel(std::string_view value)
{
    std::string escaped;
    for (const char character : ToUtf8(value)) {
        if (character == '\\' || character == '"') {
            escaped += '\\';
            escaped += character;
        } else if (character == '\n') {
            escaped += "\\n";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

} // namespace

std::string FormatMetric(double value)
{
    constexpr double EXACT = 9007199254740992; // 2^53: whole numbers up to here are exact
    char text[64];
    const bool isWhole = value == std::floor(value) && std::fabs(value) < EXACT;
    (void)std::snprintf(text, sizeof text, isWhole ? "%.0f" : "%.6g", value);
    return text;
}

void MetricText::Begin(std::string_view name, std::string_view type, std::string_view help)
{
    mName = name;
    mText.append("# HELP ").append(name).append(" ").append(help).append("\n");
    mText.append("# TYPE ").append(name).append(" ").append(type).append("\n");
}

void MetricText::Add(double value, const Labels& labels)
{
    mText += mName;
    const char* before = "{";
    for (const auto& [name, label] : labels) {
        mText.append(before).append(name).append("=\"").append(EscapeLabel(label)).append("\"");
        before = ",";
    }
    mText.append(labels.empty() ? " " : "} ").append(FormatMetric(value)).append("\n");
}

void MetricText::AddSingle(std::string_view name, std::string_view type, std::string_view help, double value)
{
    Begin(name, type, help);
    Add(value);
}

} // namespace ctl
