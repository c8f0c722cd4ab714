#pragma once

#include <string>
#include <string_view>

/** The text `count` times. */
inline std::string RepeatText(std::string_view text, int count)
{
    std::string repeated;
    repeated.reserve(text.size() * static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number) {
        repeated += text;
    }
    return repeated;
}
