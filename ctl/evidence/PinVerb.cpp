#include "evidence/EvidenceVerbs.h"

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "evidence/EvidenceSource.h"
#include "evidence/SetChange.h"

#include <iostream>
#include <memory>

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

int Pin(const Common& common, const PinOptions& options)
{
    const EvidenceSource source = OpenEvidence(common);
    Json document = BeginDocument("pin");
    document["sets"] = Json::array();
    int status = EXIT_GOOD;
    for (const std::size_t place : SelectSets(source.tree, options.names)) {
        const EvidenceSet& set = source.tree.sets[place];
        const SetChange change = PinSet(source.tree, set, !options.removes);
        const bool isDone = change.failure.empty();
        status = isDone ? status : EXIT_ERRORS;
        Json json;
        json["id"] = ToJson(set.GetId());
        json["pinned"] = isDone != options.removes;
        document["sets"].push_back(std::move(json));
        if (!isDone) {
            std::cerr << "thsentinelctl: " << EscapeControls(set.GetId()) << ": "
                      << EscapeControls(change.failure) << '\n';
        } else if (!common.json) {
            std::cout << (options.removes ? "no longer pinned: " : "pinned: ") << EscapeControls(set.GetId())
                      << '\n';
        }
    }
    if (common.json) {
        PrintDocument(document);
    }
    return status;
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
