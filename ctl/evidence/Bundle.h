#pragma once

#include "evidence/EvidenceTree.h"
#include "evidence/Redaction.h"
#include "evidence/SetCheck.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ctl
{

/** Name of the manifest in a bundle; it comes last. */
constexpr char MANIFEST_NAME[] = "MANIFEST.json";
/** Its kind, as the document says it. */
constexpr char MANIFEST_KIND[] = "manifest";

/** What goes into a bundle. */
struct BundleRules
{
    bool withCores = false;
    std::optional<Redaction> redaction; ///< nothing hides nothing
    std::string settingsFailure;        ///< why the settings are unknown; empty if they are known
    std::function<void(std::uint64_t bytes)> progress;
};

/** A file of a bundle, as its manifest has it. */
struct BundledFile
{
    std::string path; ///< below the bundle's folder "thsentinel"
    std::uint64_t bytes = 0;
    std::string sha256;
    std::size_t hidden = 0; ///< values that were hidden
    std::string leftOutWhy; ///< why it isn't in the bundle; empty for a file that is
};

/**
 * Writes a tar, compressed by zstd, with the files of a set and the manifest to an open file. Text has its
 * values hidden as the rules say. A file that grows meanwhile is taken as long as it was.
 *
 * Returns the files. Raises std::runtime_error if the bundle can't be written or a file became shorter.
 */
std::vector<BundledFile> WriteBundle(int output, const EvidenceTree& tree, const EvidenceSet& set,
                                     const SetReport& report, const BundleRules& rules);

/** What a check of a bundle found. */
struct BundleReport
{
    std::vector<std::string> problems; ///< "FILE: what doesn't agree"
    std::size_t files = 0;
    std::uint64_t bytes = 0;
};

/**
 * Reads an open bundle to its end and compares each file with the manifest. Nothing is unpacked. A file that
 * would be unpacked outside its folder, and what comes after the end of the tar, are problems as well.
 * Raises std::runtime_error for what is no bundle.
 */
BundleReport CheckBundle(int input, const std::function<void(std::uint64_t bytes)>& progress);

} // namespace ctl
