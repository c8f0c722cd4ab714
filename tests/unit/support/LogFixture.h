#pragma once

#include "support/StoreDouble.h"
#include "support/SystemSeams.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

/** Lines of the diagnostic log, each without stamp and line end. */
using Lines = std::vector<std::string>;

/**
 * A test of what logs: the product's folder of logs is a new one of the test's own. GetTHLogPath names it, so
 * that the diagnostic log lies there and not at its fixed place.
 */
class LogFixture : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /** Lines of today's diagnostic log with their time stamps checked and taken away; empty without a log. */
    static Lines GetLogLines();

    /** Removes today's diagnostic log, so that only what comes after is seen. */
    static void ForgetLog();

    /** A new empty folder, removed with the test. */
    static std::string MakeFolder();
};

/** Sets what GetTHLogPath returns; the fixed place when empty. */
void SetLogPath(const std::string& path);

/** Lets the diagnostic log lose one of its next lines: its open fails. @param number  0 for the very next */
void LoseOneLogLine(int number);

/** What `action` prints on the console. */
std::string GetConsole(const std::function<void()>& action);

/** The whole of a file; empty when it can't be read. */
std::string ReadFile(const std::string& path);

/** Writes a file anew, with mode 0644 unless another is given. */
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
