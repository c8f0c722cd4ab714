#include "evidence/EvidenceVerbs.h"

#include "base/ByteSize.h"
#include "base/Common.h"
#include "base/ExitStatus.h"
#include "base/Progress.h"
#include "base/Table.h"
#include "base/TimeText.h"
#include "evidence/SetDocument.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace ctl
{
namespace
{
constexpr VerbText LIST = {"list",
                           "Lists the evidence sets, as far as names, sizes, heads and ends show them",
                           "thsentinelctl list\nthsentinelctl list --evidence /tmp/copy tbrd/4321"};

/** Texts of the newest sets are read whole, up to so many bytes in all; what is older waits for verify. */
constexpr std::uint64_t MOST_TEXT = std::uint64_t{256} * 1024 * 1024;

/** The place from which on the texts of the sets are read whole. */
std::size_t FindFirstWhole(const EvidenceTree& tree, const std::vector<std::size_t>& places)
{
    std::uint64_t bytes = 0;
    std::size_t first = places.size();
    while (first > 0 && (bytes += tree.sets[places[first - 1]].GetTextBytes()) <= MOST_TEXT) {
        --first;
    }
    return first;
}

std::vector<CheckedSet> CheckSets(const EvidenceSource& source, const std::vector<std::size_t>& places)
{
    Progress progress("looking at sets:", places.size());
    CheckRules rules;
    rules.plan = source.plan;
    Activity activity;
    std::vector<CheckedSet> checked;
    const std::size_t firstWhole = FindFirstWhole(source.tree, places);
    for (const std::size_t place : places) {
        const EvidenceSet& set = source.tree.sets[place];
        progress.SetDetail(set.GetId());
        rules.depth = checked.size() < firstWhole ? Depth::Ends : Depth::Texts;
        checked.push_back({&set, CheckSet(source.tree, set, rules, activity)});
        progress.Advance(1);
    }
    return checked;
}

void PrintSets(const std::vector<CheckedSet>& sets)
{
    if (sets.empty()) {
        std::cout << "No evidence.\n";
        return;
    }
    Table table({{"TIME"},
                 {"PROCESS"},
                 {"PID", Table::Side::Right},
                 {"RESOURCE"},
                 {"STATE"},
                 {"FILES", Table::Side::Right},
                 {"SIZE", Table::Side::Right},
                 {"SET"}});
    for (const CheckedSet& checked : sets) {
        const EvidenceSet& set = *checked.set;
        const SetState state = checked.report.state;
        table.Add({{FormatLocalTime(set.time)},
                   {set.process},
                   {std::to_string(set.pid)},
                   {set.resource},
                   {GetStateName(state) + std::string(set.isPinned ? ", pinned" : ""), GetStateColour(state)},
                   {std::to_string(set.files.size())},
                   {FormatByteSize(set.GetBytes())},
                   {set.GetId()}});
    }
    table.Print(std::cout);
    if (std::any_of(sets.begin(), sets.end(),
                    [](const CheckedSet& checked) { return checked.report.isReadInPart; })) {
        std::cout << "Long texts of older sets were read at their ends only; thsentinelctl verify reads them "
                     "all.\n";
    }
}

int List(const Common& common, const std::vector<std::string>& names)
{
    const EvidenceSource source = OpenEvidence(common);
    const std::vector<CheckedSet> sets = CheckSets(source, SelectSets(source.tree, names));
    if (common.json) {
        Json document = BeginDocument("list");
        document["root"] = ToJson(source.tree.root);
        document["sets"] = Json::array();
        for (const CheckedSet& checked : sets) {
            document["sets"].push_back(SetToJson(source.tree, checked, false));
        }
        AddRemarks(document, source);
        PrintDocument(document);
    } else {
        PrintSets(sets);
        PrintRemarks(source);
    }
    return source.tree.unseen.empty() ? EXIT_GOOD : EXIT_WARNINGS;
}
} // namespace

void AddListVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, LIST);
    const auto names = std::make_shared<std::vector<std::string>>();
    verb.add_option("SET", *names, "Ids, beginnings of ids or paths; all sets without one");
    SetAction(verb, common, [&common, names] { return List(common, *names); });
}

} // namespace ctl
