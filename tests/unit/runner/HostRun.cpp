#include "runner/HostRun.h"

#include "runner/ForkedTest.h"
#include "runner/MemoryFile.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr int NO_HOST = 77; // status of script/host where it can't make one

/** The standard streams of the host's command, as files in memory. */
struct Streams
{
    MemoryFile mTests;
    MemoryFile mOutcomes;
    MemoryFile mErrors;
};

[[noreturn]] void BecomeHost(const Streams& streams)
{
    const std::string self = fs::read_symlink("/proc/self/exe");
    const std::string folder = fs::path(self).parent_path();
    (void)dup2(streams.mTests.GetDescriptor(), STDIN_FILENO);
    (void)dup2(streams.mOutcomes.GetDescriptor(), STDOUT_FILENO);
    (void)dup2(streams.mErrors.GetDescriptor(), STDERR_FILENO);
    (void)execl(TEST_HOST, TEST_HOST, "--share", TEST_BUILD_DIR, "--share", folder.c_str(), "--",
                self.c_str(), "--serve", nullptr);
    perror(TEST_HOST);
    _exit(NO_HOST);
}

/** Runs the tests on one host. @return the status of its command */
int RunHost(const std::vector<std::string>& tests, const Streams& streams)
{
    std::string names;
    for (const std::string& test : tests) {
        names += test + "\n";
    }
    streams.mTests.Write(names);
    (void)fflush(nullptr); // what is still buffered would be written by both
    const pid_t child = fork();
    if (child == 0) {
        BecomeHost(streams);
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void WriteOutcome(const Outcome& outcome, std::ostream& out)
{
    out << outcome.mName << ' ' << static_cast<int>(outcome.mResult) << ' ' << outcome.mMilliseconds << ' '
        << outcome.mOutput.size() << '\n'
        << outcome.mOutput << std::flush;
}

/** The next outcome; none at the end, or where the host ended amid one. */
std::optional<Outcome> ReadOutcome(std::istream& in)
{
    Outcome outcome;
    int result = 0;
    std::size_t size = 0;
    if (!(in >> outcome.mName >> result >> outcome.mMilliseconds >> size)) {
        return std::nullopt;
    }
    (void)in.get();
    outcome.mResult = static_cast<Result>(result);
    outcome.mIsOnHost = true;
    outcome.mOutput.resize(size);
    in.read(outcome.mOutput.data(), static_cast<std::streamsize>(size));
    return in ? std::optional(outcome) : std::nullopt;
}

/** What the tests share that no host could be made for. */
std::vector<Outcome> SkipAll(const std::vector<std::string>& tests, const std::string& reason)
{
    std::vector<Outcome> outcomes;
    for (const std::string& test : tests) {
        outcomes.push_back({test, Result::Skipped, 0, false, reason});
    }
    return outcomes;
}

/** The outcomes of one host. A test during which the host ended has failed. */
std::vector<Outcome> GetOutcomes(const std::vector<std::string>& tests, const Streams& streams, int status)
{
    std::vector<Outcome> outcomes;
    std::istringstream records(streams.mOutcomes.Read());
    while (const std::optional<Outcome> outcome = ReadOutcome(records)) {
        outcomes.push_back(*outcome);
    }
    if (outcomes.empty() && status == NO_HOST) {
        return SkipAll(tests, streams.mErrors.Read());
    }
    const bool hasStopped = !outcomes.empty() && outcomes.back().mResult == Result::Failed;
    if (outcomes.size() < tests.size() && !hasStopped) {
        outcomes.push_back(
            {tests[outcomes.size()], Result::Failed, 0, true,
             streams.mErrors.Read() + "\nThe host ended with status " + std::to_string(status) + ".\n"});
    }
    return outcomes;
}
} // namespace

void RunOnHosts(std::vector<std::string> tests, const OutcomeSink& sink)
{
    while (!tests.empty()) {
        const Streams streams;
        const int status = RunHost(tests, streams);
        const std::vector<Outcome> outcomes = GetOutcomes(tests, streams, status);
        for (const Outcome& outcome : outcomes) {
            if (!sink(outcome)) {
                return;
            }
        }
        tests.erase(tests.begin(), tests.begin() + static_cast<std::ptrdiff_t>(outcomes.size()));
    }
}

void ServeOnHost()
{
    std::vector<std::string> tests;
    for (std::string test; std::getline(std::cin, test);) {
        tests.push_back(test);
    }
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    (void)dup2(nothing, STDIN_FILENO);
    (void)close(nothing);
    for (const std::string& test : tests) {
        const Outcome outcome = RunForked(test);
        WriteOutcome(outcome, std::cout);
        if (outcome.mResult == Result::Failed) {
            return;
        }
    }
}
