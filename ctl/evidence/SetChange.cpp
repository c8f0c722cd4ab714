#include "evidence/SetChange.h"

#include "evidence/FolderReader.h"
#include "evidence/SetLoader.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ctl
{
namespace
{
/** A folder that was changed within this time may be about to get files of a capture; it stays. */
constexpr std::time_t QUIET_TIME = 3600;

constexpr mode_t OWNER_ONLY = 0600;
constexpr char LOCK_MARK[] = "evidence.lock";

SetChange Fail(const std::string& text)
{
    return {text, 0};
}

SetChange FailByErrno(const std::string& what)
{
    return Fail(what + ": " + std::strerror(errno));
}

/** Makes an empty file; one that is there already is as good. */
bool MakeMark(int folder, const std::string& name)
{
    const Descriptor mark(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, OWNER_ONLY));
    return mark.IsOpen() || errno == EEXIST;
}

bool Remove(int folder, const std::string& name)
{
    return unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT;
}

bool HasFile(int folder, const std::string& name)
{
    struct stat status = {};
    return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/**
 * Gives a folder the time back that it had when it was opened, so that it isn't taken for that of a capture
 * which begins. Without the right to it, it may be.
 */
void KeepTime(const OpenedFile& folder)
{
    const timespec times[] = {{0, UTIME_OMIT}, folder.status.st_mtim};
    (void)futimens(folder.file.Get(), times);
}

/** One deletion of one set. */
class Deletion
{
public:
    Deletion(const EvidenceTree& tree, const EvidenceSet& set) : mTree(tree), mSet(set) {}

    SetChange Run(bool removesFolders)
    {
        const OpenedFile folder = OpenSetFolder(mTree, mSet);
        if (!folder.IsOpen()) {
            return Fail(folder.failure);
        }
        struct stat root = {};
        if (fstat(mTree.folder.Get(), &root) != 0 || root.st_dev != folder.status.st_dev) {
            return Fail("lies on another file system than the evidence root");
        }
        const std::string mark = "." + mSet.GetStem() + DELETING_MARK;
        const bool wasMarked = HasFile(folder.file.Get(), mark);
        if (!mSet.files.empty() && !MakeMark(folder.file.Get(), mark)) {
            return FailByErrno("the mark of the deletion can't be made");
        }
        // The files that the mark is named after go last: as long as one is left the mark says whose it is.
        if (!RemoveFiles(folder.file.Get(), false) || !RemoveFiles(folder.file.Get(), true)) {
            if (!mHasRemoved && !wasMarked) { // the set is as it was, and no deletion of it was interrupted
                (void)Remove(folder.file.Get(), mark);
            }
            return mChange;
        }
        RemoveMarks(folder.file.Get(), mSet.files.empty() ? "" : mark);
        KeepTime(folder);
        if (removesFolders && mChange.failure.empty()) {
            RemoveFolders();
        }
        return mChange;
    }

private:
    /** Opens the folder that a late thread dump lies in; the given one for all others. */
    static OpenedFile OpenFolderOf(int folder, const EvidenceFile& file)
    {
        const std::size_t slash = file.name.rfind('/');
        if (slash == std::string::npos) {
            return OpenFolder(folder, ".");
        }
        const OpenedFile above = OpenFolder(folder, "..");
        return above.IsOpen() ? OpenFolder(above.file.Get(), file.name.substr(3, slash - 3)) : OpenedFile();
    }

    bool RemoveFiles(int folder, bool areOfTheStem)
    {
        const std::string stem = mSet.GetStem() + ".";
        for (const EvidenceFile& file : mSet.files) {
            if ((file.name.compare(0, stem.size(), stem) == 0) != areOfTheStem) {
                continue;
            }
            const std::string failure = RemoveFile(folder, file);
            if (!failure.empty()) {
                mChange.failure = file.name + ": " + failure;
                return false;
            }
        }
        return true;
    }

    /** Removes a mark of deletion; all of them for an empty name, from a folder without evidence. */
    void RemoveMarks(int folder, const std::string& mark)
    {
        const std::string ending = DELETING_MARK;
        for (const std::string& name : ListNames(folder)) {
            const bool isMark = name.size() > ending.size() &&
                                name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
            if (isMark && (mark.empty() || name == mark) && !Remove(folder, name)) {
                mChange.failure =
                    std::string("the mark of the deletion can't be removed: ") + std::strerror(errno);
            }
        }
    }

    std::string RemoveFile(int setFolder, const EvidenceFile& file)
    {
        const OpenedFile folder = OpenFolderOf(setFolder, file);
        const std::string name = file.name.substr(file.name.rfind('/') + 1);
        struct stat status = {};
        if (fstatat(folder.file.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno == ENOENT ? "" : std::strerror(errno);
        }
        if (S_ISDIR(status.st_mode)) {
            return ""; // somebody else's, whatever its name; the daemon writes files alone
        }
        const bool isSame = status.st_dev == file.device && status.st_ino == file.inode &&
                            static_cast<std::uint64_t>(status.st_size) == file.bytes &&
                            status.st_mtime == file.modified;
        if (!isSame) {
            return "changed meanwhile; what is left of the set stays";
        }
        if (!Remove(folder.file.Get(), name)) {
            return std::strerror(errno);
        }
        mHasRemoved = true;
        mChange.freedBytes += file.diskBytes;
        KeepTime(folder);
        return "";
    }

    /** Removes folders as far as they are empty; one that isn't stays, and that is no failure. */
    void RemoveFolders() const
    {
        const OpenedFile process = OpenFolder(mTree.folder.Get(), mSet.process);
        const std::string pid = std::to_string(mSet.pid);
        const OpenedFile folder = process.IsOpen() ? OpenFolder(process.file.Get(), pid) : OpenedFile();
        if (!folder.IsOpen()) {
            return;
        }
        const std::string number = "Evidence" + std::to_string(mSet.number);
        (void)unlinkat(folder.file.Get(), number.c_str(), AT_REMOVEDIR);
        const std::vector<std::string> left = ListNames(folder.file.Get(), 2);
        if (left.empty() || (left.size() == 1 && left.front() == LOCK_MARK)) {
            (void)unlinkat(folder.file.Get(), LOCK_MARK, 0);
            (void)unlinkat(process.file.Get(), pid.c_str(), AT_REMOVEDIR);
        }
    }

    const EvidenceTree& mTree;
    const EvidenceSet& mSet;
    bool mHasRemoved = false;
    SetChange mChange;
};

/** True if nothing can come to a set's folder any more. */
bool IsAtRest(const EvidenceTree& tree, const EvidenceSet& set, const Activity& activity)
{
    return !activity.IsAlive(set.pid) && IsUnchangedSince(tree, set, activity.GetNow() - QUIET_TIME);
}
} // namespace

std::string DescribeRefusal(const EvidenceTree& tree, const std::string& named)
{
    const std::string given =
        named.empty() ? "" : std::filesystem::absolute(named).lexically_normal().string();
    if (given == tree.root || given == tree.root + "/") {
        return "";
    }
    struct stat opened = {};
    struct stat found = {};
    const bool isKnown = fstat(tree.folder.Get(), &opened) == 0 && lstat(tree.root.c_str(), &found) == 0;
    const bool isSame = isKnown && opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
    return isSame
               ? ""
               : tree.root + " is a symbolic link: nothing is changed through it; name the folder itself by "
                             "--evidence";
}

SetChange DeleteSet(const EvidenceTree& tree, const EvidenceSet& set, bool removesFolders)
{
    return Deletion(tree, set).Run(removesFolders);
}

SetChange DeleteFoundSet(const EvidenceTree& tree, std::size_t place, const Activity& activity)
{
    const SetRecord& found = tree.sets.GetRecord(place);
    const EvidenceSet set = LoadSet(tree, place);
    if (set.sums != found.sums || set.isPinned != found.isPinned) {
        SetChange change;
        change.failure = "changed after it was chosen; nothing of it was deleted";
        return change;
    }
    return DeleteSet(tree, set, IsAtRest(tree, set, activity));
}

void RemoveEmptyFolders(const EvidenceTree& tree, const Activity& activity)
{
    for (std::size_t place = 0; place < tree.emptyFolders.size(); ++place) {
        const EvidenceSet folder = tree.emptyFolders[place];
        if (IsAtRest(tree, folder, activity)) {
            (void)DeleteSet(tree, folder, true); // one that can't be removed is empty, and takes nothing
        }
    }
}

SetChange PinSet(const EvidenceTree& tree, const EvidenceSet& set, bool isPinned)
{
    if (set.files.empty()) {
        return Fail("holds no file that could be pinned");
    }
    const OpenedFile folder = OpenSetFolder(tree, set);
    if (!folder.IsOpen()) {
        return Fail(folder.failure);
    }
    if (isPinned) {
        const bool isMade = MakeMark(folder.file.Get(), "." + set.GetStem() + PINNED_MARK);
        return isMade ? SetChange() : FailByErrno("can't be pinned");
    }
    // The mark bears the name of any of its files.
    for (const EvidenceFile& file : set.files) {
        const std::string name = file.name.substr(file.name.rfind('/') + 1);
        if (!Remove(folder.file.Get(), "." + name.substr(0, name.rfind('.')) + PINNED_MARK)) {
            return FailByErrno("can't be let go");
        }
    }
    return {};
}

bool IsUnchangedSince(const EvidenceTree& tree, const EvidenceSet& set, std::time_t time)
{
    const OpenedFile folder = OpenSetFolder(tree, set);
    return folder.IsOpen() && folder.status.st_mtime < time;
}

} // namespace ctl
