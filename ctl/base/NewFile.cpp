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

} // namespace

void ReplaceFile(const std::string& path, const std::string& text, mode_t mode)
{
    std::string fresh = path + ".XXXXXX";
    const Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    if (!file.IsOpen()) {
        throw std::runtime_error(path + " can't be written: " + std::strerror(errno));
    }
    if (!WriteAll(file.Get(), text) || fchmod(file.Get(), mode) != 0 ||
        std::rename(fresh.c_str(), path.c_str()) != 0) {
        const int error = errno;
        (void)unlink(fresh.c_str()); // the reason to report is the first one
        throw std::runtime_error(path + " can't be written: " + std::strerror(error));
    }
}

} // namespace ctl
