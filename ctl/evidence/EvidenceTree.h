#pragma once

#include "base/SafeFile.h"
#include "evidence/SetList.h"

#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace ctl
{

/** All evidence below one root. */
struct EvidenceTree
{
    std::string root;     ///< absolute path of the folder that holds the process folders; empty if not found
    std::string failure;  ///< why the root can't be read; empty on success
    Descriptor folder;    ///< the open root
    std::time_t now = 0;  ///< when it was looked through
    SetList sets;         ///< by time
    SetList emptyFolders; ///< folders EvidenceN without evidence, where nothing is to come
    std::vector<std::string> strangers; ///< what isn't the daemon's, and is left alone: "PATH: why"
    std::vector<std::string> unseen;    ///< what can't be looked at: "PATH: why"

    /** The absolute path of a set's folder. */
    std::string GetPath(const EvidenceSet& set) const { return root + "/" + set.folder; }
};

/** Seconds in which a capture makes its first file. */
constexpr std::time_t STARTING_TIME = 10;

/** Is called for each name that is looked at, with the folder below the root that it lies in. */
using WalkTaker = std::function<void(const std::string& folder)>;

/**
 * Looks through an evidence folder and groups its files into sets.
 *
 * `directory` is either the folder that THHS_EVIDENCE_PATH names or the folder "thsentinel" in it, which is
 * the root. Links below the root aren't followed and nothing is changed. Folders that can't be read stand
 * in `unseen`, and what isn't the daemon's in `strangers`, a hundred of each at most. `take` may be empty.
 *
 * A folder EvidenceN without evidence is a set only while a capture may be about to write its first file
 * there, and when an interrupted deletion left its mark there. Else it is what is left of deleted sets.
 */
EvidenceTree FindEvidence(const std::string& directory, const WalkTaker& take = nullptr,
                          std::time_t now = std::time(nullptr));

/** Opens the folder of a set, component by component, with no link followed. */
OpenedFile OpenSetFolder(const EvidenceTree& tree, const EvidenceSet& set);

/** Opens a file of a set for reading; refuses anything but a plain file. `setFolder` is the open folder. */
OpenedFile OpenEvidenceFile(int setFolder, const EvidenceFile& file);

} // namespace ctl
