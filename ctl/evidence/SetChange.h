#pragma once

#include "evidence/Activity.h"
#include "evidence/EvidenceTree.h"

#include <cstdint>
#include <ctime>
#include <string>

namespace ctl
{

/** What came of a change to a set. */
struct SetChange
{
    std::string failure;          ///< empty on success
    std::uint64_t freedBytes = 0; ///< of the disk
};

/**
 * Returns why no set of a tree is deleted or pinned; empty if that may be done. The root may be a link:
 * evidence is read through it, but who changes something names that folder. `named` is what the command line
 * names, or empty.
 */
std::string DescribeRefusal(const EvidenceTree& tree, const std::string& named);

/**
 * Deletes the files of a set and nothing else: names that were found below the root, relative to open
 * folders, with no link followed, on the file system of the root alone. A file that changed since it was
 * found stops the deletion. A mark in the folder says that a deletion is under way, so that one that is
 * interrupted can be recognised and ended.
 *
 * `removesFolders` says that nobody can write here meanwhile: then the folder EvidenceN goes when it is
 * empty, and the folder of the process id when only the daemon's marker is left in it. Folders of processes
 * stay. A folder that stays keeps the time of its last change, which is the daemon's.
 */
SetChange DeleteSet(const EvidenceTree& tree, const EvidenceSet& set, bool removesFolders);

/**
 * Deletes a set of a tree that kept sums only, as DeleteSet does. A set that is no longer what it was when
 * the tree was walked stays: a capture writes it, or somebody pinned it. Folders go where nothing can come
 * any more: the process is gone, and the folder rested for an hour.
 */
SetChange DeleteFoundSet(const EvidenceTree& tree, std::size_t place, const Activity& activity);

/** Removes the folders of a tree that hold no evidence and where nothing can come any more. */
void RemoveEmptyFolders(const EvidenceTree& tree, const Activity& activity);

/** Pins a set, or lets it go: a mark in its folder. Does nothing if that is so already. */
SetChange PinSet(const EvidenceTree& tree, const EvidenceSet& set, bool isPinned);

/** True if a set's folder was last changed before `time`, in seconds since the epoch. */
bool IsUnchangedSince(const EvidenceTree& tree, const EvidenceSet& set, std::time_t time);

} // namespace ctl
