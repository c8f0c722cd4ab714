#pragma once

#include <string>
#include <vector>

#include "processes/LiveMatches.h"
#include "store/LoadPrediction.h"

namespace ctl
{

/** One thing that was looked at before the service is relied upon. */
struct PreflightRow
{
    enum class Result
    {
        Good,
        Warning,
        Error,
        Unknown
    };

    std::string check; ///< what was looked at: "tool ps"
    Result result = Result::Good;
    std::string message;
    std::string remedy;
};

using PreflightRows = std::vector<PreflightRow>;

/** What the checks go by. */
struct PreflightBase
{
    const LoadPrediction& prediction;
    const WatchedNames& names;
    const LiveMatches& live;
    int daemon = 0;           ///< process id of the service, 0 if it doesn't run
    std::string evidencePath; ///< where the evidence goes, as the store or --evidence names it
};

/** The lines that list processes and read their use, run with the daemon's tools, and judged. */
void CheckListing(const PreflightBase& base, PreflightRows& rows);

/** The tools that the daemon calls: there, executable, and at work on something harmless. */
void CheckTools(const PreflightBase& base, PreflightRows& rows);

/** Who may look into a process: superuser, ptrace_scope, SELinux, tracers, the owner of a Java program. */
void CheckRights(const PreflightBase& base, PreflightRows& rows);

/** Space for the largest core and heap dump, with the expected standstill; folders, mounts and the clock. */
void CheckPlaces(const PreflightBase& base, PreflightRows& rows);

} // namespace ctl
