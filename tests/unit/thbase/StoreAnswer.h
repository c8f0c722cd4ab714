#pragma once

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

/** The text that `get(char*&)` gives and its caller frees, or "code N" for its result N. */
template <typename Get>
std::string TextOrCode(Get get)
{
    char* value = nullptr;
    const int result = get(value);
    EXPECT_EQ(result == 0, value != nullptr);
    const std::string text = result == 0 ? value : "code " + std::to_string(result);
    std::free(value);
    return text;
}

/** The number that `get(int&)` gives, or "code N" for its result N, with which it may give no number. */
template <typename Get>
std::string NumberOrCode(Get get)
{
    constexpr int UNTOUCHED = 4711;
    int value = UNTOUCHED;
    const int result = get(value);
    EXPECT_TRUE(result == 0 || value == UNTOUCHED);
    return result == 0 ? std::to_string(value) : "code " + std::to_string(result);
}
