#include "evidence/EvidenceVerbs.h"

#include "base/ByteSize.h"
#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "base/Progress.h"
#include "evidence/Bundle.h"
#include "evidence/EvidenceSource.h"
#include "evidence/PrivateFile.h"
#include "evidence/SetDocument.h"
#include "evidence/SetLoader.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <unistd.h>

namespace ctl
{
namespace
{
constexpr VerbText BUNDLE = {
    "bundle", "Packs an evidence set for somebody else, or checks such a bundle",
    "thsentinelctl bundle tbrd/4321/Evidence1/cpu-20261121T235230 -o evidence.tar.zst\n"
    "thsentinelctl bundle --check evidence.tar.zst"};
constexpr char STANDARD_OUTPUT[] = "-";
constexpr std::size_t LONGEST_LIST = std::size_t{1024} * 1024;

struct BundleOptions
{
    std::string set;
    std::string output;
    std::string check;
    std::string list;
    bool withCores = false;
    bool hidesNothing = false;
    bool replaces = false;
};

Redaction ReadRedaction(const std::string& path)
{
    Redaction redaction;
    if (path.empty()) {
        return redaction;
    }
    const FileText list = ReadFile(AT_FDCWD, path, LONGEST_LIST);
    if (!list.IsRead() || list.isCut) {
        throw std::runtime_error(path + ": " + (list.isCut ? "is too long" : list.failure));
    }
    std::istringstream lines(list.text);
    for (std::string line; std::getline(lines, line);) {
        redaction.AddLine(line);
    }
    return redaction;
}

void PrintBundle(const std::string& path, const std::vector<BundledFile>& files, const SetReport& report)
{
    std::size_t hidden = 0;
    std::size_t count = 0;
    for (const BundledFile& file : files) {
        hidden += file.hidden;
        count += file.leftOutWhy.empty() ? 1 : 0;
        if (!file.leftOutWhy.empty()) {
            std::cout << "left out: " << EscapeControls(file.path) << " (" << FormatByteSize(file.bytes)
                      << "): " << EscapeControls(file.leftOutWhy) << '\n';
        }
    }
    std::cout << EscapeControls(path) << ": " << CountNoun(count, "file") << ", "
              << CountNoun(hidden, "value") << " hidden, set " << GetStateName(report.state) << '\n';
}

Json DescribeBundle(const std::string& path, const std::vector<BundledFile>& files, const SetReport& report,
                    const EvidenceSource& source)
{
    Json document = BeginDocument("bundle");
    document["bundle"] = ToJson(path);
    document["state"] = GetStateName(report.state);
    document["settingsFailure"] = SettingsFailureToJson(source);
    document["files"] = Json::array();
    document["leftOut"] = Json::array();
    for (const BundledFile& file : files) {
        Json json = {{"path", ToJson(file.path)}, {"bytes", file.bytes}};
        if (file.leftOutWhy.empty()) {
            json["sha256"] = file.sha256;
            json["hidden"] = file.hidden;
        } else {
            json["reason"] = ToJson(file.leftOutWhy);
        }
        document[file.leftOutWhy.empty() ? "files" : "leftOut"].push_back(std::move(json));
    }
    return document;
}

/**
 * The bytes that are gone through: texts for the check, for their size with values hidden, and to be packed.
 */
std::uint64_t CountWork(const EvidenceSet& set, const BundleOptions& options)
{
    const std::uint64_t turns = options.hidesNothing ? 2 : 3;
    return set.sums.textBytes * turns + (options.withCores ? set.sums.bytes - set.sums.textBytes : 0);
}

/** Writes the bundle to where the options say. */
std::vector<BundledFile> Write(const BundleOptions& options, const EvidenceTree& tree, const EvidenceSet& set,
                               const SetReport& report, const BundleRules& rules)
{
    if (options.output == STANDARD_OUTPUT) {
        return WriteBundle(STDOUT_FILENO, tree, set, report, rules);
    }
    PrivateFile output(options.output, options.replaces);
    std::vector<BundledFile> files = WriteBundle(output.Get(), tree, set, report, rules);
    output.Commit();
    return files;
}

int Bundle(const Common& common, const BundleOptions& options)
{
    const EvidenceSource source = OpenEvidence(common);
    const EvidenceSet set = LoadSet(source.tree, SelectOneSet(source.tree, options.set));
    CheckRules checkRules;
    checkRules.plan = source.plan;
    checkRules.depth = Depth::Texts;
    Progress progress("bundling", CountWork(set, options));
    progress.CountBytes();
    checkRules.progress = [&progress](std::uint64_t bytes) { progress.Advance(bytes); };
    Activity activity;
    const SetReport report = CheckSet(source.tree, set, checkRules, activity);
    BundleRules rules;
    rules.withCores = options.withCores;
    rules.settingsFailure = source.settingsFailure;
    rules.progress = checkRules.progress;
    if (!options.hidesNothing) {
        rules.redaction = ReadRedaction(options.list);
    }
    const std::vector<BundledFile> files = Write(options, source.tree, set, report, rules);
    if (options.output == STANDARD_OUTPUT) {
        PrintUnknownSettings(source); // to standard error
    } else if (common.json) {
        PrintDocument(DescribeBundle(options.output, files, report, source));
    } else {
        PrintBundle(options.output, files, report);
        PrintUnknownSettings(source);
    }
    return report.state == SetState::Complete ? EXIT_GOOD : EXIT_WARNINGS;
}

BundleReport ReadBundle(int file, const std::string& path, Progress& progress)
{
    try {
        return CheckBundle(file, [&progress](std::uint64_t bytes) { progress.Advance(bytes); });
    } catch (const std::runtime_error& failure) {
        throw std::runtime_error(path + ": " + failure.what());
    }
}

int Check(const Common& common, const std::string& path)
{
    const OpenedFile bundle = OpenRegularFile(AT_FDCWD, path);
    if (!bundle.IsOpen()) {
        throw std::runtime_error(path + ": " + bundle.failure);
    }
    Progress progress("checking", 0);
    progress.CountBytes();
    const BundleReport report = ReadBundle(bundle.file.Get(), path, progress);
    if (common.json) {
        Json document = BeginDocument("bundle-check");
        document["bundle"] = ToJson(path);
        document["files"] = report.files;
        document["bytes"] = report.bytes;
        document["problems"] = Json::array();
        for (const std::string& problem : report.problems) {
            document["problems"].push_back(ToJson(problem));
        }
        PrintDocument(document);
    } else {
        for (const std::string& problem : report.problems) {
            std::cout << EscapeControls(problem) << '\n';
        }
        std::cout << EscapeControls(path) << ": " << (report.problems.empty() ? "good" : "damaged") << ", "
                  << CountNoun(report.files, "file") << ", " << FormatByteSize(report.bytes) << '\n';
    }
    return report.problems.empty() ? EXIT_GOOD : EXIT_ERRORS;
}
} // namespace

void AddBundleVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, BUNDLE);
    const auto options = std::make_shared<BundleOptions>();
    CLI::Option* const check =
        verb.add_option("--check", options->check, "Compare a bundle with its manifest")->type_name("FILE");
    CLI::Option* const output = verb.add_option("-o,--output", options->output,
                                                "The bundle, a tar compressed by zstd; - for standard output")
                                    ->type_name("FILE");
    CLI::Option* const set = verb.add_option("SET", options->set, "The id of a set, or its path");
    verb.add_flag("--with-cores", options->withCores, "Bundle core images and heap dumps too");
    verb.add_option("--redact", options->list,
                    "More to hide: a word of a name a line, or \"text:\" and a text; # begins a remark")
        ->type_name("FILE");
    verb.add_flag("--no-redact", options->hidesNothing, "Hide no values of environments and command lines");
    verb.add_flag("--force", options->replaces, "Replace the file if there is one");
    check->excludes(output)->excludes(set);
    SetAction(verb, common, [&common, options] {
        if (!options->check.empty()) {
            return Check(common, options->check);
        }
        if (options->set.empty() || options->output.empty()) {
            throw CLI::ValidationError("bundle", "needs SET and -o FILE, or --check FILE");
        }
        if (options->output == STANDARD_OUTPUT && isatty(STDOUT_FILENO) != 0) {
            throw CLI::ValidationError("--output", "a bundle is not written to a terminal");
        }
        return Bundle(common, *options);
    });
}

} // namespace ctl
