#include "evidence/EvidenceTree.h"

#include "evidence/FolderReader.h"
#include "evidence/ThreadDumpHomes.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include <sys/stat.h>

namespace ctl
{
namespace
{
constexpr std::size_t MOST_REMARKS = 100;
constexpr char ROOT_NAME[] = "thsentinel";
constexpr char LOCK_MARK[] = "evidence.lock";

/** Collects the evidence below one root. */
class TreeWalk
{
public:
    TreeWalk(EvidenceTree& tree, const WalkTaker& take) : mTree(tree), mTake(take) {}

    void Walk()
    {
        for (const std::string& name : GetNames(mTree.folder.Get(), "")) {
            const OpenedFile folder = OpenBelow(mTree.folder.Get(), name, name);
            if (folder.IsOpen()) {
                WalkProcess(folder.file.Get(), name);
            }
        }
        mTree.sets.Sort();
    }

private:
    void Remark(std::vector<std::string>& remarks, const std::string& path, const std::string& text) const
    {
        if (remarks.size() < MOST_REMARKS) {
            remarks.push_back(path + ": " + text);
        }
    }

    void Show(const std::string& path) const
    {
        if (mTake) {
            mTake(path);
        }
    }

    std::vector<std::string> GetNames(int folder, const std::string& path)
    {
        std::vector<std::string> names = ListNames(folder, MOST_NAMES);
        if (names.size() == MOST_NAMES) {
            Remark(mTree.unseen, path.empty() ? mTree.root : path, TOO_MANY_NAMES);
        }
        return names;
    }

    /** Opens a folder; what is no folder becomes a stranger, what is closed to us unseen. */
    OpenedFile OpenBelow(int parent, const std::string& name, const std::string& path)
    {
        Show(path);
        OpenedFile folder = OpenFolder(parent, name);
        if (folder.IsOpen()) {
            return folder;
        }
        struct stat status = {};
        const bool isKnown = fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
        if (isKnown && !S_ISDIR(status.st_mode)) {
            Remark(mTree.strangers, path,
                   S_ISREG(status.st_mode)
                       ? "is a file"
                       : std::string(DescribeFileType(status.st_mode)) + ", not followed");
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

    void WalkPid(int folder, const std::string& process, int pid)
    {
        mDumps.clear();
        const std::size_t first = mTree.sets.size();
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
                WalkEvidence(evidence, process, pid, *number);
            }
        }
        PlaceThreadDumps(mTree.sets, first, process, pid, std::move(mDumps));
    }

    void WalkEvidence(const OpenedFile& folder, const std::string& process, int pid, int number)
    {
        const std::string path = MakeSetFolder(process, pid, number);
        FolderRules rules;
        rules.addStranger = [&](const std::string& name, const std::string& why) {
            Remark(mTree.strangers, path + "/" + name, why);
        };
        rules.addUnseen = [&](const std::string& name, const std::string& why) {
            Remark(mTree.unseen, name.empty() ? path : path + "/" + name, why);
        };
        rules.addName = [&] { Show(path); };
        FolderFiles found = ReadEvidenceFolder(folder.file.Get(), rules);
        if (found.files.empty() && found.dumps.empty()) {
            AddEmptyFolder(folder.status, process, pid, number, found);
        }
        SortFiles(found.files);
        for (std::size_t place = 0; place < found.files.size();) {
            EvidenceSet set = TakeSet(found.files, place);
            set.process = process;
            set.pid = pid;
            set.number = number;
            found.ApplyMarks(set);
            mTree.sets.Add(set);
        }
        NoteThreadDumps(number, found);
    }

    /** Keeps what is needed to find the sets of thread dumps, when all sets are known. */
    void NoteThreadDumps(int number, const FolderFiles& found)
    {
        for (const FoundFile& dump : found.dumps) {
            DumpRecord& record = mDumps.emplace_back();
            record.time = dump.file.time;
            record.number = number;
            record.label = mTree.sets.GetNamePlace(dump.label);
            record.isPinned = found.HasMark(dump.file.name, PINNED_MARK);
            record.isHalfDeleted = found.HasMark(dump.file.name, DELETING_MARK);
            record.sums.Add(dump.file);
        }
    }

    void AddEmptyFolder(const struct stat& status, const std::string& process, int pid, int number,
                        const FolderFiles& found)
    {
        EvidenceSet set;
        set.process = process;
        set.pid = pid;
        set.number = number;
        set.time = status.st_mtime;
        set.isHalfDeleted = found.HasMarkOf(DELETING_MARK);
        const bool isYoung = set.time <= mTree.now && mTree.now - set.time < STARTING_TIME;
        (isYoung || set.isHalfDeleted ? mTree.sets : mTree.emptyFolders).Add(set);
    }

    EvidenceTree& mTree;
    const WalkTaker& mTake;
    std::vector<DumpRecord> mDumps; ///< of the process id at hand
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

EvidenceTree FindEvidence(const std::string& directory, const WalkTaker& take, std::time_t now)
{
    EvidenceTree tree;
    tree.now = now;
    FindRoot(tree, directory);
    if (tree.failure.empty()) {
        TreeWalk(tree, take).Walk();
    }
    return tree;
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
