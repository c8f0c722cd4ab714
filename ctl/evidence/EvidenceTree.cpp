#include "evidence/EvidenceTree.h"

#include "base/TimeText.h"
#include "evidence/SetGrouping.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <tuple>

#include <sys/stat.h>

namespace ctl
{
namespace
{
constexpr std::size_t MOST_NAMES = 100'000; ///< of one folder
constexpr std::size_t MOST_REMARKS = 100;
constexpr std::size_t MOST_READ_SETS = 1000; ///< that a loader holds, if no process id alone has more
constexpr std::uint64_t DISK_BLOCK = 512;    ///< the unit of st_blocks
constexpr char ROOT_NAME[] = "thsentinel";
constexpr char LOCK_MARK[] = "evidence.lock";

std::string DescribeKind(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return "";
    case S_IFLNK:
        return "is a symbolic link";
    case S_IFDIR:
        return "is a folder";
    case S_IFIFO:
        return "is a named pipe";
    case S_IFSOCK:
        return "is a socket";
    default:
        return "is a device";
    }
}

bool EndsWith(const std::string& text, const std::string& ending)
{
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

/** Collects the evidence below one root. */
class TreeWalk
{
public:
    explicit TreeWalk(EvidenceTree& tree) : mTree(tree) {}

    void WalkRoot()
    {
        for (const std::string& name : GetNames(mTree.folder.Get(), mTree.root)) {
            const OpenedFile folder = OpenBelow(mTree.folder.Get(), name, name);
            if (folder.IsOpen()) {
                WalkProcess(folder.file.Get(), name);
            }
        }
    }

    /** Walks the open folder of one process id. */
    void WalkPid(int folder, const std::string& process, int pid)
    {
        std::vector<FoundFile> found;
        mMarks.clear();
        const std::string path = process + "/" + std::to_string(pid);
        for (const std::string& name : GetNames(folder, path)) {
            const std::optional<int> number = ParseEvidenceNumber(name);
            if (!number) {
                if (name != LOCK_MARK) {
                    Remark(mTree.strangers, path + "/" + name, "is not the daemon's");
                }
                continue;
            }
            const OpenedFile evidence = OpenBelow(folder, name, path + "/" + name);
            if (evidence.IsOpen()) {
                WalkEvidence(evidence, process, pid, *number, found);
            }
        }
        std::vector<EvidenceSet> sets = GroupFiles(process, pid, std::move(found));
        for (EvidenceSet& set : sets) {
            ApplyMarks(set);
            if (mTree.keeping == Keeping::Sums) {
                set.files = std::vector<EvidenceFile>(); // gives its memory back
            }
            mTree.sets.push_back(std::move(set));
        }
    }

private:
    void Remark(std::vector<std::string>& remarks, const std::string& path, const std::string& text) const
    {
        if (remarks.size() < MOST_REMARKS) {
            remarks.push_back(path + ": " + text);
        }
    }

    std::vector<std::string> GetNames(int folder, const std::string& path)
    {
        std::vector<std::string> names = ListNames(folder, MOST_NAMES);
        if (names.size() == MOST_NAMES) {
            Remark(mTree.unseen, path, "holds more than 100000 names; the rest was not looked at");
        }
        return names;
    }

    /** Opens a folder; what is no folder becomes a stranger, what is closed to us unseen. */
    OpenedFile OpenBelow(int parent, const std::string& name, const std::string& path)
    {
        OpenedFile folder = OpenFolder(parent, name);
        if (folder.IsOpen()) {
            return folder;
        }
        struct stat status = {};
        const bool isKnown = fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
        if (isKnown && !S_ISDIR(status.st_mode)) {
            Remark(mTree.strangers, path,
                   S_ISREG(status.st_mode) ? "is a file" : DescribeKind(status.st_mode) + ", not followed");
        } else if (folder.error != ENOENT) { // gone meanwhile
            Remark(mTree.unseen, path, folder.failure);
        }
        return folder;
    }

    void WalkProcess(int folder, const std::string& process)
    {
        for (const std::string& name : GetNames(folder, process)) {
            const std::string path = process + "/" + name;
            const std::optional<int> pid = ParsePidFolder(name);
            if (!pid) {
                Remark(mTree.strangers, path, "has no process id as its name");
                continue;
            }
            const OpenedFile pidFolder = OpenBelow(folder, name, path);
            if (pidFolder.IsOpen()) {
                WalkPid(pidFolder.file.Get(), process, *pid);
            }
        }
    }

    void WalkEvidence(const OpenedFile& folder, const std::string& process, int pid, int number,
                      std::vector<FoundFile>& found)
    {
        const std::string path = process + "/" + std::to_string(pid) + "/Evidence" + std::to_string(number);
        const std::size_t before = found.size();
        for (const std::string& name : GetNames(folder.file.Get(), path)) {
            if (IsMark(name)) {
                mMarks.push_back({number, name});
            } else {
                AddFile(folder.file.Get(), path, name, number, found);
            }
        }
        if (found.size() == before) {
            AddEmptyFolder(folder.status, process, pid, number, path);
        }
    }

    static bool IsMark(const std::string& name)
    {
        return name.front() == '.' && (EndsWith(name, PINNED_MARK) || EndsWith(name, DELETING_MARK));
    }

    void AddFile(int folder, const std::string& path, const std::string& name, int number,
                 std::vector<FoundFile>& found)
    {
        struct stat status = {};
        if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) {
                Remark(mTree.unseen, path + "/" + name, std::strerror(errno));
            }
            return;
        }
        const std::optional<EvidenceName> parsed = ParseEvidenceName(name);
        if (!parsed) {
            Remark(mTree.strangers, path + "/" + name, "is not the daemon's");
            return;
        }
        EvidenceFile file;
        file.name = name;
        file.kind = parsed->kind;
        file.time = ResolveStamp(parsed->stamp, status.st_mtime);
        file.modified = status.st_mtime;
        file.bytes = static_cast<std::uint64_t>(status.st_size);
        file.diskBytes = static_cast<std::uint64_t>(status.st_blocks) * DISK_BLOCK;
        file.device = status.st_dev;
        file.inode = status.st_ino;
        file.obstacle = DescribeKind(status.st_mode);
        found.push_back({number, parsed->label, std::move(file)});
    }

    void AddEmptyFolder(const struct stat& status, const std::string& process, int pid, int number,
                        const std::string& path)
    {
        EvidenceSet set;
        set.process = process;
        set.pid = pid;
        set.number = number;
        set.time = status.st_mtime;
        set.folder = path;
        set.isHalfDeleted = std::any_of(mMarks.begin(), mMarks.end(), [number](const auto& mark) {
            return mark.first == number && EndsWith(mark.second, DELETING_MARK);
        });
        const bool isYoung = set.time <= mTree.now && mTree.now - set.time < STARTING_TIME;
        (isYoung || set.isHalfDeleted ? mTree.sets : mTree.emptyFolders).push_back(std::move(set));
    }

    void ApplyMarks(EvidenceSet& set) const
    {
        for (const auto& [number, mark] : mMarks) {
            for (const EvidenceFile& file : set.files) {
                const std::string stem = "." + file.name.substr(0, file.name.rfind('.'));
                if (number == set.number && mark == stem + PINNED_MARK) {
                    set.isPinned = true;
                } else if (number == set.number && mark == stem + DELETING_MARK) {
                    set.isHalfDeleted = true;
                }
            }
        }
    }

    EvidenceTree& mTree;
    std::vector<std::pair<int, std::string>> mMarks; ///< of the process id at hand
};

/** True if the folder is laid out as a process folder: PID/EvidenceN. */
bool HoldsEvidenceOfAProcess(int folder)
{
    for (const std::string& name : ListNames(folder, MOST_NAMES)) {
        const OpenedFile pid = ParsePidFolder(name) ? OpenFolder(folder, name) : OpenedFile();
        if (!pid.IsOpen()) {
            continue;
        }
        for (const std::string& below : ListNames(pid.file.Get(), MOST_NAMES)) {
            if (ParseEvidenceNumber(below)) {
                return true;
            }
        }
    }
    return false;
}

/** Opens the root itself, which may be a link: the operator named it. */
Descriptor OpenRoot(const std::string& path)
{
    return Descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

OpenedFile OpenByName(int setFolder, const std::string& name)
{
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos) {
        return OpenRegularFile(setFolder, name);
    }
    // Intentional: the way up from an open folder is its real parent; a late thread dump lies beside it.
    constexpr std::size_t UP = 3; // "../"
    OpenedFile folder = OpenFolder(setFolder, "..");
    if (folder.IsOpen()) {
        folder = OpenFolder(folder.file.Get(), name.substr(UP, slash - UP));
    }
    return folder.IsOpen() ? OpenRegularFile(folder.file.Get(), name.substr(slash + 1)) : std::move(folder);
}

void FindRoot(EvidenceTree& tree, const std::string& directory)
{
    const std::filesystem::path given =
        std::filesystem::absolute(directory.empty() ? "." : directory).lexically_normal();
    tree.root = given.string();
    if (tree.root.size() > 1 && tree.root.back() == '/') {
        tree.root.pop_back();
    }
    const std::string below = (given / ROOT_NAME).string();
    tree.folder = OpenRoot(below);
    // A watched process may itself be named like the root.
    if (tree.folder.IsOpen() && !HoldsEvidenceOfAProcess(tree.folder.Get())) {
        tree.root = below;
        return;
    }
    if (!tree.folder.IsOpen() && errno != ENOENT && errno != ENOTDIR) {
        tree.failure = below + ": " + std::strerror(errno);
        return;
    }
    tree.folder = OpenRoot(tree.root);
    if (!tree.folder.IsOpen()) {
        tree.failure = tree.root + ": " + std::strerror(errno);
    }
}
} // namespace

std::string EvidenceSet::GetId() const
{
    std::string stamp;
    for (const char letter : FormatLocalTime(time)) {
        if (letter == ' ') {
            stamp += 'T';
        } else if (letter != '-' && letter != ':') {
            stamp += letter;
        }
    }
    return folder + "/" + (resource.empty() ? "empty" : resource) + "-" + stamp;
}

std::string EvidenceSet::GetStem() const
{
    const auto first = std::min_element(files.begin(), files.end(), [](const auto& left, const auto& right) {
        return std::tie(left.time, left.name) < std::tie(right.time, right.name);
    });
    return first == files.end() ? "" : first->name.substr(0, first->name.rfind('.'));
}

const EvidenceFile* EvidenceSet::Find(FileKind kind) const
{
    for (const EvidenceFile& file : files) {
        if (file.kind == kind) {
            return &file;
        }
    }
    return nullptr;
}

FileSums AddUp(const std::vector<EvidenceFile>& files)
{
    FileSums sums;
    sums.count = files.size();
    for (const EvidenceFile& file : files) {
        if (file.IsPlain()) {
            sums.bytes += file.bytes;
            sums.diskBytes += file.diskBytes;
            sums.textBytes += IsText(file.kind) ? file.bytes : 0;
            sums.modified = std::max(sums.modified, file.modified);
        }
    }
    return sums;
}

EvidenceTree FindEvidence(const std::string& directory, Keeping keeping, std::time_t now)
{
    EvidenceTree tree;
    tree.now = now;
    tree.keeping = keeping;
    FindRoot(tree, directory);
    if (tree.failure.empty()) {
        TreeWalk(tree).WalkRoot();
    }
    std::sort(tree.sets.begin(), tree.sets.end(), [](const EvidenceSet& left, const EvidenceSet& right) {
        return std::tie(left.time, left.folder, left.label) < std::tie(right.time, right.folder, right.label);
    });
    return tree;
}

EvidenceSet SetLoader::Load(std::size_t place)
{
    const EvidenceSet& wanted = mTree.sets[place];
    if (mTree.keeping == Keeping::Files) {
        return wanted;
    }
    for (const EvidenceSet& set : ReadFolder(wanted)) {
        if (set.number == wanted.number && set.label == wanted.label && set.time == wanted.time) {
            return set;
        }
    }
    EvidenceSet gone = wanted;
    gone.sums = {};
    return gone;
}

const std::deque<EvidenceSet>& SetLoader::ReadFolder(const EvidenceSet& set)
{
    const auto key = std::make_pair(set.process, set.pid);
    const auto known = mRead.find(key);
    if (known != mRead.end()) {
        return known->second;
    }
    if (mReadSets > MOST_READ_SETS) {
        mRead.clear();
        mReadSets = 0;
    }
    EvidenceTree found; // its remarks were made when the tree was walked
    found.now = mTree.now;
    OpenedFile folder = OpenFolder(mTree.folder.Get(), set.process);
    folder = folder.IsOpen() ? OpenFolder(folder.file.Get(), std::to_string(set.pid)) : std::move(folder);
    if (folder.IsOpen()) {
        TreeWalk(found).WalkPid(folder.file.Get(), set.process, set.pid);
    }
    mReadSets += found.sets.size();
    return mRead.emplace(key, std::move(found.sets)).first->second;
}

OpenedFile OpenSetFolder(const EvidenceTree& tree, const EvidenceSet& set)
{
    const std::string names[] = {set.process, std::to_string(set.pid),
                                 "Evidence" + std::to_string(set.number)};
    OpenedFile folder = OpenFolder(tree.folder.Get(), names[0]);
    for (std::size_t index = 1; index < std::size(names) && folder.IsOpen(); ++index) {
        folder = OpenFolder(folder.file.Get(), names[index]);
    }
    return folder;
}

OpenedFile OpenEvidenceFile(int setFolder, const EvidenceFile& file)
{
    OpenedFile opened = OpenByName(setFolder, file.name);
    if (opened.IsOpen()) {
        // Looking leaves no trace, the time of the last access included; only the owner may ask for that.
        (void)fcntl(opened.file.Get(), F_SETFL, O_NOATIME);
    }
    return opened;
}

} // namespace ctl
