#include "base/FormattedText.h"

#include <cstdarg>
#include <cstdio>

namespace ctl
{

std::string FormatText(const char* format, ...)
{
    std::string text;
    for (const bool isMeasured : {false, true}) {
        std::va_list values;
        va_start(values, format);
        const int length = std::vsnprintf(text.data(), isMeasured ? text.size() + 1 : 0, format, values);
        va_end(values);
        if (!isMeasured && length > 0) {
            text.resize(static_cast<std::size_t>(length));
        }
    }
    return text;
}

} // namespace ctl
