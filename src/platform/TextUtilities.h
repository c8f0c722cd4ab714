#pragma once

#include <string>

/** True when the two texts DIFFER with case ignored, in the manner of strcmp. Any thread. */
bool CompareIgnoreCase(std::string first, std::string second);

/** True when the two texts are the same with case ignored. Any thread. */
bool IsSameText(const std::string& first, const std::string& second);
