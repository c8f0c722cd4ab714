#pragma once

#include "evidence/EvidenceSet.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ctl
{

/**
 * Seconds between the stamps of a set. Captures start together; what keeps them apart is the load of the
 * host.
 */
constexpr std::time_t LONGEST_GAP = 30;

/** A file and the label in its name, before it belongs to a set. */
struct FoundFile
{
    std::string label;
    EvidenceFile file;
};

/** Sorts the files of one folder as TakeSet expects them: by label, time, kind and name. */
void SortFiles(std::vector<FoundFile>& files);

/**
 * Groups files of one folder EvidenceN, thread dumps aside, into the set that begins with the file at a
 * place.
 *
 * Each capture stamps its own name, so the stamps of a set differ by seconds; numbers begin anew with the
 * daemon, so one folder may hold several sets. Of one label a new set begins with a file whose kind the set
 * has already, or that is more than half a minute later than the one before it.
 *
 * `files` are sorted; those of the set are moved from. `place` is then that of the first file after it.
 * Returns the label, resource, time, files and sums.
 */
EvidenceSet TakeSet(std::vector<FoundFile>& files, std::size_t& place);

} // namespace ctl
