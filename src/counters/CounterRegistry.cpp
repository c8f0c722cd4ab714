#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "counters/BreachTexts.h"
#include "counters/CounterMgr.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFactoryMethod.h"

#include <iterator>
#include <memory>
#include <new>

namespace
{
constexpr std::size_t LABEL_SIZE = 64;
}

/** One configured name, and what its counters are made from. */
struct CounterMgr::Registration
{
    std::string mConfiguredName;
    std::string mProcessName; ///< in the process tables
    std::string mJavaMarker;  ///< mark on the command line of a Java process
    bool mIsJava;
    std::string mPrefix;
    std::string mSuffix;

    std::string GetCounterName(int pid) const
    {
        return mPrefix + FormatBounded(LABEL_SIZE, "%s#%d", mProcessName.c_str(), pid) + mSuffix;
    }
};

void CounterMgr::AddCounterHelper(std::string processName, std::string counterNamePrefix,
                                  std::string counterNameSuffix)
{
    CleanUpStaleCounters();
    const std::unique_ptr<HelperFunctionInterface> helper(GetHelperFunctionInstance());
    if (!helper) {
        WriteLogLine(logFileMtx, "Error: Failed to get the helper object.\n");
        return;
    }
    const ConfigurationMgr* const config = ConfigurationMgr::GetInstance();
    Registration registration = {processName, processName, "", false, counterNamePrefix, counterNameSuffix};
    const auto javaProcess = config->mJavaProcessMap.find(processName);
    if (javaProcess != config->mJavaProcessMap.end()) {
        helper->GetJavaProcessOSName(registration.mProcessName);
        registration.mJavaMarker = javaProcess->second;
        registration.mIsJava = true;
    }
    const auto [first, last] = config->mProcessNameAndProcessIDMap.equal_range(registration.mProcessName);
    WriteVerboseLine(logFileMtx, "Inside CounterMgr::AddCounterHelper() for %s processes.\n",
                     mMessageStr.c_str());
    WriteVerboseLine(logFileMtx, "GetProcessNameAndProcessIDMap.count(%s) : %lu \n",
                     AppendBinExt(registration.mProcessName).c_str(),
                     static_cast<unsigned long>(std::distance(first, last)));
    for (auto entry = first; entry != last; ++entry) {
        if (!AddCounter(*helper, registration, entry->second)) {
            return;
        }
    }
}

/** False when there is no memory for a counter; the next pass tries the rest of the processes. */
bool CounterMgr::AddCounter(HelperFunctionInterface& helper, const Registration& registration, int pid)
{
    LogLookUp(registration, pid);
    if (mProcessIDAndCouterMap.count(pid) != 0) {
        return true; // a counter stays as it is
    }
    std::unique_ptr<Counter> counter(new (std::nothrow) Counter);
    if (!counter) {
        WriteLogLine(logFileMtx, "Error: Failed to allocate memory for Counter object.\n");
        return false;
    }
    const std::string counterName = registration.GetCounterName(pid);
    WriteLogLine(logFileMtx, "CounterName %s\n", counterName.c_str());
    counter->mIsActive = true;
    counter->mCounterIndex = pid;
    counter->mCounterName = counterName;
    counter->mProcessName = registration.mProcessName;
    counter->mIsJavaProcess = registration.mIsJava;
    if (registration.mIsJava) {
        counter->mJavaProcessName = registration.mConfiguredName;
        if (!IsExpectedJavaProcess(helper, registration, pid)) {
            return true; // Intentional: tried again on every pass, as the marked process may come later
        }
    }
    mProcessIDAndCouterMap.emplace(pid, counter.release());
    WriteLogLine(logFileMtx, COUNTER_ADDED_TEXT, mMessageStr.c_str(), registration.mProcessName.c_str(), pid,
                 counterName.c_str());
    return true;
}

bool CounterMgr::IsExpectedJavaProcess(HelperFunctionInterface& helper, const Registration& registration,
                                       int pid) const
{
    const int javaPid = helper.GetTarnhavenJavaProcesses(registration.mJavaMarker);
    if (javaPid == pid) {
        return true;
    }
    WriteLogLine(logFileMtx,
                 "Skipping the add of counter as pid not matching with counter index. PID - %d : counter "
                 "Index %d\n",
                 javaPid, pid);
    return false;
}

void CounterMgr::LogLookUp(const Registration& registration, int pid) const
{
    if (!IsVerbose()) {
        return;
    }
    PrintProcessIDAndCouterMap();
    const auto entry = mProcessIDAndCouterMap.find(pid);
    const bool isFound = entry != mProcessIDAndCouterMap.end();
    WriteLogLine(logFileMtx, "Finding process id %d inside mProcessIDAndCouterMap and %s.\n", pid,
                 isFound ? "Found" : "Not Found");
    if (isFound) {
        WriteLogLine(logFileMtx,
                     "%s counter already added for process %s with PID - %d with index : %d : %s\n",
                     mMessageStr.c_str(), AppendBinExt(registration.mProcessName).c_str(), pid,
                     entry->second->mCounterIndex, entry->second->mCounterName.c_str());
    }
}

void CounterMgr::PrintProcessIDAndCouterMap() const
{
    for (const auto& [pid, counter] : mProcessIDAndCouterMap) {
        WriteLogLine(logFileMtx, "<%d(For %s) : %s (index : %d) >\n", pid, mMessageStr.c_str(),
                     counter->mProcessName.c_str(), counter->mCounterIndex);
    }
}
