#pragma once

#include <map>
#include <string>

#include "store/Store.h"
#include "thbase.h"

/** A store of a few keys that lists none of them, as the product's does. */
class StoreOfKeys : public ctl::Store
{
public:
    explicit StoreOfKeys(std::map<std::string, std::string> values)
        : Store("store"), mValues(std::move(values))
    {}

    Text GetText(const std::string& key) const override
    {
        const auto found = mValues.find(key);
        return found != mValues.end() ? Text{0, found->second} : Text{STORE_RC_NOT_FOUND, std::nullopt};
    }

    Number GetNumber(const std::string& key) const override
    {
        const Text text = GetText(key);
        if (text.result != 0) {
            return {text.result, 0};
        }
        const std::optional<int> number = ParseStoreNumber(*text.text);
        return number ? Number{0, *number} : Number{STORE_RC_NOT_NUMERIC, 0};
    }

private:
    const std::map<std::string, std::string> mValues;
};

/** A store that this user may not read. */
class HiddenStore : public StoreOfKeys
{
public:
    HiddenStore() : StoreOfKeys({}) {}
    std::string GetFailure() const override { return "Permission denied"; }
};
