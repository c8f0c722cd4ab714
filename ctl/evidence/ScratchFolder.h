#pragma once

#include <string>

#include <sys/types.h>

namespace ctl
{

/** A folder of this run's own, removed with all in it unless it is to be kept. */
class ScratchFolder
{
public:
    /** Makes it in `where`, else in TMPDIR, else in /tmp. Raises std::runtime_error if that can't be. */
    ScratchFolder(const std::string& where, bool keeps);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& GetPath() const { return mPath; }

    /** Makes a folder in it that another user may write. Raises std::runtime_error if that can't be. */
    std::string MakeFolderFor(uid_t user, gid_t group) const;

private:
    const bool mKeeps;
    std::string mPath;
};

} // namespace ctl
