#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace ctl
{

/**
 * What the readers of tool output share: fields, numbers and times of day as tools print them in any of their
 * usual locales. Nothing here allocates beyond the caller's vector. Any thread may call.
 */

/** The words of a line, between blanks and tabs. `fields` is emptied first; views into `line`. */
void SplitFields(std::string_view line, std::vector<std::string_view>& fields);

/** The rest of the line from the field with this index on, without blanks at its end. Empty past the end. */
std::string_view RestFromField(std::string_view line, std::size_t index);

std::string_view TrimBlanks(std::string_view text);

/** True when the text has nothing but decimal digits, and one at least. */
bool IsDigits(std::string_view text);

/** A whole decimal number within the range of int; nothing for any other text. */
std::optional<int> ReadWhole(std::string_view text);

/** A decimal number with a point or a comma; nothing for any other text, infinity among it. */
std::optional<double> ReadNumber(std::string_view text);

/**
 * An amount of memory with an optional unit letter (k, m, g, t, p in either case), in kilobytes. A number
 * without a letter counts `plainUnit` kilobytes.
 */
std::optional<double> ReadKilobytes(std::string_view text, double plainUnit);

/** Seconds since midnight of "20:32:45"; `half` is the next word, "AM" or "PM" or anything else. */
std::optional<int> ReadClock(std::string_view text, std::string_view half);

/** The first time of day among some words, with the word after it as its half of the day. */
std::optional<int> FindClock(const std::vector<std::string_view>& fields);

} // namespace ctl
