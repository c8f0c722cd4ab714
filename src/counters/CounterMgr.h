#pragma once

#include "counters/Counter.h"

#include <map>
#include <string>

class HelperFunctionInterface;

/**
 * The counters of one resource. Managers live as long as ConfigurationMgr; once the service runs, only the
 * worker thread calls them. The order of the virtual operations is the order of their slots: new ones go to
 * the end.
 */
class CounterMgr
{
public:
    /** @param messageStr  label of the resource: heads log lines and names the evidence files */
    explicit CounterMgr(std::string messageStr);
    virtual ~CounterMgr();
    CounterMgr(const CounterMgr&) = delete;
    CounterMgr& operator=(const CounterMgr&) = delete;

    /** AddCounterHelper for each name of `processes`, in the order of the names. */
    virtual void AddCounterToMonitor(std::map<std::string, int>& processes, std::string counterNamePrefix,
                                     std::string counterNameSuffix);

    /**
     * Removes stale counters, then adds a counter for each listed process of that configured name that has
     * none.
     */
    virtual void AddCounterHelper(std::string processName, std::string counterNamePrefix,
                                  std::string counterNameSuffix);

    /**
     * Takes one reading for every counter, adds it to the window, and on a breach reports it and starts the
     * captures.
     */
    virtual void HandleThresholdBreach();

    /** The use of the resource now, in the unit of the manager; 0.0 here and when the reading fails. */
    virtual double ReadCounterIndexValue(Counter* counter);

    /** Configured process name to threshold, filled by the load. */
    virtual std::map<std::string, int>& GetProcessesRegisteredMonitoring();

    /** The label. */
    virtual std::string& GetMessageStr();

    /** Removes the counters whose process ids have left the id table. */
    virtual void CleanUpStaleCounters();

    /** 0.0. Nothing calls it. */
    virtual double GetCounterValueFromOS(int index);

    /** Logs the counters in the order of their process ids. */
    void PrintProcessIDAndCouterMap() const;

protected:
    std::map<std::string, int> mProcessesRegisteredMonitoring;
    std::map<int, Counter*> mProcessIDAndCouterMap; ///< by process id; owns the counters
    std::string mMessageStr;
    bool mSpareFlag1;
    bool mSpareFlag2;
    bool mSpareFlag3;

private:
    struct Registration;
    struct Evaluation;

    bool AddCounter(HelperFunctionInterface& helper, const Registration& registration, int pid);
    void LogLookUp(const Registration& registration, int pid) const;
    bool IsExpectedJavaProcess(HelperFunctionInterface& helper, const Registration& registration,
                               int pid) const;

    void Evaluate(HelperFunctionInterface& helper, Counter& counter, bool isUnitAbsolute);
    std::string GetUnit(HelperFunctionInterface& helper, bool isUnitAbsolute) const;
    void MoveWindow(Counter& counter, const Evaluation& evaluation) const;
    void Fire(HelperFunctionInterface& helper, Counter& counter, const Evaluation& evaluation) const;
    void ReportBreach(HelperFunctionInterface& helper, const Counter& counter,
                      const Evaluation& evaluation) const;
    void StartCaptures(HelperFunctionInterface& helper, const Counter& counter,
                       const std::string& eventText) const;
    void StartDump(HelperFunctionInterface& helper, const Counter& counter,
                   const std::string& eventText) const;
};
