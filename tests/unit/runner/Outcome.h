#pragma once

#include <string>

/** What became of a test. The numbers are exit statuses of its process: none that a program ends with by
 * chance. */
enum class Result
{
    Passed = 60,
    Failed = 61,
    Skipped = 62,
    NeedsHost = 63, ///< not run: it has asked for an isolated host
};

/** A test that has run. */
struct Outcome
{
    std::string mName; ///< as gtest filters it: suite, dot, test
    Result mResult = Result::Failed;
    long mMilliseconds = 0;
    bool mIsOnHost = false; ///< it ran on an isolated host
    std::string mOutput;    ///< what it wrote to standard output and standard error
};
