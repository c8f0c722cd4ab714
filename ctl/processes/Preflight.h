#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "processes/LiveMatches.h"
#include "store/LoadPrediction.h"

class CmdPath;

namespace ctl
{

class Store;

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

/** Who a process belongs to. */
struct ProcessOwner
{
    std::string name;
    std::string shell; ///< /bin/sh for a user who has none
};

/** What the checks ask of the host. */
struct PreflightHost
{
    std::string root; ///< stands before /proc, /sys and the folders of the product; empty for this host
    bool isSuperuser = false;
    std::function<std::optional<ProcessOwner>(unsigned user)> findOwner;
    std::function<std::optional<std::uint64_t>(const std::string& folder)> getFreeBytes;
    std::shared_ptr<const CmdPath> tools; ///< where the daemon finds its tools
    std::string debugger;                 ///< what the script gcore runs
};

/** This host. */
PreflightHost GetPreflightHost();

/** What the checks go by. */
struct PreflightBase
{
    const PreflightHost& host;
    const LoadPrediction& prediction;
    const WatchedNames& names;
    const LiveMatches& live;
    int daemon = 0;           ///< process id of the service, 0 if it doesn't run
    std::string evidencePath; ///< where the evidence goes, as the store or --evidence names it
    bool isStoreRead = true;  ///< else names and settings are unknown
};

/** Whether the service starts with the store, as far as it can be read. */
void CheckStore(const Store& store, const LoadPrediction& prediction, PreflightRows& rows);

/** The lines that list processes and read their use, run with the daemon's tools, and judged. */
void CheckListing(const PreflightBase& base, PreflightRows& rows);

/** The tools that the daemon calls: there, executable, and at work on something harmless. */
void CheckTools(const PreflightBase& base, PreflightRows& rows);

/** Who may look into a process: superuser, ptrace_scope, SELinux, tracers, the owner of a Java program. */
void CheckRights(const PreflightBase& base, PreflightRows& rows);

/** Space for the largest core and heap dump, with the expected standstill; folders, mounts and the clock. */
void CheckPlaces(const PreflightBase& base, PreflightRows& rows);

} // namespace ctl
