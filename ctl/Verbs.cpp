#include "Verbs.h"

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "base/Common.h"
#include "base/ExitStatus.h"
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
    "Exit status: 0 good, 1 warnings, 2 errors, 3 can't tell, 64 wrong use; of status: "
    "0 running,\n1 dead with a process id left, 3 stopped, 4 unknown.";

int Parse(CLI::App& program, Common& common, int argumentCount, const char* const* arguments)
{
    try {
        program.parse(argumentCount, arguments);
        return common.status;
    } catch (const CLI::RequiredError& failure) {
        const std::vector<std::string> unknown = program.remaining();
        if (program.get_subcommands().empty() && !unknown.empty()) {
            std::cerr << "thsentinelctl: there is no verb " << EscapeControls(unknown.front())
                      << "; thsentinelctl --help lists them\n";
            return EXIT_WRONG_USE;
        }
        return program.exit(failure) == 0 ? EXIT_GOOD : EXIT_WRONG_USE;
    } catch (const CLI::ParseError& failure) {
        return program.exit(failure) == 0 ? EXIT_GOOD : EXIT_WRONG_USE;
    }
}

} // namespace

std::span<const VerbRegistration> GetVerbs()
{
    // clang-format off
    static constexpr VerbRegistration VERBS[] = {
        AddCheckVerb,
        AddPreflightVerb,
        AddStatusVerb,
        AddExplainVerb,
        AddListVerb,
        AddVerifyVerb,
        AddReportVerb,
        AddBundleVerb,
        AddPruneVerb,
        AddPinVerb,
        AddRehearseVerb,
        AddMetricsVerb,
        AddEventsVerb,
        AddWaitVerb,
    };
    // clang-format on
    return VERBS;
}

int RunProgram(int argumentCount, const char* const* arguments)
{
    CLI::App program(ABOUT, "thsentinelctl");
    Common common;
    program.footer(STATUSES);
    program.set_version_flag("--version", "thsentinelctl " THSENTINEL_VERSION);
    program.require_subcommand(1);
    AddCommonOptions(program, common);
    for (const VerbRegistration add : GetVerbs()) {
        add(program, common);
    }
    try {
        return Parse(program, common, argumentCount, arguments);
    } catch (const std::exception& failure) {
        std::cerr << "thsentinelctl: " << EscapeControls(failure.what()) << '\n';
        return EXIT_CANT_TELL;
    }
}

} // namespace ctl
