/*
 * Runs the tests of this program, each in a process of its own. Tests that need an isolated host are run on
 * one.
 *
 *   --gtest_filter=...    which tests, as in any program of gtest; --gtest_list_tests lists them
 *   --fail-fast           ends the run at the first failure
 *   --file=PATH           only the tests of the source whose path ends so
 *   --report=FILE         also writes a JUnit report
 *   --direct              as an ordinary program of gtest, all in this process, as a debugger needs it
 *
 * Status: 0 when all passed, 1 when one failed or none was selected, 77 when all were skipped.
 */
#include "runner/ForkedTest.h"
#include "runner/HostRun.h"
#include "runner/Report.h"
#include "runner/Selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
constexpr int ALL_SKIPPED = 77;

struct Options
{
    std::string mFile;
    std::string mReport;
    bool mIsDirect = false;
    bool mServes = false;
    bool mFailsFast = false;
};

/** @return false when an argument is unknown */
bool ReadOptions(const std::vector<std::string>& arguments, Options& options)
{
    for (const std::string& argument : arguments) {
        if (argument.rfind("--file=", 0) == 0) {
            options.mFile = argument.substr(strlen("--file="));
        } else if (argument.rfind("--report=", 0) == 0) {
            options.mReport = argument.substr(strlen("--report="));
        } else if (argument == "--direct") {
            options.mIsDirect = true;
        } else if (argument == "--fail-fast") {
            options.mFailsFast = true;
        } else if (argument == "--serve") {
            options.mServes = true;
        } else {
            (void)fprintf(stderr, "unknown argument: %s\n", argument.c_str());
            return false;
        }
    }
    return true;
}

/** Runs tests that may need a host: one that asks for it moves the rest of its suite there too. */
class Run
{
public:
    explicit Run(bool failsFast) : mFailsFast(failsFast) {}

    void Add(const std::vector<std::string>& tests)
    {
        for (const std::string& test : tests) {
            if (!mHasEnded) {
                AddPlain(test);
            }
        }
        RunOnHosts(mForHost, [this](const Outcome& outcome) { return Keep(outcome); });
    }

    const std::vector<Outcome>& GetOutcomes() const { return mOutcomes; }

private:
    void AddPlain(const std::string& test)
    {
        if (!mForHost.empty() && GetSuite(mForHost.back()) == GetSuite(test)) {
            mForHost.push_back(test);
            return;
        }
        const Outcome outcome = RunForked(test);
        if (outcome.mResult == Result::NeedsHost) {
            mForHost.push_back(test);
        } else {
            mHasEnded = !Keep(outcome);
        }
    }

    bool Keep(const Outcome& outcome)
    {
        PrintOutcome(outcome);
        mOutcomes.push_back(outcome);
        return outcome.mResult != Result::Failed || !mFailsFast;
    }

    const bool mFailsFast;
    std::vector<Outcome> mOutcomes;
    std::vector<std::string> mForHost;
    bool mHasEnded = false;
};

int RunSelected(const Options& options)
{
    Run run(options.mFailsFast);
    run.Add(SelectTests(options.mFile));
    const std::vector<Outcome>& outcomes = run.GetOutcomes();
    PrintCounts(outcomes);
    if (!options.mReport.empty() && !WriteReport(options.mReport, outcomes)) {
        (void)fprintf(stderr, "%s can't be written\n", options.mReport.c_str());
        return 1;
    }
    if (outcomes.empty() || Count(outcomes, Result::Failed) > 0) {
        return 1;
    }
    return Count(outcomes, Result::Skipped) == outcomes.size() ? ALL_SKIPPED : 0;
}

/** Whether gtest itself has to answer: a list, or the child of a death test. */
bool IsForGtest(int count, char** arguments)
{
    return std::any_of(arguments, arguments + count, [](const char* argument) {
        return strstr(argument, "list_tests") != nullptr ||
               strstr(argument, "internal_run_death_test") != nullptr;
    });
}
} // namespace

int main(int count, char** arguments)
{
    const bool isForGtest = IsForGtest(count, arguments);
    testing::InitGoogleMock(&count, arguments);
    Options options;
    if (!ReadOptions(std::vector<std::string>(arguments + 1, arguments + count), options)) {
        return 1;
    }
    if (isForGtest || options.mIsDirect) {
        return RUN_ALL_TESTS();
    }
    if (options.mServes) {
        ServeOnHost();
        return 0;
    }
    return RunSelected(options);
}
