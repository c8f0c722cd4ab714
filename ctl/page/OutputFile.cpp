#include "page/OutputFile.h"

#include "base/SafeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace ctl
{

namespace
{
[[noreturn]] void Fail(const std::string& path)
{
    throw std::runtime_error(path + " can't be written: " + std::strerror(errno));
}

bool WriteAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}
/** True for a path that stands for a device, a pipe or the like, which is written to and never replaced. */
bool IsSpecial(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

/** The file itself where the path is a link to one, so that the link stays. */
std::string ResolveLink(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : path;
}

void WriteInPlace(const std::string& path, int file, std::string_view text)
{
    if (file < 0 || !WriteAll(file, text)) {
        Fail(path);
    }
}

void Replace(const std::string& path, std::string_view text)
{
    std::string temporary = path + ".XXXXXX";
    const Descriptor file(
        mkostemp(temporary.data(), O_CLOEXEC)); // mode 0600: evidence is nobody else's business
    if (!file.IsOpen()) {
        Fail(path);
    }
    if (!WriteAll(file.Get(), text) || fsync(file.Get()) != 0 ||
        rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        (void)unlink(temporary.c_str()); // the failure itself is what is reported
        errno = error;
        Fail(path);
    }
}
} // namespace

void WriteOutputFile(const std::string& path, std::string_view text)
{
    if (path == "-") {
        WriteInPlace("standard output", STDOUT_FILENO, text);
    } else if (IsSpecial(path)) {
        const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        WriteInPlace(path, file.Get(), text);
    } else {
        Replace(ResolveLink(path), text);
    }
}

} // namespace ctl
