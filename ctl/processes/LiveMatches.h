#pragma once

#include <optional>
#include <string>
#include <vector>

#include "processes/Machine.h"
#include "processes/Readings.h"
#include "processes/WatchedNames.h"
#include "store/LoadPrediction.h"

namespace ctl
{

class Store;

/** A process that has a counter, or would get one, with its present reading. */
struct LiveCounter
{
    std::string process; ///< the configured name
    Resource resource = Resource::Cpu;
    int limit = 0;
    std::string unit; ///< "Percent" or "MB"
    int pid = 0;
    double reading = 0;
    ProcessDetails details;
};

/** A name of a list that has no counter now: it stands for no process, or all of them are watched already. */
struct UnmatchedName
{
    std::string process;
    Resource resource = Resource::Cpu;
    NameMatch match;  ///< holds the wrapper of a Java name
    int takenPid = 0; ///< a process that it stands for and that is watched by another name; 0 for none
    std::string takenBy = {}; ///< that name
};

/** What the lists of a store stand for on this host now. */
struct LiveMatches
{
    std::vector<LiveCounter> counters; ///< CPU first, then memory, each in the order of the names
    std::vector<UnmatchedName> unmatched;
    Machine machine;
};

/** Looks the names of the settings up in the process table, as a pass does. `folder` is /proc. */
LiveMatches FindLive(const Settings& settings, const WatchedNames& names, const Machine& machine,
                     const std::string& folder = "/proc");

/** The names that have no counter in one of the lists, each once. */
std::vector<std::string> GetUnmatchedNames(const LiveMatches& live);

/** All names of the three lists. */
std::vector<std::string> GetListedNames(const Settings& settings);

/**
 * Adds what the process table says about names and limits: names that match nothing or never can, wrappers of
 * Java programs, limits that can't be reached here.
 */
void CheckLive(const Store& store, const Settings& settings, const WatchedNames& names,
               const LiveMatches& live, StoreFindings& findings);

/** Adds what the lists alone show: names that can never match, limits that are reached nowhere. */
void CheckListTexts(const Store& store, const Settings& settings, StoreFindings& findings);

} // namespace ctl
