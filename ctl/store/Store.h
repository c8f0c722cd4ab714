#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "StoreText.h"

namespace ctl
{

/** One line of a store file that is neither empty nor a comment. */
struct StoreEntry
{
    std::size_t line = 0; ///< counted from 1
    StoreLineKind kind = StoreLineKind::Entry;
    std::string key;   ///< of an entry
    std::string value; ///< of an entry
};

/**
 * A configuration store as the daemon would read it now, with the result codes of thbase.h. Nothing here
 * logs: the failures that the base library reports to the system log are kept for the caller instead. One
 * thread.
 */
class Store
{
public:
    struct Text
    {
        int result = 0;
        std::optional<std::string> text; ///< set with result 0, perhaps also with another one
    };
    struct Number
    {
        int result = 0;
        int value = 0; ///< set with result 0 only
    };

    virtual ~Store() = default;

    virtual Text GetText(const std::string& key) const = 0;
    virtual Number GetNumber(const std::string& key) const = 0;

    /** All lines of the store that mean something; null where the library can't list its keys. */
    virtual const std::vector<StoreEntry>* GetEntries() const { return nullptr; }

    /** Why the store can't be read; empty if it can. */
    virtual std::string GetFailure() const { return ""; }

    /** True if it can't be read because there is no such file. */
    virtual bool IsMissing() const { return false; }

    /** When the store was last changed, in seconds since the epoch; nothing if that can't be known. */
    virtual std::optional<std::time_t> GetChangeTime() const { return std::nullopt; }

    /** The path of the file, or a name for the product's own store. */
    const std::string& GetName() const noexcept { return mName; }

    /** The number of the line that counts for the key, the last one; 0 if it isn't known. */
    std::size_t FindLine(std::string_view key) const;

protected:
    explicit Store(std::string name) : mName(std::move(name)) {}

private:
    const std::string mName;
};

/** The store file at `path`, read once. Never null. */
std::unique_ptr<Store> OpenStoreFile(const std::string& path);

/**
 * The store of this host: through the base library where it is the product's own, and through the parser of
 * the standalone library where it is that one, since the library would write to the system log. Never null;
 * without a library the file of the standalone one is tried.
 */
std::unique_ptr<Store> OpenHostStore();

/** The store that the option --store names, or that of this host for an empty path. */
std::unique_ptr<Store> OpenStore(const std::string& path);

} // namespace ctl
