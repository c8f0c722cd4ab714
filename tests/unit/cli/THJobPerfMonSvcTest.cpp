#include "cli/THJobPerfMonSvc.h"

#include "config/ConfigurationMgr.h"
#include "config/ConfigurationValueReaders.h"
#include "counters/CounterMgr.h"
#include "platform/THUEnv.h"
#include "support/ConfigurationSeam.h"
#include "support/HelperSeam.h"
#include "support/LogFixture.h"
#include "support/ScriptedHelper.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

#include <syslog.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char STARTED[] = "Tarnhaven Health Sentinel Service started";
constexpr char MONITORING[] = "Tarnhaven Health Sentinel Service is monitoring the resources.";
constexpr char CLEANING[] = "Cleaning up the resources used by the service.";
constexpr char RESETTING[] = "Resetting the original log levels for the processes.";
constexpr char STOPPED[] = "Tarnhaven Health Sentinel Service stopped.";
constexpr char SUCCESS[] = "Tarnhaven Health Sentinel Service successfully started";

/** The order of calls, each with the last line of the log at its time where that matters. */
Lines gCalls;

/** A manager of which the operations that a pass calls are noted. */
class NotedManager : public CounterMgr
{
public:
    using CounterMgr::CounterMgr;

    void AddCounterToMonitor(std::map<std::string, int>& processes, std::string counterNamePrefix,
                             std::string counterNameSuffix) override
    {
        const bool isOwnMap = &processes == &mProcessesRegisteredMonitoring;
        gCalls.push_back(mMessageStr + " adds" + (isOwnMap ? "" : " another's") + counterNamePrefix +
                         counterNameSuffix);
    }
    void HandleThresholdBreach() override { gCalls.push_back(mMessageStr + " evaluates"); }
    double ReadCounterIndexValue(Counter* /*counter*/) override
    {
        gCalls.push_back(mMessageStr + " reads");
        return 0.0;
    }
};

/** A helper of which the operations that the service calls are noted. */
class NotedHelper : public ScriptedHelper<>
{
public:
    using ScriptedHelper::ScriptedHelper;

    void PopulateProcessNameAndProcessIDMap(std::multimap<std::string, int>& table) override
    {
        gCalls.push_back("name table");
        EXPECT_EQ(&table, &ConfigurationMgr::GetInstance()->mProcessNameAndProcessIDMap);
    }
    void PopulateProcessIDAndProcessNameMap(std::map<int, std::string>& table) override
    {
        gCalls.push_back("id table");
        EXPECT_EQ(&table, &ConfigurationMgr::GetInstance()->mProcessIDAndProcessNameMap);
    }
    void CloseRunningThread(unsigned long threadId) override
    {
        gCalls.push_back("close " + std::to_string(threadId));
    }
    std::string HF_CommandToCleanFolder(std::string path) override { return "clean " + path; }
};

Lines GetSystemLog()
{
    Lines entries;
    for (const SystemSeams::SystemLogEntry& entry : GetSeams().mSystemLog) {
        entries.push_back(std::to_string(entry.mPriority) + " " + entry.mText);
    }
    return entries;
}
} // namespace

class MonitoringService : public LogFixture
{
protected:
    void SetUp() override
    {
        LogFixture::SetUp();
        mScript.mAnswer = [this](const std::string& line) {
            gCalls.push_back(line);
            if (mDuringLine) {
                mDuringLine();
            }
            return line.find("cpuinfo") != std::string::npos ? "12\n" : "16319440\n";
        };
        GetHelperSeam().mMake = [this] { return new NotedHelper(mScript); };
        GetConfigurationSeam().mRead = [this] { return mResults.empty() ? 0 : TakeResult(); };
        GetSeams().mSleep = [](unsigned seconds) {
            gCalls.push_back("sleep " + std::to_string(seconds));
            return 0U;
        };
    }

    /** Puts managers into the place of the real ones, of which the calls are noted. */
    static ConfigurationMgr& UseNotedManagers()
    {
        ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
        for (CounterMgr** const place :
             {&config.mCPUCounterMgr, &config.mMemoryCounterMgr, &config.mDeadLockCounterMgr}) {
            const std::unique_ptr<CounterMgr> former(*place);
            *place = new NotedManager(former->GetMessageStr());
        }
        return config;
    }

    int TakeResult()
    {
        const int result = mResults.front();
        mResults.erase(mResults.begin());
        gCalls.push_back("load, read anew " + std::to_string(GetStore().mForcedReads));
        return result;
    }

    /** Runs the worker's body on this thread until a load of it fails. */
    static ServiceThreadStatus RunWorker()
    {
        ServiceThreadStatus status = {0, 1};
        EXPECT_EQ(ServiceWorkerThread(&status), nullptr);
        return status;
    }

    HelperScript mScript;
    std::function<void()> mDuringLine;
    std::vector<int> mResults; ///< of the loads to come, 0 when there is none
};

TEST_F(MonitoringService, StartsInOrder)
{
    EXPECT_EQ(StartMonitoringActivity(), 0);
    const ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    EXPECT_EQ(config.mDaemonPid, getpid());
    EXPECT_EQ(config.mCPUCount, 12);
    EXPECT_EQ(config.mTotalMemoryInKB, 16319440);
    EXPECT_THAT(GetLogLines(),
                ElementsAre(STARTED, "Number of CPUs = 12", "Total size of Memory = 16319440"));
    EXPECT_THAT(GetSystemLog(), ElementsAre("6 " + std::string(SUCCESS)));
}

TEST_F(MonitoringService, KnowsItsProcessBeforeItsFirstLineAndLogsItBeforeTheLoad)
{
    Lines before;
    int pid = 0;
    GetConfigurationSeam().mRead = [&] {
        before = GetLogLines();
        pid = ConfigurationMgr::GetInstance()->mDaemonPid;
        return 15;
    };
    EXPECT_EQ(StartMonitoringActivity(), 15);
    EXPECT_THAT(before, ElementsAre(STARTED));
    EXPECT_EQ(pid, getpid());
}

TEST_F(MonitoringService, AsksForTheProcessorsFirstAndLogsEachAnswerBeforeTheNextQuestion)
{
    std::vector<Lines> logs;
    mDuringLine = [&] { logs.push_back(GetLogLines()); };
    EXPECT_EQ(StartMonitoringActivity(), 0);
    ASSERT_EQ(logs.size(), 2U);
    EXPECT_THAT(logs[0], ElementsAre(STARTED));
    EXPECT_THAT(logs[1], ElementsAre(STARTED, "Number of CPUs = 12"));
}

TEST_F(MonitoringService, KeepsWhatItKnowsOfTheMachineWithoutAHelper)
{
    (void)ConfigurationMgr::GetInstance();
    GetHelperSeam().mMake = [] { return nullptr; };
    EXPECT_EQ(StartMonitoringActivity(), 0);
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mCPUCount, 1);
    EXPECT_EQ(ConfigurationMgr::GetInstance()->mTotalMemoryInKB, 1048576);
    EXPECT_THAT(GetLogLines(), ElementsAre(STARTED));
    EXPECT_THAT(GetSystemLog(), ElementsAre("6 " + std::string(SUCCESS)));
}

TEST_F(MonitoringService, GoesOnWithoutALog)
{
    ConfigurationMgr& config = UseNotedManagers();
    std::filesystem::remove_all(GetTHPerfMonLogPath());
    WriteFile(GetTHPerfMonLogPath(), "a file in the place of the folder");
    EXPECT_EQ(StartMonitoringActivity(), 0);
    EXPECT_EQ(config.mCPUCount, 12);
    mResults = {0, 15};
    EXPECT_EQ(RunWorker().mResult, 15);
    EXPECT_EQ(GetSystemLog().front(), "6 " + std::string(SUCCESS));
}

/** A result of the load, and what the service says of it. */
struct FailureCase
{
    int mResult;
    std::string mText;
};

void PrintTo(const FailureCase& shown, std::ostream* out)
{
    *out << shown.mResult;
}

class FailedLoad : public MonitoringService, public testing::WithParamInterface<FailureCase>
{
};

TEST_P(FailedLoad, EndsTheStart)
{
    mResults = {GetParam().mResult};
    EXPECT_EQ(StartMonitoringActivity(), GetParam().mResult);
    EXPECT_THAT(GetLogLines(), ElementsAre(STARTED, "Error:" + GetParam().mText, STOPPED));
    EXPECT_THAT(GetSystemLog(), ElementsAre("3 " + GetParam().mText));
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

TEST_P(FailedLoad, EndsTheWorkerAfterATearDown)
{
    (void)UseNotedManagers();
    mResults = {GetParam().mResult};
    const ServiceThreadStatus status = RunWorker();
    EXPECT_EQ(status.mResult, GetParam().mResult);
    EXPECT_EQ(status.mAlive, 0);
    EXPECT_THAT(GetLogLines(),
                ElementsAre(MONITORING, "Error:" + GetParam().mText, STOPPED, CLEANING, RESETTING, STOPPED));
    EXPECT_THAT(GetSystemLog(), ElementsAre("3 " + GetParam().mText, "6 " + std::string(STOPPED)));
}

INSTANTIATE_TEST_SUITE_P(
    MonitoringService, FailedLoad,
    testing::Values(
        FailureCase{RC_CONFIG_INVALID,
                    "Tarnhaven configuration has invalid values. Check thsentinel log for details. Stopping "
                    "Tarnhaven Health Sentinel Service/Daemon."},
        FailureCase{RC_CONFIG_MISSING,
                    "Tarnhaven configuration does not exist. Check thsentinel log for details. Stopping "
                    "Tarnhaven Health Sentinel Service/Daemon."},
        FailureCase{RC_CONFIG_BAD_CHARS,
                    "Non alpha numeric characters are detected in the input. Please correct the input in "
                    "Tarnhaven configuration. Stopping Tarnhaven Health Sentinel Service/Daemon."},
        FailureCase{RC_CONFIG_NO_HELPER, ""}, FailureCase{RC_CONFIG_NOT_DEFINED, ""}, FailureCase{-1, ""}));

TEST_F(MonitoringService, MakesAPassInOrderAndTouchesNoDeadlockCounter)
{
    ConfigurationMgr& config = UseNotedManagers();
    config.mPollInterval = 600;
    mResults = {15};
    (void)RunWorker();
    EXPECT_THAT(gCalls, ElementsAre("name table", "id table", "CPU adds", "Memory adds", "CPU evaluates",
                                    "Memory evaluates", "sleep 600", "load, read anew 1"));
}

/** A manager that notes the log at the time of its calls. */
class LogWatcher : public NotedManager
{
public:
    LogWatcher(std::string messageStr, std::function<Lines()> getLog)
        : NotedManager(std::move(messageStr)), mGetLog(std::move(getLog))
    {}
    void AddCounterToMonitor(std::map<std::string, int>& /*processes*/, std::string /*prefix*/,
                             std::string /*suffix*/) override
    {
        mWhileAdding = mGetLog();
    }
    void HandleThresholdBreach() override { mWhileEvaluating = mGetLog(); }

    Lines mWhileAdding;
    Lines mWhileEvaluating;

private:
    std::function<Lines()> mGetLog;
};

TEST_F(MonitoringService, SaysThatItMonitorsBetweenTheAddingAndTheEvaluation)
{
    ConfigurationMgr& config = UseNotedManagers();
    auto* const cpu = new LogWatcher("CPU", GetLogLines);
    auto* const memory = new LogWatcher("Memory", GetLogLines);
    delete std::exchange(config.mCPUCounterMgr, cpu);
    delete std::exchange(config.mMemoryCounterMgr, memory);
    mResults = {15};
    (void)RunWorker();
    EXPECT_THAT(memory->mWhileAdding, IsEmpty());
    EXPECT_THAT(cpu->mWhileEvaluating, ElementsAre(MONITORING));
    EXPECT_THAT(memory->mWhileEvaluating, ElementsAre(MONITORING));
}

TEST_F(MonitoringService, ReadsTheStoreAnewOnEveryPassAndSleepsByItsInterval)
{
    ConfigurationMgr& config = UseNotedManagers();
    config.mPollInterval = 3;
    std::vector<int> intervals = {7, 2147483647, 1};
    GetConfigurationSeam().mRead = [&] {
        if (intervals.empty()) {
            return 101;
        }
        config.mPollInterval = intervals.front();
        intervals.erase(intervals.begin());
        return 0;
    };
    (void)RunWorker();
    Lines sleeps;
    std::copy_if(gCalls.begin(), gCalls.end(), std::back_inserter(sleeps),
                 [](const std::string& call) { return call.find("sleep") == 0; });
    EXPECT_THAT(sleeps, ElementsAre("sleep 3", "sleep 7", "sleep 2147483647", "sleep 1"));
    EXPECT_EQ(GetStore().mForcedReads, 4);
    const Lines log = GetLogLines();
    EXPECT_EQ(std::count(log.begin(), log.end(), MONITORING), 4); // once a pass
}

class Purge : public MonitoringService, public testing::WithParamInterface<int>
{
};

TEST_P(Purge, RunsOnceBeforeTheFirstPassUnlessItIsOff)
{
    ConfigurationMgr& config = UseNotedManagers();
    config.mPurgeOldEvidence = GetParam();
    config.mEvidencePath = "/evidence/thsentinel";
    mResults = {0, 0, 15};
    (void)RunWorker();
    EXPECT_EQ(std::count(gCalls.begin(), gCalls.end(), "clean /evidence/thsentinel"),
              GetParam() == 0 ? 0 : 1);
    EXPECT_EQ(gCalls.front(), GetParam() == 0 ? "name table" : "clean /evidence/thsentinel");
    EXPECT_EQ(std::count(gCalls.begin(), gCalls.end(), "name table"), 3);
}

INSTANTIATE_TEST_SUITE_P(MonitoringService, Purge, testing::Values(0, 1, -1));

TEST_F(MonitoringService, MakesNoPassOnceItWasStoppedUntilItsFlagIsSetAgain)
{
    (void)UseNotedManagers();
    EXPECT_EQ(StopMonitoringActivity(), 0);
    const ServiceThreadStatus stopped = RunWorker();
    EXPECT_THAT(gCalls, IsEmpty());
    EXPECT_EQ(stopped.mAlive, 1);
    EXPECT_EQ(THJobPerfMonSvc("any name"), 0);
    EXPECT_EQ(THJobPerfMonSvc(nullptr), 0);
    mResults = {15};
    EXPECT_EQ(RunWorker().mAlive, 0);
    EXPECT_EQ(gCalls.front(), "name table");
}

TEST_F(MonitoringService, EndsAfterThePassInWhichAStopComes)
{
    (void)UseNotedManagers();
    GetSeams().mSleep = [](unsigned) {
        (void)StopMonitoringActivity();
        return 1U;
    };
    mResults = {0, 0};
    const ServiceThreadStatus status = RunWorker();
    EXPECT_EQ(status.mResult, 0);
    EXPECT_EQ(status.mAlive, 1);
    EXPECT_EQ(gCalls.back(), "load, read anew 1"); // of the one pass
}

TEST_F(MonitoringService, StopsInOrder)
{
    ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    config.mThreadMap[7] = nullptr;
    config.mLogLevelMap["tbrd"] = {1, 6};
    Lines logAtRestore;
    mDuringLine = [&] { logAtRestore = GetLogLines(); };
    EXPECT_EQ(StopMonitoringActivity(), 0);
    EXPECT_THAT(gCalls, ElementsAre("close 7", "\"/usr/tarnv/tarnhaven/bin/txlogcfg\" -a -p TH -o tbrd"
                                               " -s DebugLevel=1 -s DiagnosticLevel=6"));
    EXPECT_THAT(logAtRestore, ElementsAre(CLEANING, RESETTING));
    EXPECT_THAT(GetLogLines(), ElementsAre(CLEANING, RESETTING, STOPPED));
    EXPECT_THAT(GetSystemLog(), ElementsAre("6 " + std::string(STOPPED)));
}

TEST_F(MonitoringService, LeavesTheHelperAloneWhenItStopsWithoutThreadsAndLevels)
{
    EXPECT_EQ(StopMonitoringActivity(), 0);
    EXPECT_THAT(gCalls, IsEmpty());
    EXPECT_THAT(mScript.mLines, IsEmpty());
}

TEST_F(MonitoringService, RepeatsEverythingWhenItStopsTwice)
{
    ConfigurationMgr::GetInstance()->mLogLevelMap["tbrd"] = {1, 6};
    EXPECT_EQ(StopMonitoringActivity(), 0);
    EXPECT_EQ(StopMonitoringActivity(), 0);
    EXPECT_THAT(GetLogLines(), ElementsAre(CLEANING, RESETTING, STOPPED, CLEANING, RESETTING, STOPPED));
    EXPECT_EQ(GetSystemLog().size(), 2U);
    EXPECT_EQ(mScript.mLines.size(), 2U);
}
