#include "base/SafeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <dirent.h>
#include <unistd.h>

namespace ctl
{

namespace
{

struct FolderCloser
{
    void operator()(DIR* folder) const { (void)closedir(folder); } // it was only read from
};

OpenedFile Fail(int error, std::string failure)
{
    OpenedFile result;
    result.error = error;
    result.failure = std::move(failure);
    return result;
}

OpenedFile FailByErrno()
{
    const int error = errno;
    return Fail(error, error == ELOOP ? "is a symbolic link, which isn't followed" : std::strerror(error));
}

OpenedFile Open(int folder, const std::string& name, int flags)
{
    if (name.find('\0') != std::string::npos) {
        return Fail(EINVAL, "the name holds a NUL byte");
    }
    constexpr int CAREFULLY = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    OpenedFile result;
    do {
        result.file = Descriptor(openat(folder, name.c_str(), CAREFULLY | flags));
    } while (!result.file.IsOpen() && errno == EINTR);
    if (!result.file.IsOpen() || fstat(result.file.Get(), &result.status) != 0) {
        return FailByErrno();
    }
    return result;
}

} // namespace

Descriptor::~Descriptor()
{
    if (mDescriptor >= 0) {
        (void)close(mDescriptor); // whoever writes checks before
    }
}

Descriptor::Descriptor(Descriptor&& other) noexcept : mDescriptor(other.Release()) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

int Descriptor::Release() noexcept
{
    return std::exchange(mDescriptor, -1);
}

OpenedFile OpenRegularFile(int folder, const std::string& name)
{
    // The kind is looked at first, since opening a device may already do something.
    struct stat status = {};
    if (name.find('\0') == std::string::npos &&
        fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISREG(status.st_mode) &&
        !S_ISLNK(status.st_mode)) {
        return Fail(0, "is not a regular file");
    }
    OpenedFile result = Open(folder, name, 0);
    if (result.IsOpen() && !S_ISREG(result.status.st_mode)) {
        return Fail(0, "is not a regular file");
    }
    return result;
}

OpenedFile OpenFolder(int folder, const std::string& name)
{
    return Open(folder, name, O_DIRECTORY);
}

FileText ReadFile(int folder, const std::string& name, std::size_t limit)
{
    const OpenedFile opened = OpenRegularFile(folder, name);
    if (!opened.IsOpen()) {
        return {{}, opened.error, opened.failure, false};
    }
    return ReadDescriptor(opened.file.Get(), limit);
}

FileText ReadDescriptor(int descriptor, std::size_t limit)
{
    char step[16384]; // copied from, so that a text takes no more than it is long
    FileText result;
    while (result.text.size() <= limit) {
        const std::size_t wanted = std::min(sizeof step, limit + 1 - result.text.size());
        const ssize_t count = read(descriptor, step, wanted);
        if (count == 0) {
            return result;
        }
        result.text.append(step, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count < 0 && errno != EINTR) {
            result.error = errno;
            result.failure = std::strerror(errno);
            return result;
        }
    }
    result.text.resize(limit);
    result.isCut = true;
    return result;
}

std::vector<std::string> ListNames(int folder, std::size_t limit)
{
    std::vector<std::string> names;
    const int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); // with a place of its own
    const std::unique_ptr<DIR, FolderCloser> entries(copy >= 0 ? fdopendir(copy) : nullptr);
    while (entries && names.size() < limit) {
        const dirent* const entry = readdir(entries.get());
        if (entry == nullptr) {
            break;
        }
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace ctl
