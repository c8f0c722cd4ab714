#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

/** What a line of the store is. */
enum class StoreLineKind
{
    Entry,        ///< a key and a value
    Empty,        ///< blank, or a comment
    NoEqualsSign, ///< skipped: no "=" in it
    EmptyKey,     ///< skipped: nothing before the "="
    NulByte       ///< skipped: holds a NUL byte, also in a comment or after the "="
};

/** One parsed line of the store. The views point into the text that was parsed. */
struct StoreLine
{
    std::size_t mNumber = 0; ///< counted from 1
    StoreLineKind mKind = StoreLineKind::Empty;
    std::string_view mKey;   ///< of an entry: without the blanks and tabs around it, not empty
    std::string_view mValue; ///< of an entry: without the blanks and tabs around it, perhaps empty
};

/**
 * Parses a whole store text and calls `visit` for each of its lines, in order. A byte order mark of UTF-8 at
 * the start belongs to no line. Raises only what `visit` raises. Any thread.
 */
void ForEachStoreLine(std::string_view text, const std::function<void(const StoreLine&)>& visit);

/** The reason why a line of this kind is skipped, for the system log; null for an entry and an empty line. */
const char* GetSkipReason(StoreLineKind kind) noexcept;

/**
 * Parses an optional sign and decimal digits as a number of 32 bits. Returns nothing if the text holds
 * anything else, is empty, or the number doesn't fit.
 */
std::optional<int> ParseStoreNumber(std::string_view text) noexcept;
