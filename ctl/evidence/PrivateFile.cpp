#include "evidence/PrivateFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ctl
{
namespace
{
constexpr mode_t OWNER_ONLY = 0600;

std::string GetFolder(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

bool Exists(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}
} // namespace

PrivateFile::PrivateFile(std::string path, bool replaces) : mPath(std::move(path)), mReplaces(replaces)
{
    if (!mReplaces && Exists(mPath)) {
        throw std::runtime_error(mPath + " exists; --force replaces it");
    }
    mFile = Descriptor(open(GetFolder(mPath).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, OWNER_ONLY));
    if (!mFile.IsOpen() && (errno == EOPNOTSUPP || errno == EISDIR || errno == ENOENT)) {
        std::string pattern = mPath + ".XXXXXX.part";
        constexpr int SUFFIX = 5;
        mFile = Descriptor(mkostemps(pattern.data(), SUFFIX, O_CLOEXEC)); // made with mode 0600
        mPartPath = mFile.IsOpen() ? pattern : "";
    }
    if (!mFile.IsOpen()) {
        Fail("can't be written");
    }
}

PrivateFile::~PrivateFile()
{
    if (!mPartPath.empty()) {
        (void)unlink(mPartPath.c_str()); // nothing can be done about a failure
    }
}

void PrivateFile::Fail(const std::string& step) const
{
    throw std::runtime_error(mPath + " " + step + ": " + std::strerror(errno));
}

void PrivateFile::GiveName(const std::string& name) const
{
    const std::string self = "/proc/self/fd/" + std::to_string(mFile.Get());
    const int result = mPartPath.empty()
                           ? linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW)
                           : link(mPartPath.c_str(), name.c_str());
    if (result != 0) {
        Fail("can't be given its name");
    }
}

void PrivateFile::Commit()
{
    if (fsync(mFile.Get()) != 0) {
        Fail("can't be written");
    }
    if (!mReplaces || !Exists(mPath)) {
        GiveName(mPath); // refuses when a file of that name came meanwhile
        return;
    }
    const std::string next = mPath + "." + std::to_string(getpid()) + ".part";
    GiveName(next);
    if (rename(next.c_str(), mPath.c_str()) != 0) {
        (void)unlink(next.c_str());
        Fail("can't be replaced");
    }
}

} // namespace ctl
