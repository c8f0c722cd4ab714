#include "runner/Report.h"

#include "runner/Selection.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <ostream>

namespace
{
constexpr std::size_t MAX_OUTPUT = 65536; // bytes of a test's output in a report; its end shows why it failed

const char* GetWord(Result result)
{
    return result == Result::Passed ? "passed " : result == Result::Skipped ? "skipped" : "FAILED ";
}

std::string Escape(const std::string& text)
{
    static const std::map<char, std::string> entities = {{'&', "&amp;"},  {'<', "&lt;"},   {'>', "&gt;"},
                                                         {'"', "&quot;"}, {'\n', "&#10;"}, {'\t', "&#9;"}};
    std::string escaped;
    for (const char character : text) {
        const auto entity = entities.find(character);
        if (entity != entities.end()) {
            escaped += entity->second;
        } else {
            escaped += character >= ' ' && character <= '~' ? character : '?';
        }
    }
    return escaped;
}

/** What stands between two texts, where both are there; else the whole. */
std::string GetBetween(const std::string& text, const std::string& before, const std::string& after)
{
    const std::size_t begin = text.find(before);
    const std::size_t end = begin == std::string::npos ? begin : text.find(after, begin + before.size());
    return end == std::string::npos ? text : text.substr(begin + before.size(), end - begin - before.size());
}

std::string GetEnd(const std::string& output)
{
    return output.size() <= MAX_OUTPUT ? output : "[...]" + output.substr(output.size() - MAX_OUTPUT);
}

void WriteCase(const Outcome& outcome, std::ostream& out)
{
    const std::string suite = GetSuite(outcome.mName);
    out << R"(<testcase classname=")" << Escape(suite) << R"(" name=")"
        << Escape(outcome.mName.substr(suite.size() + 1)) << R"(" time=")"
        << static_cast<double>(outcome.mMilliseconds) / 1000 << R"(" host=")"
        << (outcome.mIsOnHost ? "true" : "false") << R"(">)";
    if (outcome.mResult == Result::Failed) {
        const std::string output = GetEnd(outcome.mOutput);
        out << R"(<failure message=")" << Escape(GetBetween(output, outcome.mName + "\n", "[  FAILED  ]"))
            << R"(">)" << Escape(output) << "</failure>";
    } else if (outcome.mResult == Result::Skipped) {
        std::string reason = GetBetween(outcome.mOutput, ": Skipped\n", "\n[  SKIPPED ]");
        if (!reason.empty() && reason.back() == '\n') {
            reason.pop_back(); // newer versions of GoogleTest write one more
        }
        out << R"(<skipped message=")" << Escape(reason) << R"("/>)";
    }
    out << "</testcase>\n";
}
} // namespace

void PrintOutcome(const Outcome& outcome)
{
    (void)printf("%s %s (%ld ms)\n", GetWord(outcome.mResult), outcome.mName.c_str(), outcome.mMilliseconds);
    if (outcome.mResult == Result::Failed) {
        (void)fwrite(outcome.mOutput.data(), 1, outcome.mOutput.size(), stdout);
        (void)putchar('\n');
    }
    (void)fflush(stdout);
}

std::size_t Count(const std::vector<Outcome>& outcomes, Result result)
{
    return static_cast<std::size_t>(std::count_if(
        outcomes.begin(), outcomes.end(), [result](const Outcome& one) { return one.mResult == result; }));
}

void PrintCounts(const std::vector<Outcome>& outcomes)
{
    const auto plain = std::count_if(outcomes.begin(), outcomes.end(),
                                     [](const Outcome& outcome) { return !outcome.mIsOnHost; });
    (void)printf("%zu passed, %zu failed, %zu skipped; %td without a host\n", Count(outcomes, Result::Passed),
                 Count(outcomes, Result::Failed), Count(outcomes, Result::Skipped), plain);
}

bool WriteReport(const std::string& path, const std::vector<Outcome>& outcomes)
{
    std::ofstream file(path, std::ios::trunc);
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n<testsuite name=\"unit\" tests=\""
         << outcomes.size() << "\" failures=\"" << Count(outcomes, Result::Failed) << "\" skipped=\""
         << Count(outcomes, Result::Skipped) << "\">\n";
    for (const Outcome& outcome : outcomes) {
        WriteCase(outcome, file);
    }
    file << "</testsuite>\n</testsuites>\n";
    file.close();
    return file.good();
}
