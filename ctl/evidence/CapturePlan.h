#pragma once

#include "base/JavaNames.h"
#include "evidence/EvidenceName.h"

#include <optional>
#include <string>
#include <vector>

namespace ctl
{

/** What the settings make the daemon capture. The values here are those of a store without the keys. */
struct CapturePlan
{
    bool wantsDump = false;
    bool wantsNetwork = true;
    bool wantsDisk = true;
    std::optional<int> readings; ///< nothing if the settings can't be read
    std::optional<int> interval; ///< seconds
};

/** A section that a capture writes. */
struct PlannedSection
{
    std::string toolLine;      ///< as GetToolLine gives it, without the filter by process id
    bool mayBeEmpty = false;   ///< its tool may find nothing
    bool isOptional = false;   ///< a host may lack its tool
    bool isFiltered = false;   ///< the daemon filters it by the process id
    bool stopsProcess = false; ///< its tool stops the process while it looks
};

/** The tool that fills the file of a sampling kind, "iostat" or "mpstat"; empty for another kind. */
std::string GetSamplingTool(FileKind kind);

/** Its line, without the path of the tool: so many samples, so many seconds apart. */
std::string GetSamplingLine(FileKind kind, int interval, int count);

/** The sections of a capture of a process, in their order; empty for a kind that has none. */
std::vector<PlannedSection> GetPlannedSections(FileKind kind, int pid);

} // namespace ctl
