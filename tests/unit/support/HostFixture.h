#pragma once

#include "support/StoreDouble.h"
#include "support/SystemSeams.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

/** True on an isolated host, where a test may change every path. */
bool IsOnIsolatedHost();

/**
 * A test that needs the fixed paths: it is skipped off an isolated host, and finds the product's folders
 * there, empty.
 */
class HostFixture : public testing::Test
{
protected:
    void SetUp() override;

    /** Lines of today's diagnostic log with their time stamps checked and taken away; empty without a log. */
    static std::vector<std::string> GetLogLines();

    /** Removes today's diagnostic log, so that only what comes after is seen. */
    static void ForgetLog();

    /** A new empty folder below /tmp. */
    static std::string MakeFolder();
};

/** The whole of a file; empty when it can't be read. */
std::string ReadFile(const std::string& path);

/** Writes a file anew, with mode 0644 unless told otherwise. */
void WriteFile(const std::string& path, const std::string& content, unsigned mode = 0644);

/** A hundredth of a second. */
void WaitAMoment();

/** Waits up to `seconds` for a condition. @return whether it came true */
template <typename Condition>
bool WaitFor(Condition condition, int seconds = 20)
{
    for (int moment = 0; moment < seconds * 100; ++moment) {
        if (condition()) {
            return true;
        }
        WaitAMoment();
    }
    return condition();
}
