#include "store/MonitorList.h"

#include <algorithm>
#include <cstdlib>

namespace ctl
{

namespace
{

bool IsAllowed(char character)
{
    constexpr std::string_view OTHERS = "@_.\\/-:, \t";
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || OTHERS.find(character) != std::string_view::npos;
}

ListElement SplitElement(std::string_view element, bool isDeadlockList)
{
    ListElement result;
    result.text = std::string(element);
    const std::size_t colon = element.find(':');
    if (colon != std::string_view::npos) {
        result.name = TrimLikeDaemon(element.substr(0, colon));
        result.limitText = TrimLikeDaemon(element.substr(colon + 1));
        if (!result.limitText.empty()) {
            // Cut to 32 bits, as the daemon does.
            result.limit = static_cast<int>(std::strtol(result.limitText.c_str(), nullptr, 10));
        }
    }
    if (isDeadlockList && result.name.empty()) {
        result.name = result.text;
        result.limit = 0;
    }
    return result;
}

} // namespace

std::vector<ListElement> SplitList(std::string_view value, bool isDeadlockList)
{
    std::vector<ListElement> elements;
    for (std::size_t comma = 0; (comma = value.find(',')) != std::string_view::npos;
         value.remove_prefix(comma + 1)) {
        elements.push_back(SplitElement(TrimLikeDaemon(value.substr(0, comma)), isDeadlockList));
    }
    if (!value.empty()) {
        elements.push_back(SplitElement(TrimLikeDaemon(value), isDeadlockList));
    }
    return elements;
}

bool IsReadAsWritten(const ListElement& element)
{
    std::string_view digits = element.limitText;
    while (digits.size() > 1 && digits.front() == '0') {
        digits.remove_prefix(1);
    }
    return digits == std::to_string(element.limit);
}

TextCheck CheckText(std::string_view text)
{
    for (const std::string_view sequence : {"..", "*", ".?"}) { // the longer ones hold the first of these
        if (text.find(sequence) != std::string_view::npos) {
            return {TextFault::Sequence, '\0'};
        }
    }
    const auto bad = std::find_if_not(text.begin(), text.end(), IsAllowed);
    return bad != text.end() ? TextCheck{TextFault::Character, *bad} : TextCheck{};
}

std::string TrimLikeDaemon(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return std::string(text);
    }
    return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

} // namespace ctl
