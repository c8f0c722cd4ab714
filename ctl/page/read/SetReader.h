#pragma once

#include "evidence/EvidenceTree.h"
#include "evidence/SetCheck.h"
#include "page/read/ReportData.h"

#include <ctime>
#include <string>

namespace ctl
{

/**
 * Reads an evidence set for a report: every text file of it whole, and the memory map of an earlier set of
 * the same process. Cores and heap dumps are listed. What is missing or can't be read is noted, never an
 * error. `progress` learns of the bytes of sections that were read.
 */
ReportData ReadSet(const EvidenceTree& tree, const EvidenceSet& set, std::time_t now,
                   const ProgressTaker& progress);

} // namespace ctl
