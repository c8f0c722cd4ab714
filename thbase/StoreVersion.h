#pragma once

#include "StoreText.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/** The number of skipped lines that a version names; it counts the rest. */
constexpr std::size_t NAMED_SKIPPED_LINES = 20;

/**
 * One whole version of the store: its text and the keys in it. It never changes after its construction, so
 * any number of threads may read it at the same time.
 */
class StoreVersion
{
public:
    /** Takes ownership of the text and parses it. Raises std::bad_alloc only. */
    explicit StoreVersion(std::string text);
    StoreVersion(const StoreVersion&) = delete;
    StoreVersion& operator=(const StoreVersion&) = delete;

    /**
     * Returns the value of a key, the last one if the key stands there several times; nothing if the key
     * isn't there. The view is valid as long as the version. The time grows with the number of lines, by
     * about one millisecond for a million of them.
     */
    std::optional<std::string_view> Find(std::string_view key) const;

    /** The text that the version was built from, byte by byte. */
    const std::string& GetText() const noexcept { return mText; }

    /** The first skipped lines in order, NAMED_SKIPPED_LINES at most. */
    const std::vector<StoreLine>& GetNamedSkippedLines() const noexcept { return mNamedSkippedLines; }

    /** How many lines were skipped besides the named ones. */
    std::size_t GetOtherSkippedLines() const noexcept { return mOtherSkippedLines; }

private:
    /** A key and its value as places in mText, which is far smaller than 4 GiB. */
    struct Entry
    {
        std::uint32_t mKeyPlace;
        std::uint32_t mKeySize;
        std::uint32_t mValuePlace;
        std::uint32_t mValueSize;
    };

    void Take(const StoreLine& line);
    std::uint32_t GetPlace(std::string_view part) const noexcept;
    std::string_view GetKey(const Entry& entry) const noexcept;

    const std::string mText;
    // Two arrays instead of a map: a store of 16 MiB can hold two million keys. A map of them takes seconds
    // to build, and a load looks up some twenty of them.
    std::vector<std::uint32_t> mKeyHashes; ///< of each entry, in the order of the lines
    std::vector<Entry> mEntries;           ///< the same order
    std::vector<StoreLine> mNamedSkippedLines;
    std::size_t mOtherSkippedLines = 0;
};
