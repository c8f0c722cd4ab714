#pragma once

#include "evidence/EvidenceName.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
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
    std::string_view
        obstacle; ///< why it isn't read, "is a symbolic link", a constant; empty for a plain file

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

    /** Adds a file. */
    void Add(const EvidenceFile& file);
    /** Adds the sums of other files. */
    void Add(const FileSums& other);
    /** Not by what they take of the disk: some file systems give blocks long after the write. */
    bool operator==(const FileSums& other) const
    {
        return count == other.count && bytes == other.bytes && textBytes == other.textBytes &&
               modified == other.modified;
    }
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

/** Puts the files of a set into their order: by kind, then time. */
void SortByKind(std::vector<EvidenceFile>& files);

/** The resource of a label: the same in small letters. */
std::string GetResource(std::string label);

/** The folder of a set below the root. */
std::string MakeSetFolder(const std::string& process, int pid, int number);

} // namespace ctl
