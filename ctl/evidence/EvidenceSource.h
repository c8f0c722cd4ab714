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

/** The settings of a store. */
struct StoredSettings
{
    SettingReader read;  ///< null if the store can't be read
    std::string failure; ///< "STORE can't be read: why"; empty on success
};

/** Opens the store that --store names, else that of this host. */
StoredSettings OpenSettings(const Common& common);

/**
 * What the settings make the daemon capture, with bad values and the plan of readings as the daemon takes
 * them.
 */
CapturePlan MakeCapturePlan(const SettingReader& read);

/** The evidence that a command line is about, and the settings that decide about it. */
struct EvidenceSource
{
    EvidenceTree tree; ///< with the sums of its sets; a SetLoader has their files
    CapturePlan plan;
    std::string settingsFailure; ///< why the settings are unknown, so that the defaults stand for them; empty
                                 ///< on success
};

/**
 * What a reader must know of results that rest on defaults, without a full stop; empty if the settings are
 * known.
 */
std::string DescribeUnknownSettings(const EvidenceSource& source);

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

/**
 * The same for several names, each set once; all sets for no name. Raises std::runtime_error for a name that
 * fits nothing.
 */
std::vector<std::size_t> SelectSets(const EvidenceTree& tree, const std::vector<std::string>& names);

/** The one set that a name stands for; raises std::runtime_error if there is none or more than one. */
std::size_t SelectOneSet(const EvidenceTree& tree, const std::string& name);

} // namespace ctl
