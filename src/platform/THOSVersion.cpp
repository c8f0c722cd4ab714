#include "platform/THOSVersion.h"

#include <sys/stat.h>

namespace
{
struct ReleaseFile
{
    const char* mPath;
    eOSType mType;
};

// The first file that exists decides.
constexpr ReleaseFile RELEASE_FILES[] = {
    {"/etc/redhat-release", eOSRedHat},
    {"/etc/oracle-release", eOSRedHat},
    {"/etc/SuSE-release", eOSSuse},
};
} // namespace

bool IsFileExists(std::string path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

int GetOSType()
{
    for (const ReleaseFile& release : RELEASE_FILES) {
        if (IsFileExists(release.mPath)) {
            return release.mType;
        }
    }
    return eOSOther;
}
