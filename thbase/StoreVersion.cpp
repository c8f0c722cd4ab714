#include "StoreVersion.h"

#include <utility>

#include "StoreText.h"

StoreVersion::StoreVersion(std::string text) : mText(std::move(text))
{
    ForEachStoreLine(mText, [this](const StoreLine& line) {
        if (line.kind == StoreLineKind::Entry) {
            mValues.insert_or_assign(line.key, line.value);
        }
    });
}

std::optional<std::string_view> StoreVersion::Find(std::string_view key) const
{
    const auto found = mValues.find(key);
    if (found == mValues.end()) {
        return std::nullopt;
    }
    return found->second;
}
