#include "Verbs.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "base/Common.h"
#include "base/ExitStatus.h"
#include "base/ListedFailure.h"
#include "base/PlainText.h"
#include "evidence/EvidenceVerbs.h"
#include "log/EventsVerb.h"
#include "page/ReportVerb.h"
#include "processes/ExplainVerb.h"
#include "processes/MetricsVerb.h"
#include "processes/PreflightVerb.h"
#include "processes/StatusVerb.h"
#include "store/CheckVerb.h"

namespace ctl
{

namespace
{

constexpr const char* ABOUT =
    "Asks, checks, verifies, reads and keeps what the Tarnhaven Health Sentinel watches and "
    "writes, and never touches the daemon.";
constexpr const char* STATUSES =
    "Exit status: 0 good, 1 warnings, 2 errors, 3 not known or not done, 64 wrong use; of status:\n"
    "0 running, 1 dead with a process id left, 3 stopped, 4 unknown.";

int Parse(CLI::App& program, Common& common, int argumentCount, const char* const* arguments)
{
    try {
        program.parse(argumentCount, arguments);
        return common.status;
    } catch (const CLI::RequiredError& failure) {
        if (program.get_subcommands().empty()) {
            const std::vector<std::string> unknown = program.remaining();
            std::cerr << "thsentinelctl: "
                      << (unknown.empty() ? "a verb is required"
                                          : "there is no verb " + EscapeControls(unknown.front()))
                      << "; thsentinelctl --help lists them\n";
            return EXIT_WRONG_USE;
        }
        return program.exit(failure) == 0 ? EXIT_GOOD : EXIT_WRONG_USE;
    } catch (const CLI::ParseError& failure) {
        return program.exit(failure) == 0 ? EXIT_GOOD : EXIT_WRONG_USE;
    }
}

/**
 * True if the command line can need the verb: making those that it doesn't name would be a part of the time
 * of the quick ones. Help, and the answer to a verb that isn't there, need them all.
 */
bool CanNeed(const VerbRegistration& verb, std::span<const char* const> words)
{
    const auto holds = [&words](auto test) { return std::any_of(words.begin(), words.end(), test); };
    const bool hasVerb = holds([](std::string_view word) {
        return std::any_of(GetVerbs().begin(), GetVerbs().end(),
                           [word](const VerbRegistration& one) { return word == one.name; });
    });
    const bool hasHelp = holds([](std::string_view word) { return word == "-h" || word.starts_with("--h"); });
    return !hasVerb || hasHelp || holds([&verb](std::string_view word) { return word == verb.name; });
}

/** The status of an answer that couldn't be given; that of `status` has a number of its own. */
int GetUnknownStatus(const CLI::App& program)
{
    const auto chosen = program.get_subcommands();
    const bool isStatus = !chosen.empty() && chosen.front()->get_name() == "status";
    return isStatus ? int{SERVICE_UNKNOWN} : int{EXIT_CANT_TELL};
}

/** Raises where the output is incomplete, as on a full disk: a script would take it for the whole. */
void DemandOutput()
{
    std::cout.flush();
    if (!std::cout) {
        throw std::runtime_error("standard output can't be written");
    }
}

} // namespace

std::span<const VerbRegistration> GetVerbs()
{
    // clang-format off
    static constexpr VerbRegistration VERBS[] = {
        {"check", AddCheckVerb},
        {"preflight", AddPreflightVerb},
        {"status", AddStatusVerb},
        {"explain", AddExplainVerb},
        {"list", AddListVerb},
        {"verify", AddVerifyVerb},
        {"report", AddReportVerb},
        {"bundle", AddBundleVerb},
        {"prune", AddPruneVerb},
        {"pin", AddPinVerb},
        {"rehearse", AddRehearseVerb},
        {"metrics", AddMetricsVerb},
        {"events", AddEventsVerb},
        {"wait", AddWaitVerb},
    };
    // clang-format on
    return VERBS;
}

namespace
{
void PrintFailure(const std::exception& failure)
{
    std::cerr << "thsentinelctl: " << EscapeControls(failure.what()) << '\n';
    if (const auto* const listed = dynamic_cast<const ListedFailure*>(&failure)) {
        for (const std::string& line : listed->GetLines()) {
            std::cerr << "  " << EscapeControls(line) << '\n';
        }
    }
}
} // namespace

int RunProgram(int argumentCount, const char* const* arguments)
{
    CLI::App program(ABOUT, "thsentinelctl");
    Common common;
    program.footer(STATUSES);
    program.set_version_flag("--version", "thsentinelctl " THSENTINEL_VERSION);
    program.require_subcommand(1);
    program.get_formatter()->label("SUBCOMMAND", "VERB");
    AddCommonOptions(program, common);
    const std::span words(arguments, static_cast<std::size_t>(argumentCount)); // the program's own is no verb
    for (const VerbRegistration& verb : GetVerbs()) {
        if (CanNeed(verb, words)) {
            verb.add(program, common);
        }
    }
    try {
        const int status = Parse(program, common, argumentCount, arguments);
        DemandOutput();
        return status;
    } catch (const std::exception& failure) {
        PrintFailure(failure);
        return GetUnknownStatus(program);
    }
}

} // namespace ctl
