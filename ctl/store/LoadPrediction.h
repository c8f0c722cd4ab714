#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "store/MonitorList.h"
#include "store/StoreFinding.h"

namespace ctl
{

/** The settings that would be in force after a load in a fresh daemon. */
struct Settings
{
    std::string memoryUnit = "ABSOLUTE"; ///< as typed
    std::map<std::string, int> cpu;      ///< name to limit, percent of the whole host
    std::map<std::string, int> memory;   ///< name to limit, MB or percent
    std::map<std::string, int> deadlock;
    std::map<std::string, int, std::less<>> numbers; ///< key to value, of every integer key
    std::string jdkHome;
    std::string evidencePath; ///< as in the store; empty if missing

    /** The value of an integer key. */
    int Get(std::string_view key) const { return numbers.find(key)->second; }
    /** True if memory is measured in MB, false for percent. */
    bool IsMemoryAbsolute() const;
};

/** What the first load of a fresh daemon would make of a store. */
struct LoadPrediction
{
    int result = 0;    ///< 0, or the code with which the load fails; the daemon then doesn't start
    Settings settings; ///< complete with result 0 only; the keys after the failing one are read too
    std::vector<std::string> log; ///< the lines of the daily log, without stamps, up to the failure
    StoreFindings findings;       ///< every key's, also those after the failing one
};

} // namespace ctl
