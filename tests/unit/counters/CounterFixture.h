#pragma once

#include "config/ConfigurationMgr.h"
#include "counters/Counter.h"
#include "counters/CounterMgr.h"
#include "support/ConfigurationFixture.h"
#include "support/HelperSeam.h"
#include "support/ScriptedHelper.h"

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

/** What helpers were asked for while counters were added and evaluated; all helpers share it. */
struct EvidenceRecord
{
    /** "#<number of the evidence> <action> | <arguments>", in the order in which the actions came. */
    std::vector<std::string> mActions;
    std::vector<std::string> mJavaMarkers; ///< marks that were looked for
    std::map<std::string, int> mJavaPids;  ///< process id by mark; -1 for others
    std::function<void()> mOnAction;       ///< called with each action
    bool mResult = true;                   ///< what the dump actions answer
    int mHelpersMade = 0;
    int mHelpersAlive = 0;
    HelperScript mScript;
};

/** Notes the evidence actions in place of starting them. */
class EvidenceHelper : public ScriptedHelper<>
{
public:
    explicit EvidenceHelper(EvidenceRecord& record);
    ~EvidenceHelper() override;

    int GetTarnhavenJavaProcesses(std::string marker) override;
    bool CreateProcessDump(std::string processName, int pid, std::string eventText,
                           std::string counterLabel) override;
    bool CreateJavaProcessDump(std::string javaProcessName, std::string jdkHome, int pid,
                               std::string counterLabel) override;
    void MemoryPerformanceCounters(std::string processName, int pid, std::vector<std::string> counters,
                                   std::string counterLabel, std::string javaProcessName) override;
    void CaptureNetworkPerformance(std::string processName, int pid, std::vector<std::string> counters,
                                   std::string counterLabel, std::string javaProcessName) override;
    void CaptureDiskPerformanceCounters(std::string processName, int pid, std::vector<std::string> counters,
                                        std::string counterLabel, std::string javaProcessName) override;
    void CaptureProcessSpecificData(std::string processName, int pid, std::string counterLabel,
                                    std::string javaProcessName) override;
    void ExecuteCustomScript(std::string processName, int pid, std::string counterLabel,
                             std::string javaProcessName) override;
    void IncreaseLogging(std::string processName) override;

private:
    template <typename... Arguments>
    void Note(const char* action, const Arguments&... arguments);

    EvidenceRecord& mRecord;
};

/** A manager with its maps open to the test. */
template <typename Base = CounterMgr>
class OpenMgr : public Base
{
public:
    using Base::Base;
    using Base::mProcessesRegisteredMonitoring;
    using Base::mProcessIDAndCouterMap;
    using Base::mSpareFlag1;
    using Base::mSpareFlag2;
    using Base::mSpareFlag3;

    /** A counter as the registry makes it; a Java process stands under "java" and has a configured name. */
    Counter& Add(int pid, const std::string& processName, const std::string& javaProcessName = "")
    {
        auto* const counter = new Counter;
        counter->mCounterIndex = pid;
        counter->mProcessName = processName;
        counter->mIsJavaProcess = !javaProcessName.empty();
        counter->mJavaProcessName = javaProcessName;
        counter->mCounterName = processName + "#" + std::to_string(pid);
        mProcessIDAndCouterMap[pid] = counter;
        return *counter;
    }
};

/** A manager whose readings come from the test; 0.0 without a source. */
class ReadingMgr : public OpenMgr<>
{
public:
    using OpenMgr::OpenMgr;

    double ReadCounterIndexValue(Counter* counter) override { return mRead ? mRead(*counter) : 0.0; }

    /** Makes one pass with this reading for every counter. */
    void Pass(double reading)
    {
        mRead = [reading](const Counter&) { return reading; };
        HandleThresholdBreach();
    }

    std::function<double(const Counter&)> mRead;
};

/** A test of counters: every helper that the program makes is an EvidenceHelper, and all are freed. */
class CounterFixture : public ConfigurationFixture
{
protected:
    void SetUp() override;
    void TearDown() override;

    /** A process that both process tables hold. */
    void Run(const std::string& processName, int pid);

    /** A process that has left both tables. */
    void End(int pid);

    /** From now on no line can be written. */
    static void LoseLog();

    EvidenceRecord mRecord;
};
