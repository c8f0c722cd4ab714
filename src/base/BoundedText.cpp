#include "base/BoundedText.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

std::string FormatBounded(std::size_t size, const char* format, ...)
{
    std::string buffer(size, '\0');
    va_list arguments;
    va_start(arguments, format);
    // Intentional: a longer text is cut, so the length that it would have is ignored.
    (void)vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    buffer.resize(strlen(buffer.c_str()));
    return buffer;
}
