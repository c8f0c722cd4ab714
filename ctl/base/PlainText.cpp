#include "base/PlainText.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace ctl
{

namespace
{

/**
 * One character of a text: its code point and its length in bytes; length 1 and no code point for a bad byte.
 */
struct Character
{
    std::uint32_t codePoint = 0;
    std::size_t length = 1;
    bool isValid = false;
};

bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/** The length that the first byte announces; 0 for a byte that can't be a first one. */
std::size_t GetAnnouncedLength(unsigned char first)
{
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first < 0xE0) {
        return 2;
    }
    if (first >= 0xE0 && first < 0xF0) {
        return 3;
    }
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

bool IsCodePoint(std::uint32_t value, std::size_t length)
{
    constexpr std::uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    return value >= SMALLEST[length] && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

Character ReadCharacter(std::string_view rest)
{
    const auto first = static_cast<unsigned char>(rest.front());
    const std::size_t length = GetAnnouncedLength(first);
    if (length == 1) {
        return {first, 1, true};
    }
    if (length == 0 || rest.size() < length ||
        !std::all_of(rest.begin() + 1, rest.begin() + static_cast<std::ptrdiff_t>(length), IsContinuation)) {
        return {};
    }
    std::uint32_t value = first & (0xFFU >> (length + 1));
    for (std::size_t place = 1; place < length; ++place) {
        value = (value << 6U) | (static_cast<unsigned char>(rest[place]) & 0x3FU);
    }
    return IsCodePoint(value, length) ? Character{value, length, true} : Character{};
}

/** True for what a terminal acts on instead of showing it, or what makes a line read differently. */
bool IsControl(std::uint32_t value)
{
    return value < 0x20 || (value >= 0x7F && value < 0xA0) || value == 0x200E || value == 0x200F ||
           (value >= 0x2028 && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
}

void AppendEscape(std::string& result, std::string_view bytes, const Character& character)
{
    char escape[16];
    if (character.isValid && character.codePoint == '\n') {
        result += "\\n";
    } else if (character.isValid && character.codePoint == '\t') {
        result += "\\t";
    } else if (character.isValid && character.codePoint >= 0x80) {
        (void)std::snprintf(escape, sizeof escape, "\\u{%04X}", static_cast<unsigned>(character.codePoint));
        result += escape;
    } else {
        (void)std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(bytes.front()));
        result += escape;
    }
}

} // namespace

std::string EscapeControls(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = ReadCharacter(text);
        const std::string_view bytes = text.substr(0, character.length);
        if (!character.isValid || IsControl(character.codePoint)) {
            AppendEscape(result, bytes, character);
        } else if (character.codePoint == '\\') {
            result += "\\\\";
        } else {
            result += bytes;
        }
        text.remove_prefix(character.length);
    }
    return result;
}

std::string ToUtf8(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = ReadCharacter(text);
        result += character.isValid ? text.substr(0, character.length) : std::string_view("\xEF\xBF\xBD");
        text.remove_prefix(character.length);
    }
    return result;
}

std::size_t CountColumns(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return !IsContinuation(byte); }));
}

} // namespace ctl
