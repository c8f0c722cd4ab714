#include "evidence/EvidenceVerbs.h"

#include "base/Common.h"
#include "base/DocumentStream.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "evidence/EvidenceSource.h"
#include "evidence/SetChange.h"
#include "evidence/SetLoader.h"

#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

namespace ctl
{
namespace
{
constexpr VerbText PIN = {
    "pin", "Keeps evidence sets from being pruned",
    "thsentinelctl pin tbrd/4321/Evidence1\nthsentinelctl pin --remove tbrd/4321/Evidence1"};

struct PinOptions
{
    std::vector<std::string> names;
    bool removes = false;
};

/** Pins a set or lets it go, and says so. Returns true if it was done. */
bool PinOne(const EvidenceTree& tree, const EvidenceSet& set, bool removes, DocumentStream* document)
{
    const SetChange change = PinSet(tree, set, !removes);
    const bool isDone = change.failure.empty();
    if (!isDone) {
        std::cerr << "thsentinelctl: " << EscapeControls(set.GetId()) << ": "
                  << EscapeControls(change.failure) << '\n';
    } else if (document == nullptr) {
        std::cout << (removes ? "no longer pinned: " : "pinned: ") << EscapeControls(set.GetId()) << '\n';
    }
    if (document != nullptr) {
        document->AddItem({{"id", ToJson(set.GetId())}, {"pinned", isDone != removes}});
    }
    return isDone;
}

int Pin(const Common& common, const PinOptions& options)
{
    const EvidenceSource source = OpenEvidence(common);
    if (const std::string refusal = DescribeRefusal(source.tree, common.evidence); !refusal.empty()) {
        std::cerr << "thsentinelctl: " << EscapeControls(refusal) << '\n';
        return EXIT_ERRORS;
    }
    const std::vector<std::size_t> places = SelectSets(source.tree, options.names);
    std::optional<DocumentStream> document;
    if (common.json) {
        document.emplace(std::cout, BeginDocument("pin"));
        document->BeginArray("sets");
    }
    SetLoader loader(source.tree);
    bool isAllDone = true;
    for (const std::size_t place : places) {
        const EvidenceSet set = loader.Load(place);
        isAllDone = PinOne(source.tree, set, options.removes, document ? &*document : nullptr) && isAllDone;
    }
    if (document) {
        document->EndArray();
    }
    return isAllDone ? EXIT_GOOD : EXIT_ERRORS;
}
} // namespace

void AddPinVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, PIN);
    const auto options = std::make_shared<PinOptions>();
    verb.add_option("SET", options->names, "Ids, beginnings of ids or paths")->required();
    verb.add_flag("--remove", options->removes, "Let them go again");
    SetAction(verb, common, [&common, options] { return Pin(common, *options); });
}

} // namespace ctl
