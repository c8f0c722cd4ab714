// The shell lines of the platform, whole, for each pair of helper and tool paths that a host can get.

#include "config/ConfigurationMgr.h"
#include "platform/ToolHost.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <gmock/gmock.h>

#include <memory>
#include <regex>

using testing::ElementsAre;
using testing::ElementsAreArray;

extern "C" FILE* __real_popen(const char* command, const char* mode);

namespace
{
/** A host by its release file, and by where its tools are found. */
struct Host
{
    const char* mName;
    const char* mReleaseFile; ///< null for none
    const char* mToolFolder;
    const char* mNetstat;
    bool mIsRedHat; ///< has the helper of Red Hat
};

constexpr Host HOSTS[] = {
    {"RedHat", REDHAT_RELEASE, "/usr/bin/", "/usr/bin/netstat", true},
    {"RedHatWithToolsInBin", REDHAT_RELEASE, "/bin/", "/bin/netstat", true},
    {"Oracle", ORACLE_RELEASE, "/usr/bin/", "/usr/bin/netstat", true},
    {"Suse", SUSE_RELEASE, "/usr/bin/", "/bin/netstat", false},
    {"SuseWithToolsInBin", SUSE_RELEASE, "/bin/", "/bin/netstat", false},
    {"Other", nullptr, "/usr/bin/", "/usr/bin/netstat", false},
    {"OtherWithToolsInBin", nullptr, "/bin/", "/bin/netstat", false},
};

constexpr const char* TOOLS[] = {"awk", "cat", "egrep", "grep", "netstat", "ps", "wc"};
constexpr int PID = 4711;

class ShellLines : public ConfigurationFixture, public testing::WithParamInterface<Host>
{
protected:
    void SetUp() override
    {
        RequireHost();
        if (IsSkipped()) {
            return;
        }
        ConfigurationFixture::SetUp();
        if (GetParam().mReleaseFile != nullptr) {
            mHost.Provide(GetParam().mReleaseFile);
        }
        const bool isInUsrBin = std::string("/usr/bin/") == GetParam().mToolFolder;
        for (const std::string tool : TOOLS) {
            if (!isInUsrBin) {
                mHost.Remove("/usr/bin/" + tool);
            } else if (!std::filesystem::exists("/usr/bin/" + tool)) {
                mHost.Provide("/usr/bin/" + tool);
            }
        }
        mConfig->mMonitoredProcessNames = {"java", "exampled"};
        GetSeams().mPopen = [this](const char* command, const char* mode) {
            mLines.push_back(command);
            return __real_popen(":", mode); // built into the shell, so no tool is needed
        };
        GetSeams().mSystem = [this](const char* command) {
            mLines.push_back(command);
            return 0;
        };
        mHelper.reset(GetUnixHelperFunctionInstance());
    }

    /** `pattern` with this host's path in the place of each {tool}. */
    static std::string OnThisHost(const std::string& pattern)
    {
        const std::string netstat =
            std::regex_replace(pattern, std::regex("\\{netstat\\}"), GetParam().mNetstat);
        return std::regex_replace(netstat, std::regex("\\{([a-z]+)\\}"),
                                  std::string(GetParam().mToolFolder) + "$1");
    }

    HostChanges mHost;
    std::unique_ptr<UnixHelperFunction> mHelper;
    std::vector<std::string> mLines; ///< what the shell was given
};
} // namespace

TEST_P(ShellLines, ListProcesses)
{
    EXPECT_EQ(mHelper->GetPidProcNamePairsOutput(), "");
    EXPECT_THAT(mLines,
                ElementsAre(OnThisHost("{ps} -eo pid,command | {egrep} \"exampled|java|/usr/tarnv\"")));
}

TEST_P(ShellLines, FillEachTableFromAListingOfItsOwn)
{
    const std::string listing = OnThisHost("{ps} -eo pid,command | {egrep} \"exampled|java|/usr/tarnv\"");
    std::multimap<std::string, int> names;
    mHelper->PopulateProcessNameAndProcessIDMap(names);
    EXPECT_THAT(mLines, ElementsAre(listing));
    std::map<int, std::string> ids;
    mHelper->PopulateProcessIDAndProcessNameMap(ids);
    EXPECT_THAT(mLines, ElementsAre(listing, listing));
}

TEST_P(ShellLines, FindAJavaProcessByItsMarker)
{
    EXPECT_EQ(mHelper->GetTarnhavenJavaProcesses("tarn.thx.AdminConsole"), -1);
    EXPECT_THAT(mLines,
                ElementsAre(OnThisHost("{ps} -eo pid,command | {egrep} \"exampled|java|/usr/tarnv\" | {grep} "
                                       "-e \"tarn.thx.AdminConsole\" | {grep} -v \"{grep}\"")));
}

TEST_P(ShellLines, FindTheOwnerOfAProcess)
{
    EXPECT_EQ(mHelper->GetUserOfProcess(PID), "root");
    EXPECT_THAT(mLines, ElementsAre(OnThisHost("{ps} -eo pid,user | {grep} \"^[[:space:]]*\\<4711\\>\"")));
}

TEST_P(ShellLines, ReadTheProcessorUseOfOneProcessAloneOnRedHat)
{
    EXPECT_EQ(mHelper->GetCPUUsageForProcessInPercent("exampled", PID), 0.0);
    const std::string general = "{ps} -eo pid,%cpu,command | {egrep} \"exampled|java|/usr/tarnv\" | {grep} "
                                "\"^[[:space:]]*\\<4711\\>\"";
    const std::string redHat = "{ps} -q 4711 -o pid,%cpu,command | {egrep} \"exampled|java|/usr/tarnv\"";
    EXPECT_THAT(mLines, ElementsAre(OnThisHost(GetParam().mIsRedHat ? redHat : general)));
}

TEST_P(ShellLines, ReadTheMemoryUseInTheGeneralFormEverywhere)
{
    EXPECT_EQ(mHelper->GetMemoryUsageForProcessInPercent("exampled", PID), 0.0);
    EXPECT_EQ(mHelper->GetMemoryUsageForProcessInMB("exampled", PID), 0.0);
    EXPECT_THAT(mLines,
                ElementsAre(OnThisHost("{ps} -eo pid,%mem,command | {egrep} \"exampled|java|/usr/tarnv\" | "
                                       "{grep} \"^[[:space:]]*\\<4711\\>\""),
                            OnThisHost("{ps} -eo pid,rss,command | {egrep} \"exampled|java|/usr/tarnv\" | "
                                       "{grep} \"^[[:space:]]*\\<4711\\>\"")));
}

TEST_P(ShellLines, CountProcessorsAndMemory)
{
    EXPECT_EQ(mHelper->GetCPUCount(), 0);
    EXPECT_EQ(mHelper->GetTotalSizeOfMemoryInKB(), 0);
    EXPECT_THAT(mLines,
                ElementsAre(OnThisHost("{cat} /proc/cpuinfo | {grep} \"^processor\" |{wc} -l"),
                            OnThisHost("{cat} /proc/meminfo | {grep} \"^MemTotal\" |{awk} '{ print $2 }' ")));
}

TEST_P(ShellLines, ShowConnectionsWithTheNetstatOfTheDistribution)
{
    GetStore().mLocalTime = MakeLocalTime(2026, 11, 13, 2, 10, 28);
    mConfig->mEvidencePath = MakeFolder();
    mHelper->ExecuteNetStat("exampled", PID, "CPU", "");
    const std::string file =
        mConfig->mEvidencePath + "/exampled/4711/Evidence0/4711_13-11_02.10.28_CPU.Netstat";
    std::vector<std::string> lines;
    for (const char* const line :
         {"{netstat} -p --tcp | grep CLOSE_WAIT", "{netstat} -na | grep CLOSE_WAIT", "{netstat} -e",
          "{netstat} -s", "{netstat} -nalp", "{netstat} -op | {grep} 4711", "{netstat} -nop | {grep} 4711",
          "{netstat} -anop | {grep} 4711", "{netstat} -tanoxp | {grep} 4711"}) {
        lines.push_back(OnThisHost(line) + " >> " + file);
    }
    EXPECT_THAT(mLines, ElementsAreArray(lines));
}

INSTANTIATE_TEST_SUITE_P(On, ShellLines, testing::ValuesIn(HOSTS),
                         [](const auto& test) { return test.param.mName; });
