#include "base/Common.h"

#include <utility>

#include <CLI/CLI.hpp>

namespace ctl
{

void AddCommonOptions(CLI::App& program, Common& common)
{
    program.add_option("--store", common.store, "The configuration store, instead of this host's")
        ->type_name("FILE");
    program.add_option("--evidence", common.evidence, "The evidence folder, instead of this host's")
        ->type_name("DIR");
    program.add_option("--log", common.log, "The folder of the daily logs, instead of this host's")
        ->type_name("DIR");
    program.add_flag("--json", common.json, "One JSON document instead of text");
}

CLI::App& AddVerb(CLI::App& program, const VerbText& text)
{
    CLI::App* const verb = program.add_subcommand(text.name, text.summary);
    std::string example = text.example;
    for (std::size_t end = 0; (end = example.find('\n', end)) != std::string::npos; end += 3) {
        example.insert(end + 1, "  ");
    }
    verb->footer(
        std::string("Besides: --json, --store FILE, --evidence DIR, --log DIR; see thsentinelctl --help.\n") +
        (example.find('\n') == std::string::npos ? "Example:\n  " : "Examples:\n  ") + example);
    verb->group("Verbs");
    verb->fallthrough();
    return *verb;
}

void SetAction(CLI::App& verb, Common& common, std::function<int()> action)
{
    verb.callback([&common, action = std::move(action)] { common.status = action(); });
}

} // namespace ctl
