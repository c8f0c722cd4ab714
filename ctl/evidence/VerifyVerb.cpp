#include "evidence/EvidenceVerbs.h"

#include "base/Common.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "base/Progress.h"
#include "base/TimeText.h"
#include "evidence/SetDocument.h"
#include "evidence/SetLoader.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace ctl
{
namespace
{
constexpr VerbText VERIFY = {"verify", "Reads evidence sets to the end and says whether they are complete",
                             "thsentinelctl verify --since 1d\n"
                             "thsentinelctl verify tbrd/4321/Evidence1 --json"};

struct VerifyOptions
{
    std::string since;
    std::vector<std::string> names;
};

/** How many sets are in each state. */
struct Summary
{
    std::size_t complete = 0;
    std::size_t incomplete = 0;
    std::size_t inProgress = 0;
    std::size_t unknown = 0;
    bool hasWarning = false;

    void Count(const SetReport& report)
    {
        hasWarning = hasWarning || report.hasWarning;
        complete += report.state == SetState::Complete ? 1 : 0;
        incomplete += report.state == SetState::Incomplete ? 1 : 0;
        inProgress += report.state == SetState::InProgress ? 1 : 0;
        unknown += report.state == SetState::Unknown ? 1 : 0;
    }

    int GetStatus(bool isAllSeen) const
    {
        if (incomplete != 0) {
            return EXIT_ERRORS;
        }
        if (unknown != 0 || !isAllSeen) {
            return EXIT_CANT_TELL;
        }
        return inProgress != 0 || hasWarning ? EXIT_WARNINGS : EXIT_GOOD;
    }
};

std::time_t ReadSince(const std::string& text)
{
    if (text.empty()) {
        return std::numeric_limits<std::time_t>::min();
    }
    const auto since = ParseTime(text, std::time(nullptr));
    if (!since) {
        throw CLI::ValidationError("--since", "no time: " + EscapeControls(text));
    }
    return *since;
}

void PrintSet(const CheckedSet& checked)
{
    const SetState state = checked.report.state;
    std::cout << Paint(GetStateName(state), GetStateColour(state)) << "  "
              << EscapeControls(checked.set.GetId()) << '\n';
    for (const std::string& problem : checked.report.problems) {
        std::cout << "  " << EscapeControls(problem) << '\n';
    }
    for (const std::string& note : checked.report.notes) {
        std::cout << "  note: " << EscapeControls(note) << '\n';
    }
}

void PrintSummary(const Summary& summary, std::size_t sets)
{
    std::cout << CountNoun(sets, "set") << ": " << summary.complete << " complete, " << summary.incomplete
              << " incomplete, " << summary.inProgress << " in progress, " << summary.unknown << " unknown\n";
}

/** Checks sets one after the other, with progress; each is given away as soon as it was checked. */
Summary CheckAll(const EvidenceSource& source, const std::vector<std::size_t>& places,
                 const std::function<void(const CheckedSet&)>& take)
{
    std::uint64_t total = 0;
    for (const std::size_t place : places) {
        const FileSums& sums = source.tree.sets.GetRecord(place).sums;
        total += std::min(sums.bytes, sums.diskBytes);
    }
    Progress progress("verifying", total);
    progress.CountBytes();
    CheckRules rules;
    rules.plan = source.plan;
    rules.depth = Depth::Whole;
    rules.progress = [&progress](std::uint64_t bytes) { progress.Advance(bytes); };
    Activity activity;
    Summary summary;
    SetLoader loader(source.tree);
    for (const std::size_t place : places) {
        CheckedSet checked = {loader.Load(place), {}};
        progress.SetDetail(checked.set.GetId());
        checked.report = CheckSet(source.tree, checked.set, rules, activity);
        summary.Count(checked.report);
        take(checked);
    }
    return summary;
}

Json SummaryToJson(const Summary& summary)
{
    Json json;
    json["complete"] = summary.complete;
    json["incomplete"] = summary.incomplete;
    json["in-progress"] = summary.inProgress;
    json["unknown"] = summary.unknown;
    return json;
}

int Verify(const Common& common, const VerifyOptions& options)
{
    const std::time_t since = ReadSince(options.since);
    const EvidenceSource source = OpenEvidence(common);
    std::vector<std::size_t> places = SelectSets(source.tree, options.names);
    places.erase(
        std::remove_if(places.begin(), places.end(),
                       [&](std::size_t place) { return source.tree.sets.GetRecord(place).time < since; }),
        places.end());
    if (!common.json) {
        const Summary summary = CheckAll(source, places, PrintSet);
        PrintSummary(summary, places.size());
        PrintRemarks(source);
        return summary.GetStatus(source.tree.unseen.empty());
    }
    DocumentStream document(std::cout, BeginDocument("verify"));
    document.Add("root", ToJson(source.tree.root));
    document.BeginArray("sets");
    const Summary summary = CheckAll(source, places, [&](const CheckedSet& checked) {
        document.AddItem(SetToJson(source.tree, checked, true));
    });
    document.EndArray();
    document.Add("summary", SummaryToJson(summary));
    AddRemarks(document, source);
    return summary.GetStatus(source.tree.unseen.empty());
}
} // namespace

void AddVerifyVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, VERIFY);
    const auto options = std::make_shared<VerifyOptions>();
    verb.add_option("--since", options->since, "Only sets from this time on: 2026-11-21, 10:30, 2h, 30d")
        ->type_name("TIME");
    verb.add_option("SET", options->names, "Ids, beginnings of ids or paths; all sets without one");
    SetAction(verb, common, [&common, options] { return Verify(common, *options); });
}

} // namespace ctl
