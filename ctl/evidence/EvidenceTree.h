#pragma once

#include "base/SafeFile.h"
#include "evidence/EvidenceName.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ctl
{

/** A file of an evidence set, as the folder shows it; nothing of it was read. */
struct EvidenceFile
{
    std::string name; ///< below the folder of its set; "../EvidenceN/NAME" for a thread dump that came late
    FileKind kind = FileKind::Core;
    std::time_t time = 0;        ///< the stamp of its name
    std::time_t modified = 0;    ///< its last change
    std::uint64_t bytes = 0;     ///< its size
    std::uint64_t diskBytes = 0; ///< what it takes of the disk, less than its size for a sparse file
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::string obstacle; ///< why it isn't read, "is a symbolic link"; empty for a plain file

    bool IsPlain() const { return obstacle.empty(); }
};

/** The plain files of a set in numbers. */
struct FileSums
{
    std::size_t count = 0;       ///< of all files, plain or not
    std::uint64_t bytes = 0;     ///< their sizes
    std::uint64_t diskBytes = 0; ///< what they take of the disk
    std::uint64_t textBytes = 0; ///< the sizes without core images and heap dumps
    std::time_t modified = 0;    ///< the latest change of one

    bool operator==(const FileSums& other) const = default;
};

/** What one breach of one counter left: the files of one process, resource and time. */
struct EvidenceSet
{
    std::string process; ///< name of the process folder: the watched name
    int pid = 0;
    std::string label;    ///< of the counter, "CPU" or "Memory"; empty if the folder holds no evidence file
    std::string resource; ///< the label in small letters
    int number = 0;       ///< N of the folder EvidenceN; begins anew with each start of the daemon
    std::time_t time = 0; ///< the earliest stamp of its files
    std::string folder;   ///< below the root: PROCESS/PID/EvidenceN
    std::vector<EvidenceFile> files; ///< by kind, then time
    FileSums sums;                   ///< of its files when they were found
    bool isPinned = false;           ///< kept from being deleted
    bool isHalfDeleted = false;      ///< a deletion of it was interrupted

    /** PROCESS/PID/EvidenceN/RESOURCE-YYYYMMDDTHHMMSS: one word, the same in each run. */
    std::string GetId() const;
    /** The name of its earliest file without the ending, PID_DD-MM_HH.MM.SS_LABEL; its marks are named so. */
    std::string GetStem() const;
    const EvidenceFile* Find(FileKind kind) const;
    /** True if it had a file when it was found. */
    bool HasFiles() const { return sums.count != 0; }
    std::uint64_t GetBytes() const { return sums.bytes; }
    std::uint64_t GetDiskBytes() const { return sums.diskBytes; }
};

/** The sums of some files. */
FileSums AddUp(const std::vector<EvidenceFile>& files);

/** What a tree keeps of its sets. */
enum class Keeping
{
    Files, ///< everything
    Sums   ///< all but the files themselves, which SetLoader finds again: a fraction of the memory
};

/** All evidence below one root. */
struct EvidenceTree
{
    std::string root;    ///< absolute path of the folder that holds the process folders; empty if not found
    std::string failure; ///< why the root can't be read; empty on success
    Descriptor folder;   ///< the open root
    Keeping keeping = Keeping::Files;
    std::time_t now = 0;                  ///< when it was looked through
    std::deque<EvidenceSet> sets;         ///< by time
    std::deque<EvidenceSet> emptyFolders; ///< folders EvidenceN without evidence, where nothing is to come
    std::vector<std::string> strangers;   ///< what isn't the daemon's, and is left alone: "PATH: why"
    std::vector<std::string> unseen;      ///< what can't be looked at: "PATH: why"

    /** The absolute path of a set's folder. */
    std::string GetPath(const EvidenceSet& set) const { return root + "/" + set.folder; }
};

/** Seconds in which a capture makes its first file. */
constexpr std::time_t STARTING_TIME = 10;

/** Mark of a pinned set, in its folder: a dot, the stem, and this. */
constexpr char PINNED_MARK[] = ".pinned";
/** Mark of a set that is being deleted. */
constexpr char DELETING_MARK[] = ".deleting";

/**
 * Looks through an evidence folder and groups its files into sets.
 *
 * `directory` is either the folder that THHS_EVIDENCE_PATH names or the folder "thsentinel" in it, which is
 * the root. Links below the root aren't followed and nothing is changed. Folders that can't be read stand
 * in `unseen`, and what isn't the daemon's in `strangers`, a hundred of each at most.
 *
 * A folder EvidenceN without evidence is a set only while a capture may be about to write its first file
 * there, and when an interrupted deletion left its mark there. Else it is what is left of deleted sets.
 */
EvidenceTree FindEvidence(const std::string& directory, Keeping keeping = Keeping::Files,
                          std::time_t now = std::time(nullptr));

/** Finds the files of sets again in a tree that kept their sums only. One thread. */
class SetLoader
{
public:
    /** `tree` outlives the loader. */
    explicit SetLoader(const EvidenceTree& tree) : mTree(tree) {}

    /** Returns the set at a place of tree.sets with its files as they are now; without files if it is gone.
     */
    EvidenceSet Load(std::size_t place);

    /** How many sets it holds in memory, to find them at once. */
    std::size_t CountHeld() const { return mReadSets; }

private:
    const std::deque<EvidenceSet>& ReadFolder(const EvidenceSet& set);

    const EvidenceTree& mTree;
    std::map<std::pair<std::string, int>, std::deque<EvidenceSet>> mRead; ///< by process and process id
    std::size_t mReadSets = 0;
};

/** Opens the folder of a set, component by component, with no link followed. */
OpenedFile OpenSetFolder(const EvidenceTree& tree, const EvidenceSet& set);

/** Opens a file of a set for reading; refuses anything but a plain file. `setFolder` is the open folder. */
OpenedFile OpenEvidenceFile(int setFolder, const EvidenceFile& file);

} // namespace ctl
