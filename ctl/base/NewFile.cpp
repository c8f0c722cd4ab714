#include "base/NewFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

#include "base/SafeFile.h"

namespace ctl
{

namespace
{

bool WriteAll(int descriptor, const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

/** Makes a file beside `path`; `fresh` is set to its name. Raises what ReplaceFile does. */
Descriptor MakeFresh(const std::string& path, std::string& fresh)
{
    fresh = path + ".XXXXXX";
    Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    if (!file.IsOpen()) {
        throw std::runtime_error(path + " can't be written: " + std::strerror(errno));
    }
    return file;
}

} // namespace

void TryReplacing(const std::string& path)
{
    std::string fresh;
    const Descriptor file = MakeFresh(path, fresh);
    (void)unlink(fresh.c_str()); // its maker may remove it; if not, the next one says why
}

void ReplaceFile(const std::string& path, const std::string& text, mode_t mode)
{
    std::string fresh;
    const Descriptor file = MakeFresh(path, fresh);
    if (!WriteAll(file.Get(), text) || fchmod(file.Get(), mode) != 0 ||
        std::rename(fresh.c_str(), path.c_str()) != 0) {
        const int error = errno;
        (void)unlink(fresh.c_str()); // the reason to report is the first one
        throw std::runtime_error(path + " can't be written: " + std::strerror(error));
    }
}

} // namespace ctl
