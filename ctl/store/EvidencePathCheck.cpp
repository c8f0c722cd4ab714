#include "store/EvidencePathCheck.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include <pwd.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

#include <linux/magic.h>

#include "config/KeyTable.h"

#include "base/ByteSize.h"
#include "base/Plural.h"

namespace ctl
{

namespace
{

constexpr std::uint64_t LITTLE_SPACE = std::uint64_t{1} << 30U;
constexpr unsigned LITTLE_PERCENT = 5;
constexpr unsigned LITTLE_INODES = 1000;

/** The checks of one path; each adds what it finds. */
class FolderCheck
{
public:
    FolderCheck(std::string path, std::string place, std::size_t line, StoreFindings& findings)
        : mPath(std::move(path)), mPlace(std::move(place)), mLine(line), mFindings(findings)
    {}

    void CheckText();

    void Run()
    {
        CheckText();
        struct stat status = {};
        if (stat(mPlace.c_str(), &status) != 0) {
            const int error = errno;
            if (mPlace != mPath) { // the load complains of its own path
                Add(Severity::Warning, mPlace + " can't be looked at: " + std::strerror(error),
                    "name a folder that this user may read");
            }
        } else if (S_ISDIR(status.st_mode)) {
            CheckOwner(mPlace, status);
            CheckParents();
            CheckRoot();
            CheckMount();
            CheckSpace();
        }
    }

private:
    void Add(Severity severity, std::string message, std::string remedy)
    {
        mFindings.push_back({severity, THHS_EVIDENCE_PATH, mLine, std::move(message), std::move(remedy)});
    }

    void CheckOwner(const std::string& folder, const struct stat& status);
    void CheckParents();
    void CheckParent(const std::string& folder);
    void CheckRoot();
    void CheckMount();
    void CheckSpace();

    const std::string mPath;
    const std::string mPlace;
    const std::size_t mLine;
    StoreFindings& mFindings;
    std::set<std::pair<dev_t, ino_t>> mParents; ///< that have been looked at
};

void FolderCheck::CheckText()
{
    if (mPath.find_first_of(" \t") != std::string::npos) {
        Add(Severity::Error,
            "the path holds a blank: the shell lines of the captures don't quote it, so they write nothing "
            "here",
            "use a path without blanks");
    }
    if (mPath.find('\\') != std::string::npos) {
        Add(Severity::Error,
            "the path holds a backslash, which the shell takes for itself: captures miss the folder",
            "use a path without backslashes");
    }
    if (!mPath.starts_with('/')) {
        Add(Severity::Warning,
            "the path is relative: it depends on the folder that the service is started in",
            "use a path that begins with /");
    }
}

std::string GetUserName(uid_t user)
{
    const passwd* const entry = getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

void FolderCheck::CheckOwner(const std::string& folder, const struct stat& status)
{
    if (status.st_uid != 0) {
        Add(Severity::Warning,
            folder + " belongs to " + GetUserName(status.st_uid) + ", who may change or remove evidence",
            "chown root " + folder);
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        const bool isForAll = (status.st_mode & S_IWOTH) != 0;
        Add(Severity::Warning,
            folder + " may be written by " + (isForAll ? "everybody" : "its group") +
                ": evidence can be forged, removed, or led elsewhere by links",
            "chmod go-w " + folder);
    }
}

/** Whoever may write in a folder above may rename the evidence away, or put a link in its place. */
void FolderCheck::CheckParent(const std::string& folder)
{
    struct stat status = {};
    if (stat(folder.c_str(), &status) != 0 || !mParents.emplace(status.st_dev, status.st_ino).second) {
        return;
    }
    const std::string harm = ", who may rename the evidence folder away or put another in its place";
    if (status.st_uid != 0) {
        Add(Severity::Warning,
            folder + ", above the evidence folder, belongs to " + GetUserName(status.st_uid) + harm,
            "chown root " + folder);
    }
    const bool isForAll = (status.st_mode & S_IWOTH) != 0;
    const bool isForOthers = isForAll || (status.st_mode & S_IWGRP) != 0;
    if (isForOthers && (status.st_mode & S_ISVTX) == 0) { // there each may rename what is his own alone
        Add(Severity::Warning,
            folder + ", above the evidence folder, may be written by " +
                (isForAll ? "everybody" : "its group") + harm,
            "chmod go-w " + folder);
    }
}

/** Looks at the folders on the way as it is written, and at those on the way that links lead to. */
void FolderCheck::CheckParents()
{
    std::error_code failure;
    const std::filesystem::path written = std::filesystem::absolute(mPlace, failure).lexically_normal();
    std::filesystem::path way;
    for (const std::filesystem::path& part : written) {
        way /= part;
        const bool isLink = std::filesystem::is_symlink(way, failure);
        if (isLink) {
            Add(Severity::Info,
                way.string() + " is a symbolic link to " +
                    std::filesystem::read_symlink(way, failure).string() + ": evidence goes where it leads",
                "");
        }
        if (way != written && !part.empty() && !isLink) {
            CheckParent(way.string());
        }
    }
    std::filesystem::path real = std::filesystem::canonical(mPlace, failure);
    while (!failure && real.has_relative_path()) {
        real = real.parent_path();
        CheckParent(real.string());
    }
}

void FolderCheck::CheckRoot()
{
    const std::string root = mPlace + "/thsentinel";
    struct stat status = {};
    if (lstat(root.c_str(), &status) != 0) {
        return; // the load makes it
    }
    if (S_ISLNK(status.st_mode)) {
        Add(Severity::Warning, root + " is a symbolic link: evidence goes where it leads",
            "use a real folder");
    } else if (S_ISDIR(status.st_mode)) {
        CheckOwner(root, status);
    }
}

/** A name for file systems that evidence doesn't stay on, or that are slow; null for others. */
const char* GetUnsuitable(long type)
{
    switch (static_cast<unsigned long>(type)) {
    case TMPFS_MAGIC:
    case RAMFS_MAGIC:
        return "in memory: it is gone after a reboot, and a core takes the memory that is short";
    case NFS_SUPER_MAGIC:
    case SMB2_SUPER_MAGIC:
    case CIFS_SUPER_MAGIC:
        return "on the network: a core of gigabytes takes long, with the process standing still";
    default:
        return nullptr;
    }
}

void FolderCheck::CheckMount()
{
    struct statfs mount = {};
    if (statfs(mPlace.c_str(), &mount) != 0) {
        return;
    }
    if (const char* const problem = GetUnsuitable(static_cast<long>(mount.f_type))) {
        Add(Severity::Warning, mPlace + " lies on a file system " + problem, "use a local disk");
    }
    if ((mount.f_flags & ST_RDONLY) != 0) {
        Add(Severity::Error, mPlace + " is mounted for reading only: no evidence can be written",
            "mount it for writing");
    }
}

void FolderCheck::CheckSpace()
{
    struct statvfs space = {};
    if (statvfs(mPlace.c_str(), &space) != 0 || space.f_blocks == 0) {
        return;
    }
    const std::uint64_t free = static_cast<std::uint64_t>(space.f_bavail) * space.f_frsize;
    const std::uint64_t percent = static_cast<std::uint64_t>(space.f_bavail) * 100 / space.f_blocks;
    const std::string shown =
        FormatByteSize(free) + " (" + std::to_string(percent) + " %) free below " + mPlace;
    if (free < LITTLE_SPACE || percent < LITTLE_PERCENT) {
        Add(Severity::Warning, "only " + shown + ": a core or heap dump may not fit",
            "make room; thsentinelctl preflight names the size of the largest");
    } else {
        Add(Severity::Info, shown, "");
    }
    if (space.f_files > 0 && space.f_favail < LITTLE_INODES) {
        Add(Severity::Warning,
            "only " + CountNoun(space.f_favail, "more file") + " can be made below " + mPlace,
            "remove files there");
    }
}

} // namespace

void CheckEvidenceFolder(const std::string& path, const std::string& place, std::size_t line,
                         StoreFindings& findings)
{
    FolderCheck(path, place, line, findings).Run();
}

void CheckEvidencePathText(const std::string& path, std::size_t line, StoreFindings& findings)
{
    FolderCheck(path, path, line, findings).CheckText();
}

} // namespace ctl
