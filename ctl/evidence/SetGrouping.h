#pragma once

#include "evidence/EvidenceTree.h"

#include <string>
#include <vector>

namespace ctl
{

/** A file and where it was found, before it belongs to a set. */
struct FoundFile
{
    int number = 0; ///< N of its folder EvidenceN
    std::string label;
    EvidenceFile file; ///< its name is the bare one
};

/**
 * Groups the files of one process folder and process id into sets.
 *
 * Each capture stamps its own name, so the stamps of a set differ by seconds; numbers begin anew with the
 * daemon, so one folder may hold several sets. In one folder and of one label a new set begins with a file
 * whose kind the set has already, or that is more than half a minute later than the one before it. A thread
 * dump may come long after the rest, and in the folder of a later set; it goes to the latest set of its label
 * before it that has none.
 */
std::vector<EvidenceSet> GroupFiles(const std::string& process, int pid, std::vector<FoundFile> files);

} // namespace ctl
