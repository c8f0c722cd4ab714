#include "store/SettingsCheck.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "ctl/store/StoreDouble.h"
#include "store/PredictLoad.h"

namespace ctl
{
namespace
{

using Values = std::map<std::string, std::string>;

/** The findings about settings as a whole, "SEVERITY KEY: MESSAGE". */
std::vector<std::string> Check(Values values, bool asksHost = true)
{
    values.emplace("THHS_MONITOR_CPU", "tbrd:5");
    values.emplace("THHS_EVIDENCE_PATH", "/evidence");
    const StoreOfKeys store(std::move(values));
    const auto always = [](const std::string&) { return true; };
    StoreFindings findings;
    CheckSettings(store, PredictLoad(store, {always, always}), findings, asksHost);
    std::vector<std::string> texts;
    for (const StoreFinding& finding : findings) {
        texts.push_back(GetName(finding.severity) + (" " + finding.key + ": " + finding.message));
    }
    return texts;
}

std::string DecideAfter(const std::string& first, const std::string& next)
{
    return "info THHS_POLL_INTERVAL: first decision " + first + " after the start, then every " + next +
           ": five readings are needed, and one of six is dropped";
}

TEST(SettingsCheck, SaysWhenTheFirstDecisionFallsAndThenHowOften)
{
    EXPECT_EQ(Check({}), std::vector<std::string>{DecideAfter("40 min", "1 h")});
    EXPECT_EQ(Check({{"THHS_POLL_INTERVAL", "7"}}), std::vector<std::string>{DecideAfter("28 s", "42 s")});
}

TEST(SettingsCheck, LooksForTheToolsOfAJdkOnThisHostOnlyWhereItMay)
{
    const Values java = {{"THHS_MONITOR_CPU", "thwmc:5"},
                         {"THHS_CAPTURE_PROCESS_DUMP", "1"},
                         {"THHS_JDK_HOME", "/no/such/jdk"}};
    EXPECT_EQ(Check(java).size(), 2U);
    EXPECT_EQ(Check(java, false), std::vector<std::string>{DecideAfter("40 min", "1 h")});
}

struct SettingRow
{
    Values values;
    const char* finding;
};

class SettingsFinding : public testing::TestWithParam<SettingRow>
{
};

TEST_P(SettingsFinding, IsAdded)
{
    const std::vector<std::string> texts = Check(GetParam().values);
    EXPECT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], GetParam().finding);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, SettingsFinding,
    testing::Values(
        SettingRow{
            {{"THHS_MONITOR_CPU", "thwmc:5"}, {"THHS_CAPTURE_PROCESS_DUMP", "1"}},
            "warning THHS_JDK_HOME: Java programs are watched, and without this key no heap or thread dump "
            "is taken"},
        SettingRow{
            {{"THHS_MONITOR_CPU", "thwmc:5"},
             {"THHS_CAPTURE_PROCESS_DUMP", "1"},
             {"THHS_JDK_HOME", "/nowhere"}},
            "warning THHS_JDK_HOME: /nowhere/bin/jcmd can't be run on this host, so no heap or thread dump "
            "is taken"},
        SettingRow{
            {{"THHS_PURGE_OLD_EVIDENCE", "1"}},
            "info THHS_PURGE_OLD_EVIDENCE: this setting removes nothing: folders withstand the line that "
            "it runs"},
        SettingRow{
            {{"THHS_MONITOR_DEADLOCK", "tbrd"}},
            "info THHS_MONITOR_DEADLOCK: the list is read and checked, and deadlocks are not looked for"},
        SettingRow{
            {{"THHS_CAPTURE_WITHOUT_THRESHOLD", "1"}, {"THHS_DUMP_COUNT", "4"}},
            "warning THHS_CAPTURE_WITHOUT_THRESHOLD: evidence is taken at every pass whatever the readings, "
            "until each process has its 4 sets; real breaches then take none"}));

TEST(SettingsCheck, SaysThatNothingIsWatched)
{
    const StoreOfKeys store(Values{{"THHS_EVIDENCE_PATH", "/evidence"}});
    const auto always = [](const std::string&) { return true; };
    StoreFindings findings;
    CheckSettings(store, PredictLoad(store, {always, always}), findings, true);
    ASSERT_FALSE(findings.empty());
    EXPECT_EQ(findings[0].message,
              "nothing is watched: neither this list nor that of the memory names a process");
}

} // namespace
} // namespace ctl
