#pragma once

#include "evidence/CapturePlan.h"
#include "evidence/EvidenceTree.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

struct Common;

/** Returns the text of a key of the store; nothing if the key isn't there. */
using SettingReader = std::function<std::optional<std::string>(const std::string& key)>;

/** Opens the store that --store names, else that of this host; null if it can't be read. */
SettingReader OpenSettings(const Common& common);

/** What the settings make the daemon capture, with bad values and the plan of readings as the daemon takes
 * them. */
CapturePlan MakeCapturePlan(const SettingReader& read);

/** The evidence that a command line is about, and the settings that decide about it. */
struct EvidenceSource
{
    EvidenceTree tree;
    CapturePlan plan;
    std::string storeFailure; ///< why the settings are those of an empty store; empty on success
};

/**
 * Finds the evidence: below --evidence, else below THHS_EVIDENCE_PATH of the store. The settings come from
 * --store, else from the store of this host. Raises std::runtime_error with the reason if there is no
 * evidence folder that can be read.
 */
EvidenceSource OpenEvidence(const Common& common);

/**
 * Finds the sets that a name stands for: an id as `list` shows it, the beginning of one up to a slash
 * ("tbrd", "tbrd/4321", "tbrd/4321/Evidence1"), or the path of an evidence folder or file.
 *
 * Returns places in tree.sets, by time; none if nothing fits.
 */
std::vector<std::size_t> SelectSets(const EvidenceTree& tree, const std::string& name);

/** The same for several names, each set once; all sets for no name. Raises std::runtime_error for a name that
 * fits nothing. */
std::vector<std::size_t> SelectSets(const EvidenceTree& tree, const std::vector<std::string>& names);

/** The one set that a name stands for; raises std::runtime_error if there is none or more than one. */
std::size_t SelectOneSet(const EvidenceTree& tree, const std::string& name);

} // namespace ctl
