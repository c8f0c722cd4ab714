#pragma once

#include <functional>
#include <string>

#include "store/LoadPrediction.h"

namespace ctl
{

class Store;

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
