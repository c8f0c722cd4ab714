#pragma once

#include "base/SafeFile.h"
#include "evidence/EvidenceName.h"

#include <cstdint>
#include <string>
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
    bool isPinned = false;           ///< kept from being deleted
    bool isHalfDeleted = false;      ///< a deletion of it was interrupted

    /** PROCESS/PID/EvidenceN/RESOURCE-YYYYMMDDTHHMMSS: one word, the same in each run. */
    std::string GetId() const;
    /** The name of its earliest file without the ending, PID_DD-MM_HH.MM.SS_LABEL; its marks are named so. */
    std::string GetStem() const;
    const EvidenceFile* Find(FileKind kind) const;
    std::uint64_t GetBytes() const;
    std::uint64_t GetDiskBytes() const;
    /** Without core images and heap dumps. */
    std::uint64_t GetTextBytes() const;
};

/** All evidence below one root. */
struct EvidenceTree
{
    std::string root;    ///< absolute path of the folder that holds the process folders; empty if not found
    std::string failure; ///< why the root can't be read; empty on success
    Descriptor folder;   ///< the open root
    std::vector<EvidenceSet> sets;      ///< by time
    std::vector<std::string> strangers; ///< what isn't the daemon's, and is left alone: "PATH: why"
    std::vector<std::string> unseen;    ///< what can't be looked at: "PATH: why"

    /** The absolute path of a set's folder. */
    std::string GetPath(const EvidenceSet& set) const { return root + "/" + set.folder; }
};

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
 */
EvidenceTree FindEvidence(const std::string& directory);

/** Opens the folder of a set, component by component, with no link followed. */
OpenedFile OpenSetFolder(const EvidenceTree& tree, const EvidenceSet& set);

/** Opens a file of a set for reading; refuses anything but a plain file. `setFolder` is the open folder. */
OpenedFile OpenEvidenceFile(int setFolder, const EvidenceFile& file);

} // namespace ctl
