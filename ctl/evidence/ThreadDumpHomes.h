#pragma once

#include "evidence/SetList.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ctl
{

/**
 * Adds the thread dumps of one process id to the sets that they belong to.
 *
 * A thread dump may come long after the rest of its set, and in the folder of a later set. It goes to a set
 * of its label that isn't later and has no thread dump: to one with a heap dump before one without, to one
 * without a core image before one with it, to one of its own folder before others, and then to the latest. A
 * dump that no set is for stands as a set of its own.
 *
 * The sets of the process id are those of the list from the place `first` on.
 */
void PlaceThreadDumps(SetList& sets, std::size_t first, const std::string& process, int pid,
                      std::vector<DumpRecord> dumps);

} // namespace ctl
