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
