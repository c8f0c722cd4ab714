#include "ScanConversion.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace
{
constexpr std::size_t WIDTH_LIMIT = 0x7fffffff;

struct LengthLetters
{
    std::string_view mLetters;
    std::size_t mSize; ///< bytes of the type
};

// The first that fits is taken, so hh comes before h and ll before l.
constexpr LengthLetters LENGTHS[] = {
    {"hh", sizeof(char)},    {"h", sizeof(short)},       {"ll", sizeof(long long)},     {"l", sizeof(long)},
    {"j", sizeof(intmax_t)}, {"z", sizeof(std::size_t)}, {"t", sizeof(std::ptrdiff_t)},
};

bool IsDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

/** Parses the width, if there is one. Returns the place after it, or null if it is 0 or above WIDTH_LIMIT. */
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
        if (std::strncmp(text, length.mLetters.data(), length.mLetters.size()) == 0) {
            size = length.mSize;
            return text + length.mLetters.size();
        }
    }
    return text;
}

std::size_t ToIndex(char letter)
{
    return static_cast<unsigned char>(letter);
}

/** Parses the set after "[". Returns the place after its "]", or null if there is none. */
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
        conversion.mIsSuppressed = true;
        ++text;
    }
    text = ParseWidth(text, conversion.mWidth);
    if (text == nullptr) {
        return nullptr;
    }
    const char* const afterLength = ParseLength(text, conversion.mNumberSize);
    const bool hasLength = afterLength != text;
    text = afterLength;
    conversion.mKind = *text == 'X' ? 'x' : *text;
    // Before a text or the percent sign, a length letter would ask for wide characters or mean nothing.
    const char* const allowed = hasLength ? "diuxon" : "diuxonsc[%";
    if (conversion.mKind == '\0' || std::strchr(allowed, conversion.mKind) == nullptr) {
        return nullptr;
    }
    return conversion.mKind == '[' ? ParseSet(text + 1, conversion.mSet) : text + 1;
}
