#pragma once

#include <string>

#include "store/StoreFinding.h"

namespace ctl
{

/**
 * Looks at the evidence path as it will be used: blanks, a relative path, whose the folder is and who else
 * may write, its mount, its free space. `path` is what the store says and `place` is where it is looked for,
 * the same unless a copy is checked. Adds findings at `line`. Makes nothing. A folder that isn't there is
 * nobody's business here: the prediction of the load has said so.
 */
void CheckEvidenceFolder(const std::string& path, const std::string& place, std::size_t line,
                         StoreFindings& findings);

/** The same of the text of the path alone. */
void CheckEvidencePathText(const std::string& path, std::size_t line, StoreFindings& findings);

} // namespace ctl
