#pragma once

#include <bitset>
#include <cstddef>

/** One parsed conversion of a scan format. */
struct ScanConversion
{
    char mKind = '\0';           ///< the letter: one of d i u x o s c [ n %, X given as x
    bool mIsSuppressed = false;  ///< by a *: read and dropped
    std::size_t mWidth = 0;      ///< largest number of bytes to read; 0 for no limit
    std::size_t mNumberSize = 4; ///< bytes of the destination type of a number, from the length letters
    std::bitset<256> mSet;       ///< of [: the bytes that belong to the text
};

/**
 * Parses the conversion that starts at `text`, after the percent sign. Returns the place after the
 * conversion, or null if it isn't supported. Raises nothing. Any thread.
 */
const char* ParseScanConversion(const char* text, ScanConversion& conversion) noexcept;
