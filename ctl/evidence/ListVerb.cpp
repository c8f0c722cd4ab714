#include "evidence/EvidenceVerbs.h"

#include "base/ByteSize.h"
#include "base/Common.h"
#include "base/ExitStatus.h"
#include "base/Progress.h"
#include "base/Table.h"
#include "base/TimeText.h"
#include "evidence/SetDocument.h"
#include "evidence/SetLoader.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace ctl
{
namespace
{
constexpr VerbText LIST = {"list", "Lists the evidence sets with their states; verify reads all of them",
                           "thsentinelctl list\nthsentinelctl list --evidence /tmp/copy tbrd/4321"};

/** Texts of the newest sets are read whole, up to so many bytes in all; what is older waits for verify. */
constexpr std::uint64_t MOST_TEXT = std::uint64_t{256} * 1024 * 1024;

/** The place from which on the texts of the sets are read whole. */
std::size_t FindFirstWhole(const EvidenceTree& tree, const std::vector<std::size_t>& places)
{
    std::uint64_t bytes = 0;
    std::size_t first = places.size();
    while (first > 0 && (bytes += tree.sets.GetRecord(places[first - 1]).sums.textBytes) <= MOST_TEXT) {
        --first;
    }
    return first;
}

/** Checks sets one after the other, with progress; each is given away as soon as it was checked. */
void CheckSets(const EvidenceSource& source, const std::vector<std::size_t>& places,
               const std::function<void(const CheckedSet&)>& take)
{
    Progress progress("looking at sets:", places.size());
    CheckRules rules;
    rules.plan = source.plan;
    Activity activity;
    SetLoader loader(source.tree);
    const std::size_t firstWhole = FindFirstWhole(source.tree, places);
    for (std::size_t index = 0; index < places.size(); ++index) {
        CheckedSet checked = {loader.Load(places[index]), {}};
        progress.SetDetail(checked.set.GetId());
        rules.depth = index < firstWhole ? Depth::Ends : Depth::Texts;
        checked.report = CheckSet(source.tree, checked.set, rules, activity);
        take(checked);
        progress.Advance(1);
    }
}

/** A row of what an id doesn't say, so that it fits a terminal of 80 columns: month, day and minute. */
std::vector<Cell> MakeRow(const EvidenceSet& set, SetState state)
{
    constexpr std::size_t YEAR = sizeof "2026-" - 1;
    constexpr std::size_t SECONDS = sizeof ":01" - 1;
    const std::string time = FormatLocalTime(set.time);
    return {{time.size() > YEAR + SECONDS ? time.substr(YEAR, time.size() - YEAR - SECONDS) : time},
            {GetStateName(state) + std::string(set.isPinned ? ", pinned" : ""), GetStateColour(state)},
            {FormatByteSize(set.GetBytes())},
            {set.GetId()}};
}

/**
 * Prints a row for each set. Of what was checked the states alone are kept: there may be many sets. Returns
 * true if one is incomplete.
 */
bool PrintSets(const EvidenceSource& source, const std::vector<std::size_t>& places)
{
    if (places.empty()) {
        std::cout << "No evidence.\n";
        return false;
    }
    std::vector<SetState> states;
    bool isReadInPart = false;
    CheckSets(source, places, [&](const CheckedSet& checked) {
        states.push_back(checked.report.state);
        isReadInPart = isReadInPart || checked.report.isReadInPart;
    });
    const std::vector<Table::Column> columns = {{"TIME"}, {"STATE"}, {"SIZE", Table::Side::Right}, {"SET"}};
    PrintTable(std::cout, columns, places.size(),
               [&](std::size_t row) { return MakeRow(source.tree.sets[places[row]], states[row]); });
    if (isReadInPart) {
        std::cout << "Long texts of older sets were read at their ends only; thsentinelctl verify reads them "
                     "all.\n";
    }
    return std::find(states.begin(), states.end(), SetState::Incomplete) != states.end();
}

/** The same as a document. */
bool PrintDocument(const EvidenceSource& source, const std::vector<std::size_t>& places)
{
    bool hasIncomplete = false;
    DocumentStream document(std::cout, BeginDocument("list"));
    document.Add("root", ToJson(source.tree.root));
    document.BeginArray("sets");
    CheckSets(source, places, [&](const CheckedSet& checked) {
        hasIncomplete = hasIncomplete || checked.report.state == SetState::Incomplete;
        document.AddItem(SetToJson(source.tree, checked, false));
    });
    document.EndArray();
    AddRemarks(document, source);
    return hasIncomplete;
}

int List(const Common& common, const std::vector<std::string>& names)
{
    const EvidenceSource source = OpenEvidence(common);
    const std::vector<std::size_t> places = SelectSets(source.tree, names);
    const bool hasIncomplete = common.json ? PrintDocument(source, places) : PrintSets(source, places);
    if (!common.json) {
        PrintRemarks(source);
    }
    return source.tree.unseen.empty() && !hasIncomplete ? EXIT_GOOD : EXIT_WARNINGS;
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
