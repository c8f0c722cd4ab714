#include "ScanConversion.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace
{

constexpr std::size_t WIDTH_LIMIT = 0x7fffffff;

struct LengthLetters
{
    std::string_view letters;
    std::size_t size; ///< bytes of the type
};

// Longer letters before their own beginnings.
constexpr LengthLetters LENGTHS[] = {
    {"hh", sizeof(char)},    {"h", sizeof(short)},       {"ll", sizeof(long long)},     {"l", sizeof(long)},
    {"j", sizeof(intmax_t)}, {"z", sizeof(std::size_t)}, {"t", sizeof(std::ptrdiff_t)},
};

bool IsDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

/** Reads the width, if there is one. Gives the place behind it, or null if it is 0 or beyond all measure. */
const char* ParseWidth(const char* text, std::size_t& width)
{
    if (!IsDigit(*text)) {
        return text;
    }
    for (; IsDigit(*text); ++text) {
        width = width * 10 + static_cast<std::size_t>(*text - '0');
        if (width > WIDTH_LIMIT) {
            return nullptr;
        }
    }
    return width == 0 ? nullptr : text;
}

const char* ParseLength(const char* text, std::size_t& size)
{
    for (const LengthLetters& length : LENGTHS) {
        if (std::strncmp(text, length.letters.data(), length.letters.size()) == 0) {
            size = length.size;
            return text + length.letters.size();
        }
    }
    return text;
}

std::size_t ToIndex(char letter)
{
    return static_cast<unsigned char>(letter);
}

/** Reads the set behind "[". Gives the place behind its "]", or null if there is none. */
const char* ParseSet(const char* text, std::bitset<256>& set)
{
    const bool isInverted = *text == '^';
    text += isInverted ? 1 : 0;
    // A "]" that comes first belongs to the set, and so does a "-" that has no neighbour on one side.
    const char* const first = text;
    for (; *text != ']' || text == first; ++text) {
        if (*text == '\0') {
            return nullptr;
        }
        std::size_t last = ToIndex(*text);
        const std::size_t from = last;
        if (text[1] == '-' && text[2] != ']' && text[2] != '\0') {
            last = ToIndex(text[2]);
            text += 2;
        }
        for (std::size_t index = from; index <= last; ++index) {
            set.set(index);
        }
    }
    if (isInverted) {
        set.flip();
    }
    return text + 1;
}

} // namespace

const char* ParseScanConversion(const char* text, ScanConversion& conversion) noexcept
{
    conversion = ScanConversion();
    if (*text == '*') {
        conversion.isSuppressed = true;
        ++text;
    }
    text = ParseWidth(text, conversion.width);
    if (text == nullptr) {
        return nullptr;
    }
    const char* const afterLength = ParseLength(text, conversion.numberSize);
    const bool hasLength = afterLength != text;
    text = afterLength;
    conversion.kind = *text == 'X' ? 'x' : *text;
    // A length letter before a text or the percent sign would mean wide characters, or nothing at all.
    const char* const allowed = hasLength ? "diuxon" : "diuxonsc[%";
    if (conversion.kind == '\0' || std::strchr(allowed, conversion.kind) == nullptr) {
        return nullptr;
    }
    return conversion.kind == '[' ? ParseSet(text + 1, conversion.set) : text + 1;
}
