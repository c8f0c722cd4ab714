#include "evidence/ScratchFolder.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace ctl
{
namespace
{
constexpr mode_t PASSABLE = 0711;

std::string ChooseFolder(const std::string& where)
{
    const char* const temporary = std::getenv("TMPDIR");
    if (!where.empty()) {
        return where;
    }
    return temporary != nullptr && *temporary != '\0' ? temporary : "/tmp";
}
} // namespace

ScratchFolder::ScratchFolder(const std::string& where, bool keeps) : mKeeps(keeps)
{
    const std::string folder = ChooseFolder(where);
    std::string pattern = std::filesystem::absolute(folder).string() + "/thsentinelctl-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error(folder + ": no folder can be made in it");
    }
    mPath = pattern;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored; // what can't be removed stays
    if (!mKeeps) {
        std::filesystem::remove_all(mPath, ignored);
    }
}

std::string ScratchFolder::MakeFolderFor(uid_t user, gid_t group) const
{
    const std::string path = mPath + "/java";
    const bool isMade = mkdir(path.c_str(), S_IRWXU) == 0 && chmod(mPath.c_str(), PASSABLE) == 0 &&
                        (getuid() != 0 || lchown(path.c_str(), user, group) == 0);
    if (!isMade) {
        throw std::runtime_error(path + " can't be made");
    }
    return path;
}

} // namespace ctl
