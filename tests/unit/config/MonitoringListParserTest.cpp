#include "config/ConfigurationMgr.h"
#include "config/MonitoringList.h"
#include "config/SettingsFixture.h"
#include "platform/UnixHelperFunction.h"

#include <map>
#include <set>

using MonitoringListParser = SettingsFixture;

TEST_F(MonitoringListParser, GoesByTheGivenValuesAndNotByTheSettings)
{
    UnixHelperFunction helper;
    const std::map<std::string, std::string> java = {{"own", "mark"}};
    std::map<std::string, int> thresholds;
    std::set<std::string> names = {"before"};
    EXPECT_EQ(ParseMonitoringList({"THHS_MONITOR_CPU", "CPU", "PERCENT", java, helper}, "own:1,thwmc:2",
                                  thresholds, names),
              0);
    EXPECT_EQ(thresholds, (std::map<std::string, int>{{"own", 1}, {"thwmc", 2}}));
    EXPECT_EQ(names, (std::set<std::string>{"before", "java", "thwmc"}));
    EXPECT_EQ(mConfig->mMonitoredProcessNames, std::set<std::string>());
}

TEST_F(MonitoringListParser, AsksTheHelpersOwnClassWhetherUnitsAreTheSame)
{
    class HelperWithOneUnit : public UnixHelperFunction
    {
    public:
        bool CompareIgnoreCase(std::string /*first*/, std::string /*second*/) override { return false; }
    };
    HelperWithOneUnit helper;
    std::map<std::string, int> thresholds;
    std::set<std::string> names;
    const MonitoringList list = {"THHS_MONITOR_MEMORY", "Memory", "ABSOLUTE", mConfig->mJavaProcessMap,
                                 helper};
    int result = 0;
    (void)GetConsole([&] { result = ParseMonitoringList(list, "a:101", thresholds, names); });
    EXPECT_EQ(result, 101) << "a label that counts as PERCENT has an upper bound";
}
