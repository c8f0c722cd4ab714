#include "base/NumberRange.h"

#include <cstdlib>
#include <string>

#include <CLI/CLI.hpp>

#include "base/FormattedText.h"

namespace ctl
{

void AcceptRange(CLI::Option& option, double lowest, double highest)
{
    option.check([lowest, highest](const std::string& text) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        const bool isGood = !text.empty() && *end == '\0' && value >= lowest && value <= highest;
        return isGood ? std::string() : FormatText("must be a number from %g to %.0f", lowest, highest);
    });
}

} // namespace ctl
