#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

/** Middle value of some figures, of which there must be one at least. */
inline double GetMedian(std::vector<double> figures)
{
    const auto middle = figures.begin() + static_cast<std::ptrdiff_t>(figures.size() / 2);
    std::nth_element(figures.begin(), middle, figures.end());
    return *middle;
}

/** Wall time that `work` takes, in milliseconds. */
template <typename Work>
double TimeMilliseconds(Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}
