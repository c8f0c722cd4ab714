#include "page/ReportVerb.h"

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/Progress.h"
#include "evidence/EvidenceSource.h"
#include "evidence/SetCheck.h"
#include "evidence/SetDocument.h"
#include "evidence/SetLoader.h"
#include "page/OutputFile.h"
#include "page/html/Findings.h"
#include "page/html/Page.h"
#include "page/html/Parts.h"
#include "page/read/LogReader.h"
#include "page/read/SetReader.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>

namespace ctl
{

namespace
{
constexpr VerbText REPORT = {
    "report", "Makes one page of an evidence set, for the browser or for paper",
    "thsentinelctl report --last -o report.html\n"
    "thsentinelctl report tbrd/4321/Evidence1/cpu-20261121T235230 -o report.html --log copies/logs"};

struct ReportOptions
{
    std::string mSet;
    bool mTakesLast = false;
    std::string mOutput;
};

std::size_t ChooseSet(const EvidenceTree& tree, const ReportOptions& options)
{
    if (!options.mTakesLast) {
        return SelectOneSet(tree, options.mSet);
    }
    for (std::size_t place = tree.sets.size(); place > 0; --place) { // they are sorted by time
        if (tree.sets.GetRecord(place - 1).sums.count != 0) {
            return place - 1;
        }
    }
    throw std::runtime_error("there is no evidence set with a file below " + tree.root);
}

void AddCheck(const EvidenceSource& source, const EvidenceSet& set, const ProgressTaker& progress,
              ReportData& data)
{
    CheckRules rules;
    rules.plan = source.plan;
    rules.depth = Depth::Texts;
    rules.progress = progress;
    Activity activity;
    SetReport report = CheckSet(source.tree, set, rules, activity);
    data.mState = GetStateName(report.state);
    data.mProblems = std::move(report.problems);
    data.mNotes.insert(data.mNotes.end(), report.notes.begin(), report.notes.end());
}

/** Everything that the page shows: the set, the logs around it, and the check of the set. */
ReportData ReadAll(const Common& common, const EvidenceSource& source, const EvidenceSet& set)
{
    Progress progress("reading", set.sums.textBytes * 2); // for the page, and for the check
    progress.CountBytes();
    progress.SetDetail(set.GetId());
    const auto advance = [&progress](std::uint64_t bytes) { progress.Advance(bytes); };
    ReportData data = ReadSet(source.tree, set, std::time(nullptr), advance);
    ReadLogs(common.log, data);
    if (!source.settingsFailure.empty()) {
        data.mNotes.push_back("The settings are unknown (" + source.settingsFailure +
                              "), so their defaults decide which files and samples belong to the set.");
    }
    AddCheck(source, set, advance, data);
    return data;
}

void PrintResult(const Common& common, const ReportOptions& options, const EvidenceSource& source,
                 const ReportData& data, std::size_t bytes)
{
    if (common.json) {
        Json document = BeginDocument("report");
        document["set"] = ToJson(data.mSetId);
        document["output"] = ToJson(options.mOutput);
        document["bytes"] = bytes;
        document["state"] = data.mState;
        document["settingsFailure"] = SettingsFailureToJson(source);
        document["findings"] = Json::array();
        for (const Finding& finding : FindWhatStandsOut(data)) {
            document["findings"].push_back(ToJson(finding.mText));
        }
        PrintDocument(document);
        return;
    }
    std::cout << EscapeControls(data.mProcess) << " (" << data.mPid << ") "
              << EscapeControls(DescribeBreach(data)) << ".\n";
    for (const Finding& finding : FindWhatStandsOut(data)) {
        std::cout << "  " << EscapeControls(finding.mText) << '\n';
    }
    std::cout << "Written: " << EscapeControls(options.mOutput) << '\n';
    PrintUnknownSettings(source);
}

int Report(const Common& common, const ReportOptions& options)
{
    const EvidenceSource source = OpenEvidence(common);
    const EvidenceSet set = LoadSet(source.tree, ChooseSet(source.tree, options));
    const ReportData data = ReadAll(common, source, set);
    const std::string page = WritePage(data);
    WriteOutputFile(options.mOutput, page);
    if (options.mOutput != "-") {
        PrintResult(common, options, source, data, page.size());
    }
    return data.mState == GetStateName(SetState::Complete) ? EXIT_GOOD : EXIT_WARNINGS;
}
} // namespace

void AddReportVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, REPORT);
    const auto options = std::make_shared<ReportOptions>();
    auto* const last = verb.add_flag("--last", options->mTakesLast, "The latest set");
    auto* const set =
        verb.add_option("SET", options->mSet, "Id of the set, the beginning of one, or its path");
    set->excludes(last);
    verb.add_option("-o,--output", options->mOutput, "The file to write; - for standard output")
        ->type_name("FILE")
        ->required();
    SetAction(verb, common, [&common, options] {
        if (options->mSet.empty() && !options->mTakesLast) {
            throw CLI::RequiredError("SET or --last");
        }
        return Report(common, *options);
    });
}

} // namespace ctl
