#include <chrono>
#include <iostream>
#include <memory>
#include <thread>

#include <CLI/CLI.hpp>

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "processes/DaemonLock.h"
#include "processes/StatusVerb.h"

namespace ctl
{

namespace
{

constexpr std::chrono::milliseconds BETWEEN(100);

struct Options
{
    double running = -1;
    double stopped = -1;
};

int Report(const Common& common, const DaemonLock& lock, bool isReached)
{
    if (common.json) {
        Json document = BeginDocument("wait");
        document["reached"] = isReached;
        document["running"] =
            lock.state == DaemonLock::State::Unknown ? Json(nullptr) : Json(lock.IsRunning());
        document["pid"] = OrNull(lock.holder);
        PrintDocument(document);
    } else if (!isReached) {
        std::cerr << "thsentinelctl: the time is over and thsentinel "
                  << (lock.IsRunning() ? "runs\n" : "doesn't run\n");
    }
    return isReached ? EXIT_GOOD : EXIT_ERRORS;
}

int RunWait(const Common& common, const Options& options)
{
    const bool wantsRunning = options.running >= 0;
    const std::chrono::duration<double> limit(wantsRunning ? options.running : options.stopped);
    const auto end = std::chrono::steady_clock::now() + limit;
    while (true) {
        const DaemonLock lock = AskForDaemon();
        if (lock.state == DaemonLock::State::Unknown) {
            std::cerr << "thsentinelctl: " << lock.reason << '\n';
            return EXIT_CANT_TELL;
        }
        if (lock.IsRunning() == wantsRunning) {
            return Report(common, lock, true);
        }
        if (std::chrono::steady_clock::now() >= end) {
            return Report(common, lock, false);
        }
        std::this_thread::sleep_for(BETWEEN);
    }
}

} // namespace

void AddWaitVerb(CLI::App& program, Common& common)
{
    CLI::App& verb = AddVerb(program, {"wait", "Waits until the service runs, or has stopped",
                                       "thsentinel -terminate && thsentinelctl wait --stopped 30"});
    const auto options = std::make_shared<Options>();
    CLI::Option_group* const goal = verb.add_option_group("goal", "What to wait for");
    goal->add_option("--running", options->running, "Wait until it runs, so long at most")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    goal->add_option("--stopped", options->stopped, "Wait until it has stopped, so long at most")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    goal->require_option(1);
    SetAction(verb, common, [&common, options] { return RunWait(common, *options); });
}

} // namespace ctl
