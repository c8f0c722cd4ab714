#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ctl
{

/** The word for one, or for any other number: the word with an s, or `many` where it isn't empty. */
std::string ChooseNoun(bool isOne, std::string_view word, std::string_view many = "");

/** A number with its word: "1 set", "2 sets", "0 sets". */
std::string CountNoun(std::uint64_t count, std::string_view word, std::string_view many = "");

} // namespace ctl
