#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

struct ScanConversion;

/**
 * One run of T_fscanf: its stream, its arguments and its progress. An object serves one call on one thread;
 * it holds the lock of the stream for its whole life. It raises nothing and allocates nothing.
 */
class BoundedScan
{
public:
    /// `stream` is read from where it stands. `arguments` holds the pointers with their sizes; it is copied.
    BoundedScan(std::FILE* stream, std::va_list arguments) noexcept;
    ~BoundedScan();
    BoundedScan(const BoundedScan&) = delete;
    BoundedScan& operator=(const BoundedScan&) = delete;

    /** Performs the scan that thbase.h describes under T_fscanf. Returns the number of conversions done, or
     * -1. */
    int Run(const char* format) noexcept;

private:
    /** How a step of the scan ended. The scan goes on after Matched only. */
    enum class Outcome
    {
        Matched,
        Mismatched, ///< the text, a destination or the format doesn't fit
        InputEnded  ///< nothing was left to read
    };

    /** Where a conversion stores its result; null and 0 for a suppressed one. */
    struct Destination
    {
        char* mPlace;
        std::size_t mSize;
    };

    /** The digits of a number, with their sign. */
    struct Number
    {
        std::uint64_t mMagnitude = 0;
        bool mIsNegative = false;
        bool mIsTooLarge = false;
    };

    Outcome RunDirective(const char*& format) noexcept;
    Outcome Convert(const ScanConversion& conversion) noexcept;
    Outcome ConvertNumber(const ScanConversion& conversion) noexcept;
    Outcome ConvertText(const ScanConversion& conversion) noexcept;
    Outcome ConvertBytes(const ScanConversion& conversion) noexcept;
    Outcome StoreCount(const ScanConversion& conversion) noexcept;
    Outcome MatchByte(int expected) noexcept;

    bool TakeDestination(const ScanConversion& conversion, std::size_t least,
                         Destination& destination) noexcept;
    void CountConversion(const ScanConversion& conversion) noexcept;
    unsigned ReadPrefix(const ScanConversion& conversion, std::size_t& remaining, bool& hasDigit) noexcept;
    bool ReadDigits(const ScanConversion& conversion, std::size_t remaining, Number& number) noexcept;

    int Peek() noexcept;
    void Skip() noexcept;
    void SkipBlanks() noexcept;

    std::FILE* const mStream;
    std::va_list mArguments;
    std::size_t mBytesRead = 0;
    int mConversions = 0;
};
