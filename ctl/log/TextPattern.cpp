#include "log/TextPattern.h"

#include <array>
#include <charconv>
#include <span>

#include "base/ProgramNames.h"
#include "counters/BreachTexts.h"
#include "evidence/CaptureTexts.h"

#include "log/LogEvent.h"

namespace ctl
{

namespace
{

constexpr std::array<std::string_view, 2> LABELS = {LABEL_CPU, LABEL_MEMORY};
constexpr std::array<std::string_view, 2> RESOURCES = {"cpu", "memory"};
constexpr std::array<std::string_view, 2> UNITS = {UNIT_PERCENT, UNIT_MEGABYTES};
constexpr std::array<std::string_view, 1> TITLES = {TITLE};

/** The texts that may stand at a place; none for places that may hold any. */
std::span<const std::string_view> GetChoices(char place)
{
    switch (place) {
    case 'L':
        return LABELS;
    case 'U':
        return UNITS;
    case 'S':
        return TITLES;
    default:
        return {};
    }
}

template <typename Number>
bool ReadWhole(std::string_view text, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool FillSubject(LogEvent& event, std::string_view text)
{
    const std::size_t id = text.rfind(SUBJECT_ID);
    if (id == std::string_view::npos || !text.ends_with(SUBJECT_END)) {
        return false;
    }
    event.process = text.substr(0, id);
    text.remove_prefix(id + std::string_view(SUBJECT_ID).size());
    text.remove_suffix(std::string_view(SUBJECT_END).size());
    return ReadWhole(text, event.pid);
}

/** Puts a text where it belongs; false if it can't be what its place stands for. */
bool Fill(LogEvent& event, char place, std::string_view text)
{
    switch (place) {
    case 'L':
        event.resource = RESOURCES[text == LABELS[0] ? 0 : 1];
        return true;
    case 'U':
        event.unit = text;
        return true;
    case 'N':
        event.process = text;
        return true;
    case 'D':
        event.detail = text;
        return true;
    case 'Q':
        return FillSubject(event, text);
    case 'P':
        return ReadWhole(text, event.pid);
    case 'T':
        return ReadWhole(text, event.limit);
    case 'C':
        return ReadWhole(text, event.number);
    case 'R':
        return ReadWhole(text, event.reading);
    case 'A':
        return ReadWhole(text, event.average);
    default:
        return true;
    }
}

/** How many characters of the text are a number, as a conversion prints it. */
std::size_t CountNumber(std::string_view text, char conversion)
{
    const std::size_t end = text.find_first_not_of(conversion == 'f' ? "-.0123456789" : "-0123456789");
    return end == std::string_view::npos ? text.size() : end;
}

/** A format in its parts: fixed text, one conversion, and what follows. */
struct FormatParts
{
    std::string_view fixed;
    char conversion = '\0'; ///< its last letter; none if the format has no conversion
    std::string_view rest;
};

FormatParts SplitFormat(std::string_view format)
{
    const std::size_t percent = format.find('%');
    if (percent == std::string_view::npos) {
        return {format, '\0', {}};
    }
    const std::size_t last = format.find_first_of("sduf", percent);
    return {format.substr(0, percent), format[last], format.substr(last + 1)};
}

bool MatchParts(std::string_view text, std::string_view format, std::string_view places, LogEvent& event);

bool MatchChoice(std::string_view text, std::string_view rest, std::string_view places, LogEvent& event)
{
    for (const std::string_view choice : GetChoices(places.front())) {
        if (text.starts_with(choice)) {
            return Fill(event, places.front(), choice) &&
                   MatchParts(text.substr(choice.size()), rest, places.substr(1), event);
        }
    }
    return false;
}

/** Tries each end of a name after which the next fixed text follows. */
bool MatchName(std::string_view text, std::string_view rest, std::string_view places, LogEvent& event)
{
    if (rest.empty()) {
        return Fill(event, places.front(), text);
    }
    const std::string_view next = SplitFormat(rest).fixed;
    for (auto end = text.find(next); end != std::string_view::npos; end = text.find(next, end + 1)) {
        if (Fill(event, places.front(), text.substr(0, end)) &&
            MatchParts(text.substr(end), rest, places.substr(1), event)) {
            return true;
        }
    }
    return false;
}

bool MatchParts(std::string_view text, std::string_view format, std::string_view places, LogEvent& event)
{
    const FormatParts parts = SplitFormat(format);
    if (!text.starts_with(parts.fixed)) {
        return false;
    }
    text.remove_prefix(parts.fixed.size());
    if (parts.conversion == '\0') {
        return text.empty();
    }
    if (parts.conversion == 's') {
        const bool hasChoices = !GetChoices(places.front()).empty();
        return hasChoices ? MatchChoice(text, parts.rest, places, event)
                          : MatchName(text, parts.rest, places, event);
    }
    const std::size_t length = CountNumber(text, parts.conversion);
    return length > 0 && Fill(event, places.front(), text.substr(0, length)) &&
           MatchParts(text.substr(length), parts.rest, places.substr(1), event);
}

} // namespace

bool MatchText(std::string_view text, std::string_view format, std::string_view places, LogEvent& event)
{
    if (format.ends_with('\n')) {
        format.remove_suffix(1);
    }
    return MatchParts(text, format, places, event);
}

} // namespace ctl
