#pragma once

#include <bitset>
#include <cstddef>

/** One conversion of a scan format, taken apart. */
struct ScanConversion
{
    char kind = '\0';           ///< the letter: one of d i u x o s c [ n %, X given as x
    bool isSuppressed = false;  ///< with a *: read and dropped
    std::size_t width = 0;      ///< bytes to read at the most; 0 if the format gives none
    std::size_t numberSize = 4; ///< bytes of the destination type of a number, from the length letters
    std::bitset<256> set;       ///< of [: the bytes that belong to the text
};

/**
 * Takes the conversion apart that starts at `text`, right behind the percent sign. Gives the place behind
 * it, or null if the conversion is not a supported one. Raises nothing. Any thread.
 */
const char* ParseScanConversion(const char* text, ScanConversion& conversion) noexcept;
