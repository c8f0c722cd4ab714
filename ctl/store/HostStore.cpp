#include "store/Store.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>

#include "StorePlace.h"
#include "thbase.h"

#include "base/LibraryCall.h"
#include "base/SafeFile.h"

namespace ctl
{

namespace
{

constexpr const char* LIBRARY = "libthbase.so";

/** The calls of the product's base library. */
struct Library
{
    decltype(&get_master_config_ptr) getHandle = nullptr;
    decltype(&thconfGetKeyValPair) getText = nullptr;
    decltype(&thconfGetKeyValPairAsInt) getNumber = nullptr;
};

/** The product's own store, one key at a time. */
class ProductStore : public Store
{
public:
    explicit ProductStore(const Library& library) : Store("the product's store"), mLibrary(library) {}

    Text GetText(const std::string& key) const override
    {
        char* value = nullptr;
        const int result = mLibrary.getText(mLibrary.getHandle(), key.c_str(), &value);
        const std::unique_ptr<char, decltype(&std::free)> owned(value, &std::free);
        return {result, value != nullptr ? std::optional<std::string>(value) : std::nullopt};
    }

    Number GetNumber(const std::string& key) const override
    {
        int value = 0;
        const int result = mLibrary.getNumber(mLibrary.getHandle(), key.c_str(), &value);
        return {result, value};
    }

private:
    const Library mLibrary;
};

/** True if the loaded library is the standalone one: it holds the path of its store. */
bool IsStandalone(void* library)
{
    const struct link_map* map = nullptr;
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
        return false;
    }
    const Descriptor file(open(map->l_name, O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || status.st_size <= 0) {
        return false;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.Get(), 0);
    if (bytes == MAP_FAILED) {
        return false;
    }
    constexpr std::string_view path = MASTER_CONFIGURATION_PATH;
    const bool isFound = memmem(bytes, size, path.data(), path.size()) != nullptr;
    (void)munmap(bytes, size); // can't fail for what was mapped
    return isFound;
}

/** The calls of the product's own library; nothing where the store is that of the standalone one. */
std::optional<Library> FindProductLibrary()
{
    // Never closed: the handle of the store stays valid until the process ends.
    void* const library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr || IsStandalone(library)) {
        return std::nullopt;
    }
    Library calls;
    FindCall(library, "get_master_config_ptr", calls.getHandle);
    FindCall(library, "thconfGetKeyValPair", calls.getText);
    FindCall(library, "thconfGetKeyValPairAsInt", calls.getNumber);
    const bool isWhole = calls.getHandle != nullptr && calls.getText != nullptr && calls.getNumber != nullptr;
    return isWhole ? std::optional(calls) : std::nullopt;
}

} // namespace

std::unique_ptr<Store> OpenHostStore()
{
    static const std::optional<Library> library = FindProductLibrary(); // looked for once a process
    if (!library) {
        return OpenStoreFile(MASTER_CONFIGURATION_PATH);
    }
    return std::make_unique<ProductStore>(*library);
}

} // namespace ctl
