#include "store/Store.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

#include <sys/stat.h>

#include "StoreFile.h"
#include "StoreVersion.h"
#include "thbase.h"

#include "base/SafeFile.h"

namespace ctl
{

namespace
{

// A file that rested so long is whole; a younger one is read as carefully as the daemon would.
constexpr std::time_t AT_REST = 2;

class FileStore : public Store
{
public:
    explicit FileStore(const std::string& path) : Store(path) { Read(path); }

    Text GetText(const std::string& key) const override;
    Number GetNumber(const std::string& key) const override;
    const std::vector<StoreEntry>* GetEntries() const override { return &mEntries; }
    std::string GetFailure() const override { return mFailure; }
    bool IsMissing() const override { return mIsMissing; }
    std::optional<std::time_t> GetChangeTime() const override { return mChangeTime; }

private:
    void Read(const std::string& path);
    void Collect(const std::string& text);

    std::unique_ptr<const StoreVersion> mVersion;
    std::vector<StoreEntry> mEntries;
    std::string mFailure;
    bool mIsMissing = false;
    std::optional<std::time_t> mChangeTime;
};

Store::Text FileStore::GetText(const std::string& key) const
{
    if (!mVersion) {
        return {STORE_RC_UNREADABLE, std::nullopt};
    }
    const std::optional<std::string_view> found = mVersion->Find(key);
    if (!found) {
        return {STORE_RC_NOT_FOUND, std::nullopt};
    }
    return {0, std::string(*found)};
}

Store::Number FileStore::GetNumber(const std::string& key) const
{
    const Text text = GetText(key);
    if (text.result != 0) {
        return {text.result, 0};
    }
    const std::optional<int> number = ParseStoreNumber(*text.text);
    return number ? Number{0, *number} : Number{STORE_RC_NOT_NUMERIC, 0};
}

void FileStore::Read(const std::string& path)
{
    struct stat status = {};
    const bool isThere = stat(path.c_str(), &status) == 0;
    const bool isMissing = !isThere && errno == ENOENT;
    std::string once;
    if (isThere && S_ISREG(status.st_mode) && std::time(nullptr) - status.st_ctim.tv_sec > AT_REST) {
        // A link to a store is followed, as the base library does.
        const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        once = file.IsOpen() ? ReadDescriptor(file.Get(), STORE_FILE_LIMIT).text : "";
    }
    StoreFileContent content = ReadStoreFile(path.c_str(), once.empty() ? nullptr : &once);
    if (content.mFailure != nullptr) {
        mFailure = content.mFailure;
        mIsMissing = isMissing;
        return;
    }
    if (isThere) {
        mChangeTime = std::max(status.st_mtim.tv_sec, status.st_ctim.tv_sec);
    }
    Collect(content.mText);
    mVersion = std::make_unique<StoreVersion>(std::move(content.mText));
}

void FileStore::Collect(const std::string& text)
{
    ForEachStoreLine(text, [this](const StoreLine& line) {
        if (line.mKind != StoreLineKind::Empty) {
            mEntries.push_back({line.mNumber, line.mKind, std::string(line.mKey), std::string(line.mValue)});
        }
    });
}

} // namespace

std::size_t Store::FindLine(std::string_view key) const
{
    const std::vector<StoreEntry>* const entries = GetEntries();
    if (entries == nullptr) {
        return 0;
    }
    const auto found = std::find_if(entries->rbegin(), entries->rend(), [key](const StoreEntry& entry) {
        return entry.kind == StoreLineKind::Entry && entry.key == key;
    });
    return found != entries->rend() ? found->line : 0;
}

std::unique_ptr<Store> OpenStoreFile(const std::string& path)
{
    return std::make_unique<FileStore>(path);
}

std::unique_ptr<Store> OpenStore(const std::string& path)
{
    return path.empty() ? OpenHostStore() : OpenStoreFile(path);
}

} // namespace ctl
