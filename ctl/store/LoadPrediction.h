#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "store/MonitorList.h"
#include "store/StoreFinding.h"

namespace ctl
{

class Store;

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

/** What the load asks the file system. */
struct FolderProbe
{
    std::function<bool(const std::string& path)> exists;    ///< as the daemon would find it
    std::function<bool(const std::string& path)> canCreate; ///< whether it could make that folder
    /** Whether this user, other than the service's, may not look there; nobody is asked if there is none. */
    std::function<bool(const std::string& path)> isHidden = nullptr;
};

/** The probe of this host. It makes nothing. */
FolderProbe GetHostProbe();

/**
 * Predicts a load: the keys in the daemon's order with its filters, ranges and defaults. `probe` answers for
 * the evidence folder.
 */
LoadPrediction PredictLoad(const Store& store, const FolderProbe& probe);

/**
 * Adds what the load itself never notices: unknown keys with the nearest known one, keys in the wrong case,
 * keys that come twice, lines that are skipped. One note if the store can't list its keys.
 */
void CheckEntries(const Store& store, StoreFindings& findings);

} // namespace ctl
