#include <chrono>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/NumberRange.h"
#include "base/PlainText.h"
#include "processes/StatusVerb.h"
#include "processes/Waiting.h"

namespace ctl
{

namespace
{

struct Options
{
    double running = -1;
    double stopped = -1;
};

int Report(const Common& common, const DaemonLock& lock, bool isReached)
{
    const bool isUnknown = lock.state == DaemonLock::State::Unknown;
    if (common.json) {
        Json document = BeginDocument("wait");
        document["reached"] = isReached;
        document["running"] = isUnknown ? Json(nullptr) : Json(lock.IsRunning());
        document["pid"] = OrNull(lock.holder);
        PrintDocument(document);
    }
    if (isUnknown) {
        std::cerr << "thsentinelctl: the time is over and it can't be told whether thsentinel runs: "
                  << EscapeControls(lock.reason) << '\n';
        return EXIT_CANT_TELL;
    }
    if (!isReached && !common.json) {
        std::cerr << "thsentinelctl: the time is over and thsentinel "
                  << (lock.IsRunning() ? "runs\n" : "doesn't run\n");
    }
    return isReached ? EXIT_GOOD : EXIT_ERRORS;
}

int RunWait(const Common& common, const Options& options)
{
    const bool wantsRunning = options.running >= 0;
    const bool wantsStopped = options.stopped >= 0;
    if (wantsRunning == wantsStopped) {
        throw CLI::RequiredError(wantsRunning ? "One of --running and --stopped alone"
                                              : "--running or --stopped");
    }
    const std::chrono::duration<double> limit(wantsRunning ? options.running : options.stopped);
    const DaemonLock lock = WaitForDaemon(wantsRunning, limit, [] { return AskForDaemon(); });
    return Report(common, lock, IsReached(lock, wantsRunning));
}

} // namespace

void AddWaitVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, {"wait", "Waits until the service runs, or has stopped",
                                       "thsentinel -terminate && thsentinelctl wait --stopped 30"});
    const auto options = std::make_shared<Options>();
    CLI::Option& running =
        *verb.add_option("--running", options->running, "Wait until it runs, so long at most");
    CLI::Option& stopped =
        *verb.add_option("--stopped", options->stopped, "Wait until it has stopped, so long at most");
    for (CLI::Option* const goal : {&running, &stopped}) {
        constexpr double LONGEST = 1e6;
        goal->type_name("SECONDS");
        AcceptRange(*goal, 0, LONGEST);
    }
    SetAction(verb, common, [&common, options] { return RunWait(common, *options); });
}

} // namespace ctl
