#include "StoreVersion.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

namespace
{
std::uint32_t GetHash(std::string_view key)
{
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(key));
}
} // namespace

StoreVersion::StoreVersion(std::string text) : mText(std::move(text))
{
    ForEachStoreLine(mText, [this](const StoreLine& line) { Take(line); });
}

void StoreVersion::Take(const StoreLine& line)
{
    if (line.mKind == StoreLineKind::Entry) {
        mEntries.push_back({GetPlace(line.mKey), static_cast<std::uint32_t>(line.mKey.size()),
                            GetPlace(line.mValue), static_cast<std::uint32_t>(line.mValue.size())});
        mKeyHashes.push_back(GetHash(line.mKey));
    } else if (GetSkipReason(line.mKind) == nullptr) {
        return;
    } else if (mNamedSkippedLines.size() < NAMED_SKIPPED_LINES) {
        mNamedSkippedLines.push_back(line);
    } else {
        ++mOtherSkippedLines;
    }
}

std::uint32_t StoreVersion::GetPlace(std::string_view part) const noexcept
{
    return static_cast<std::uint32_t>(part.data() - mText.data());
}

std::string_view StoreVersion::GetKey(const Entry& entry) const noexcept
{
    return std::string_view(mText).substr(entry.mKeyPlace, entry.mKeySize);
}

std::optional<std::string_view> StoreVersion::Find(std::string_view key) const
{
    const std::uint32_t hash = GetHash(key);
    const auto end = mKeyHashes.rend(); // from the back, since the last line of a key counts
    for (auto found = mKeyHashes.rbegin(); (found = std::find(found, end, hash)) != end; ++found) {
        const Entry& entry = mEntries[static_cast<std::size_t>(std::distance(found, end)) - 1];
        if (GetKey(entry) == key) {
            return std::string_view(mText).substr(entry.mValuePlace, entry.mValueSize);
        }
    }
    return std::nullopt;
}
