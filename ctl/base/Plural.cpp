#include "base/Plural.h"

namespace ctl
{

std::string ChooseNoun(bool isOne, std::string_view word, std::string_view many)
{
    if (!isOne && !many.empty()) {
        return std::string(many);
    }
    return std::string(word) + (isOne ? "" : "s");
}

std::string CountNoun(std::uint64_t count, std::string_view word, std::string_view many)
{
    return std::to_string(count) + " " + ChooseNoun(count == 1, word, many);
}

} // namespace ctl
