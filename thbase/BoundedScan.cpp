#include "BoundedScan.h"

#include "ScanConversion.h"

#include <cstring>
#include <limits>

namespace
{
constexpr unsigned NO_DIGIT = 255;

// Not isspace: the locale of the program must not change what a blank is.
bool IsBlank(int byte)
{
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

unsigned GetDigit(int byte)
{
    if (byte >= '0' && byte <= '9') {
        return static_cast<unsigned>(byte - '0');
    }
    if (byte >= 'a' && byte <= 'f') {
        return static_cast<unsigned>(byte - 'a') + 10;
    }
    if (byte >= 'A' && byte <= 'F') {
        return static_cast<unsigned>(byte - 'A') + 10;
    }
    return NO_DIGIT;
}

bool IsSigned(char kind)
{
    return kind == 'd' || kind == 'i' || kind == 'n';
}

/** The largest magnitude that a destination of `size` bytes holds. */
std::uint64_t GetLimit(char kind, std::size_t size, bool isNegative)
{
    const std::uint64_t unsignedLimit = std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * size);
    if (!IsSigned(kind)) {
        return isNegative ? 0 : unsignedLimit;
    }
    const std::uint64_t signedLimit = unsignedLimit >> 1;
    return isNegative ? signedLimit + 1 : signedLimit;
}

template <typename Type>
void StoreAs(char* place, std::uint64_t bits)
{
    const auto value = static_cast<Type>(bits);
    std::memcpy(place, &value, sizeof value);
}

/** Writes the low bytes of `bits` as an integer of `size` bytes, 1, 2, 4 or 8. */
void StoreInteger(char* place, std::size_t size, std::uint64_t bits)
{
    switch (size) {
    case 1:
        return StoreAs<std::uint8_t>(place, bits);
    case 2:
        return StoreAs<std::uint16_t>(place, bits);
    case 4:
        return StoreAs<std::uint32_t>(place, bits);
    default:
        return StoreAs<std::uint64_t>(place, bits);
    }
}

std::size_t GetRemaining(const ScanConversion& conversion)
{
    return conversion.mWidth == 0 ? std::numeric_limits<std::size_t>::max() : conversion.mWidth;
}
} // namespace

BoundedScan::BoundedScan(std::FILE* stream, std::va_list arguments) noexcept : mStream(stream)
{
    va_copy(mArguments, arguments);
    flockfile(mStream);
}

BoundedScan::~BoundedScan()
{
    funlockfile(mStream);
    va_end(mArguments);
}

int BoundedScan::Run(const char* format) noexcept
{
    Outcome outcome = Outcome::Matched;
    while (outcome == Outcome::Matched && *format != '\0') {
        outcome = RunDirective(format);
    }
    return outcome == Outcome::InputEnded && mConversions == 0 ? -1 : mConversions;
}

/** Performs one step of the format and moves `format` past it; null if the rest of the format is invalid. */
BoundedScan::Outcome BoundedScan::RunDirective(const char*& format) noexcept
{
    if (IsBlank(*format)) {
        ++format;
        SkipBlanks();
        return Outcome::Matched;
    }
    if (*format != '%') {
        return MatchByte(static_cast<unsigned char>(*format++));
    }
    ScanConversion conversion;
    format = ParseScanConversion(format + 1, conversion);
    return format == nullptr ? Outcome::Mismatched : Convert(conversion);
}

BoundedScan::Outcome BoundedScan::Convert(const ScanConversion& conversion) noexcept
{
    switch (conversion.mKind) {
    case '%':
        SkipBlanks();
        return MatchByte('%');
    case 'n':
        return StoreCount(conversion);
    case 'c':
        return ConvertBytes(conversion);
    case 's':
    case '[':
        return ConvertText(conversion);
    default:
        return ConvertNumber(conversion);
    }
}

BoundedScan::Outcome BoundedScan::ConvertNumber(const ScanConversion& conversion) noexcept
{
    Destination destination{};
    if (!TakeDestination(conversion, conversion.mNumberSize, destination) ||
        (!conversion.mIsSuppressed && destination.mSize != conversion.mNumberSize)) {
        return Outcome::Mismatched;
    }
    SkipBlanks();
    if (Peek() == EOF) {
        return Outcome::InputEnded;
    }
    std::size_t remaining = GetRemaining(conversion);
    Number number;
    if (Peek() == '-' || Peek() == '+') {
        number.mIsNegative = Peek() == '-';
        --remaining;
        Skip();
    }
    const bool isNumber = ReadDigits(conversion, remaining, number);
    const std::uint64_t limit = GetLimit(conversion.mKind, conversion.mNumberSize, number.mIsNegative);
    if (!isNumber || number.mIsTooLarge || number.mMagnitude > limit) {
        return Outcome::Mismatched;
    }
    if (!conversion.mIsSuppressed) {
        const std::uint64_t bits = number.mIsNegative ? 0 - number.mMagnitude : number.mMagnitude;
        StoreInteger(destination.mPlace, destination.mSize, bits);
    }
    CountConversion(conversion);
    return Outcome::Matched;
}

/**
 * Reads "0" or "0x" as the conversion allows. Returns the base of the digits that follow; `hasDigit` is set
 * if a whole number has been read already.
 */
unsigned BoundedScan::ReadPrefix(const ScanConversion& conversion, std::size_t& remaining,
                                 bool& hasDigit) noexcept
{
    const bool isByPrefix = conversion.mKind == 'i';
    const unsigned plainBase = conversion.mKind == 'x' ? 16 : conversion.mKind == 'o' ? 8 : 10;
    if ((!isByPrefix && conversion.mKind != 'x') || remaining == 0 || Peek() != '0') {
        return plainBase;
    }
    Skip();
    --remaining;
    hasDigit = true;
    if (remaining > 0 && (Peek() == 'x' || Peek() == 'X')) {
        Skip();
        --remaining;
        hasDigit = false; // a digit must follow the x, which can't be put back
        return 16;
    }
    return isByPrefix ? 8 : plainBase;
}

/**
 * Reads all digits within the width, also those of a number that is too large already. Returns false if there
 * is no digit.
 */
bool BoundedScan::ReadDigits(const ScanConversion& conversion, std::size_t remaining, Number& number) noexcept
{
    bool hasDigit = false;
    const unsigned base = ReadPrefix(conversion, remaining, hasDigit);
    for (; remaining > 0 && GetDigit(Peek()) < base; --remaining) {
        const unsigned digit = GetDigit(Peek());
        number.mIsTooLarge = number.mIsTooLarge ||
                             number.mMagnitude > (std::numeric_limits<std::uint64_t>::max() - digit) / base;
        number.mMagnitude = number.mMagnitude * base + digit;
        hasDigit = true;
        Skip();
    }
    return hasDigit;
}

BoundedScan::Outcome BoundedScan::ConvertText(const ScanConversion& conversion) noexcept
{
    Destination destination{};
    if (!TakeDestination(conversion, 1, destination)) {
        return Outcome::Mismatched;
    }
    const bool isWord = conversion.mKind == 's';
    if (isWord) {
        SkipBlanks();
    }
    const auto belongs = [&](int byte) {
        return isWord ? !IsBlank(byte) : conversion.mSet[static_cast<std::size_t>(byte)];
    };
    const int first = Peek();
    if (first == EOF || !belongs(first)) {
        return first == EOF ? Outcome::InputEnded : Outcome::Mismatched;
    }
    std::size_t length = 0;
    for (std::size_t remaining = GetRemaining(conversion); remaining > 0; --remaining) {
        const int byte = Peek();
        if (byte == EOF || !belongs(byte)) {
            break;
        }
        Skip();
        if (length + 1 < destination.mSize) {
            destination.mPlace[length++] = static_cast<char>(byte);
        }
    }
    if (!conversion.mIsSuppressed) {
        destination.mPlace[length] = '\0';
    }
    CountConversion(conversion);
    return Outcome::Matched;
}

BoundedScan::Outcome BoundedScan::ConvertBytes(const ScanConversion& conversion) noexcept
{
    const std::size_t count = conversion.mWidth == 0 ? 1 : conversion.mWidth;
    Destination destination{};
    if (!TakeDestination(conversion, count, destination)) {
        return Outcome::Mismatched;
    }
    for (std::size_t index = 0; index < count; ++index) {
        const int byte = Peek();
        if (byte == EOF) {
            return Outcome::InputEnded;
        }
        Skip();
        if (!conversion.mIsSuppressed) {
            destination.mPlace[index] = static_cast<char>(byte);
        }
    }
    CountConversion(conversion);
    return Outcome::Matched;
}

BoundedScan::Outcome BoundedScan::StoreCount(const ScanConversion& conversion) noexcept
{
    Destination destination{};
    if (!TakeDestination(conversion, conversion.mNumberSize, destination) ||
        (!conversion.mIsSuppressed && destination.mSize != conversion.mNumberSize) ||
        mBytesRead > GetLimit(conversion.mKind, conversion.mNumberSize, false)) {
        return Outcome::Mismatched;
    }
    if (!conversion.mIsSuppressed) {
        StoreInteger(destination.mPlace, destination.mSize, mBytesRead);
    }
    return Outcome::Matched;
}

BoundedScan::Outcome BoundedScan::MatchByte(int expected) noexcept
{
    const int byte = Peek();
    if (byte != expected) {
        return byte == EOF ? Outcome::InputEnded : Outcome::Mismatched;
    }
    Skip();
    return Outcome::Matched;
}

/**
 * Takes the pointer and the size of a conversion from the arguments; a suppressed one has none. Returns false
 * without room for `least` bytes.
 */
bool BoundedScan::TakeDestination(const ScanConversion& conversion, std::size_t least,
                                  Destination& destination) noexcept
{
    if (conversion.mIsSuppressed) {
        return true;
    }
    destination.mPlace = static_cast<char*>(va_arg(mArguments, void*));
    const int size = va_arg(mArguments, int);
    destination.mSize = size > 0 ? static_cast<std::size_t>(size) : 0;
    return destination.mPlace != nullptr && destination.mSize >= least;
}

void BoundedScan::CountConversion(const ScanConversion& conversion) noexcept
{
    mConversions += conversion.mIsSuppressed ? 0 : 1;
}

/** The next byte, which stays in the stream; EOF at its end. */
int BoundedScan::Peek() noexcept
{
    const int byte = getc_unlocked(mStream);
    // One byte can always be put back.
    return byte == EOF ? EOF : std::ungetc(byte, mStream);
}

void BoundedScan::Skip() noexcept
{
    (void)getc_unlocked(mStream); // the byte that Peek returned
    ++mBytesRead;
}

void BoundedScan::SkipBlanks() noexcept
{
    while (IsBlank(Peek())) {
        Skip();
    }
}
