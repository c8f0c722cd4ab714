#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

/**
 * One whole version of the store: its text and the keys in it. It never changes once it is built, so any
 * number of threads may read it at the same time.
 */
class StoreVersion
{
public:
    /** Takes the text over and parses it. Raises std::bad_alloc only. */
    explicit StoreVersion(std::string text);
    StoreVersion(const StoreVersion&) = delete;
    StoreVersion& operator=(const StoreVersion&) = delete;

    /**
     * The value of a key, the last one if the key came several times; nothing if the key isn't there. The
     * view lives as long as the version.
     */
    std::optional<std::string_view> Find(std::string_view key) const;

    /** The text that the version was built from, to the byte. */
    const std::string& GetText() const noexcept { return mText; }

private:
    const std::string mText;
    std::unordered_map<std::string_view, std::string_view> mValues; ///< key to value, both within mText
};
