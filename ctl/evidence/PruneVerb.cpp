#include "evidence/EvidenceVerbs.h"

#include "base/ByteSize.h"
#include "base/Common.h"
#include "base/DocumentStream.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/Plural.h"
#include "base/Progress.h"
#include "base/Table.h"
#include "base/TimeText.h"
#include "evidence/EvidenceSource.h"
#include "evidence/PrunePlan.h"
#include "evidence/SetChange.h"
#include "evidence/SetCheck.h"
#include "evidence/SetDocument.h"
#include "evidence/SetLoader.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

namespace ctl
{
namespace
{
constexpr VerbText PRUNE = {"prune", "Shows what old evidence could go and why, and deletes it if told to",
                            "thsentinelctl prune --older 30d --max-size 20G\n"
                            "thsentinelctl prune --older 30d --delete"};

struct PruneOptions
{
    std::string older;
    std::string maxSize;
    std::string keepNewest;
    bool withLive = false;
    bool deletes = false;
};

std::optional<std::size_t> ParseCount(const std::string& text)
{
    std::size_t count = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, count);
    return error == std::errc() && stop == end ? std::optional<std::size_t>(count) : std::nullopt;
}

PruneRules MakeRules(const PruneOptions& options)
{
    PruneRules rules;
    rules.withLive = options.withLive;
    if (!options.keepNewest.empty()) {
        rules.keepNewest = ParseCount(options.keepNewest);
        if (!rules.keepNewest) {
            throw CLI::ValidationError("--keep-newest",
                                       "no count of sets: " + EscapeControls(options.keepNewest));
        }
    }
    if (!options.older.empty()) {
        rules.older = ParseDuration(options.older);
        if (!rules.older) {
            throw CLI::ValidationError("--older", "no length of time: " + EscapeControls(options.older));
        }
    }
    if (!options.maxSize.empty()) {
        rules.maxSize = ParseByteSize(options.maxSize);
        if (!rules.maxSize) {
            throw CLI::ValidationError("--max-size", "no size: " + EscapeControls(options.maxSize));
        }
    }
    if (rules.IsEmpty()) {
        throw CLI::ValidationError("prune", "needs --older, --keep-newest or --max-size");
    }
    return rules;
}

std::vector<PruneSubject> MakeSubjects(const EvidenceSource& source, Activity& activity)
{
    CheckRules check;
    check.plan = source.plan;
    std::vector<PruneSubject> subjects;
    subjects.reserve(source.tree.sets.size());
    Progress progress("looking at sets:", source.tree.sets.size());
    SetLoader loader(source.tree);
    for (std::size_t place = 0; place < source.tree.sets.size(); ++place) {
        const EvidenceSet set = loader.Load(place);
        progress.SetDetail(set.GetId());
        PruneSubject subject;
        subject.process = source.tree.sets.GetProcess(place);
        subject.time = set.time;
        subject.diskBytes = set.GetDiskBytes();
        subject.isPinned = set.isPinned;
        subject.isInProgress = CheckSet(source.tree, set, check, activity).isUnderWay;
        subject.isLive = activity.IsAlive(set.pid);
        subject.isHalfDeleted = set.isHalfDeleted;
        subject.isEmpty = !set.HasFiles();
        subjects.push_back(subject);
        progress.Advance(1);
    }
    return subjects;
}

/** What came of each candidate, in their order. */
std::vector<SetChange> Delete(const EvidenceTree& tree, const PrunePlan& plan, const Activity& activity)
{
    Progress progress("deleting", plan.freedBytes);
    progress.CountBytes();
    std::vector<SetChange> changes;
    for (const PruneChoice& choice : plan.candidates) {
        progress.SetDetail(tree.sets[choice.place].GetId());
        changes.push_back(DeleteFoundSet(tree, choice.place, activity));
        progress.Advance(changes.back().freedBytes);
    }
    return changes;
}

Json ChoiceToJson(const EvidenceTree& tree, const PruneChoice& choice)
{
    const EvidenceSet set = tree.sets[choice.place];
    Json json;
    json["id"] = ToJson(set.GetId());
    json["process"] = ToJson(set.process);
    json["pid"] = set.pid;
    json["time"] = TimeToJson(set.time);
    json["path"] = ToJson(tree.GetPath(set));
    json["bytes"] = set.GetBytes();
    json["diskBytes"] = set.GetDiskBytes();
    json["reason"] = ToJson(choice.reason);
    return json;
}

/** A plan and what was done of it; `changes` is empty if nothing was to be deleted. */
void PrintJson(const EvidenceSource& source, const PrunePlan& plan, const std::vector<SetChange>& changes)
{
    const EvidenceTree& tree = source.tree;
    DocumentStream document(std::cout, BeginDocument("prune"));
    document.Add("root", ToJson(tree.root));
    document.Add("diskBytes", plan.diskBytes);
    document.Add("freedBytes", plan.freedBytes);
    AddRemarks(document, source);
    document.BeginArray("candidates");
    for (std::size_t index = 0; index < plan.candidates.size(); ++index) {
        Json json = ChoiceToJson(tree, plan.candidates[index]);
        json["deleted"] = index < changes.size() && changes[index].failure.empty();
        if (index < changes.size() && !changes[index].failure.empty()) {
            json["failure"] = ToJson(changes[index].failure);
        }
        document.AddItem(json);
    }
    document.EndArray();
    document.BeginArray("kept");
    for (const PruneChoice& choice : plan.kept) {
        document.AddItem(ChoiceToJson(tree, choice));
    }
    document.EndArray();
}

void PrintChoices(const EvidenceTree& tree, const std::vector<PruneChoice>& choices)
{
    const std::vector<Table::Column> columns = {{"SET"}, {"ON DISK", Table::Side::Right}, {"REASON"}};
    PrintTable(std::cout, columns, choices.size(), [&](std::size_t row) -> std::vector<Cell> {
        const EvidenceSet set = tree.sets[choices[row].place];
        return {{set.GetId()}, {FormatByteSize(set.GetDiskBytes())}, {std::string(choices[row].reason)}};
    });
}

/** How many sets a run deletes, or has deleted where there are `changes`. */
std::size_t CountSets(const PrunePlan& plan, const std::vector<SetChange>& changes)
{
    const auto failed = std::count_if(changes.begin(), changes.end(),
                                      [](const SetChange& change) { return !change.failure.empty(); });
    return plan.candidates.size() - static_cast<std::size_t>(failed);
}

void PrintText(const EvidenceTree& tree, const PrunePlan& plan, const std::vector<SetChange>& changes,
               bool deletes)
{
    if (!plan.candidates.empty()) {
        PrintChoices(tree, plan.candidates);
    }
    for (const PruneChoice& choice : plan.kept) {
        std::cout << "kept: " << EscapeControls(tree.sets[choice.place].GetId()) << ": "
                  << EscapeControls(choice.reason) << '\n';
    }
    if (plan.candidates.empty()) {
        std::cout << "Nothing to delete; all evidence takes " << FormatByteSize(plan.diskBytes) << ".\n";
        return;
    }
    const std::size_t count = CountSets(plan, changes);
    std::cout << CountNoun(count, "set") << ", " << FormatByteSize(plan.freedBytes) << " of "
              << FormatByteSize(plan.diskBytes)
              << (deletes ? " freed\n" : " would be freed; --delete does it\n");
}

/** Says what could not be deleted. Returns true if there was such a thing. */
bool PrintFailures(const EvidenceTree& tree, const PrunePlan& plan, const std::vector<SetChange>& changes)
{
    bool hasFailed = false;
    for (std::size_t index = 0; index < changes.size(); ++index) {
        if (!changes[index].failure.empty()) {
            hasFailed = true;
            std::cerr << "thsentinelctl: " << EscapeControls(tree.sets[plan.candidates[index].place].GetId())
                      << ": " << EscapeControls(changes[index].failure) << '\n';
        }
    }
    return hasFailed;
}

int Prune(const Common& common, const PruneOptions& options)
{
    const PruneRules rules = MakeRules(options);
    const EvidenceSource source = OpenEvidence(common);
    if (const std::string refusal = DescribeRefusal(source.tree, common.evidence);
        options.deletes && !refusal.empty()) {
        std::cerr << "thsentinelctl: " << EscapeControls(refusal) << '\n';
        return EXIT_ERRORS;
    }
    Activity activity;
    PrunePlan plan = PlanPrune(MakeSubjects(source, activity), rules, activity.GetNow());
    std::vector<SetChange> changes;
    if (options.deletes) {
        changes = Delete(source.tree, plan, activity);
        RemoveEmptyFolders(source.tree, activity);
        plan.freedBytes = 0;
        for (const SetChange& change : changes) {
            plan.freedBytes += change.freedBytes;
        }
    }
    if (common.json) {
        PrintJson(source, plan, changes);
    } else {
        PrintText(source.tree, plan, changes, options.deletes);
        PrintRemarks(source);
    }
    if (PrintFailures(source.tree, plan, changes)) {
        return EXIT_ERRORS;
    }
    if (plan.isAboveMaxSize) {
        std::cerr << "thsentinelctl: more than " << FormatByteSize(*rules.maxSize)
                  << " remains; the rest is kept for the reasons given\n";
    }
    return plan.isAboveMaxSize || !source.tree.unseen.empty() ? EXIT_WARNINGS : EXIT_GOOD;
}
} // namespace

void AddPruneVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, PRUNE);
    const auto options = std::make_shared<PruneOptions>();
    verb.add_option("--older", options->older, "Sets older than this: 30d, 12h")->type_name("TIME");
    verb.add_option("--keep-newest", options->keepNewest, "All but the newest N sets of each process")
        ->type_name("N");
    verb.add_option("--max-size", options->maxSize, "The oldest, until all take no more of the disk: 20G")
        ->type_name("SIZE");
    verb.add_flag("--live", options->withLive, "Also sets of process ids that exist now");
    verb.add_flag("--delete", options->deletes, "Delete what would only be shown otherwise");
    SetAction(verb, common, [&common, options] { return Prune(common, *options); });
}

} // namespace ctl
