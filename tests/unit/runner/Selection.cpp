#include "runner/Selection.h"

#include <gtest/gtest.h>

#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace
{
bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/** Lets gtest apply its filter, which it does before it lists tests. The list itself goes nowhere. */
void ApplyFilter()
{
    (void)fflush(stdout);
    const int standardOutput = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    (void)dup2(nowhere, STDOUT_FILENO);
    testing::GTEST_FLAG(list_tests) = true;
    const int status = RUN_ALL_TESTS();
    (void)status; // of the list, which can't fail
    testing::GTEST_FLAG(list_tests) = false;
    (void)fflush(stdout);
    (void)dup2(standardOutput, STDOUT_FILENO);
    (void)close(nowhere);
    (void)close(standardOutput);
}
} // namespace

std::vector<std::string> SelectTests(const std::string& file)
{
    ApplyFilter();
    std::vector<std::string> tests;
    const testing::UnitTest& program = *testing::UnitTest::GetInstance();
    for (int suiteIndex = 0; suiteIndex < program.total_test_suite_count(); ++suiteIndex) {
        const testing::TestSuite& suite = *program.GetTestSuite(suiteIndex);
        for (int index = 0; index < suite.total_test_count(); ++index) {
            const testing::TestInfo& test = *suite.GetTestInfo(index);
            if (test.should_run() && EndsWith(test.file(), file)) {
                tests.push_back(std::string(suite.name()) + "." + test.name());
            }
        }
    }
    return tests;
}

std::string GetSuite(const std::string& test)
{
    return test.substr(0, test.find('.'));
}
