#include "counters/CounterFixture.h"

#include "platform/THUEnv.h"

#include <filesystem>

namespace
{
std::string Show(const std::vector<std::string>& counters)
{
    return counters.empty() ? "no counters" : "counters";
}

template <typename Argument>
const Argument& Show(const Argument& argument)
{
    return argument;
}
} // namespace

EvidenceHelper::EvidenceHelper(EvidenceRecord& record) : ScriptedHelper(record.mScript), mRecord(record)
{
    ++mRecord.mHelpersMade;
    ++mRecord.mHelpersAlive;
}

EvidenceHelper::~EvidenceHelper()
{
    --mRecord.mHelpersAlive;
}

template <typename... Arguments>
void EvidenceHelper::Note(const char* action, const Arguments&... arguments)
{
    int& number = ConfigurationMgr::GetInstance()->mCurrentEvidenceNumber;
    std::ostringstream text;
    text << "#" << number << " " << action;
    ((text << " | " << Show(arguments)), ...);
    mRecord.mActions.push_back(text.str());
    number = -1; // so that an action shows whether the number was stored anew before it
    if (mRecord.mOnAction) {
        mRecord.mOnAction();
    }
}

int EvidenceHelper::GetTarnhavenJavaProcesses(std::string marker)
{
    mRecord.mJavaMarkers.push_back(marker);
    const auto entry = mRecord.mJavaPids.find(marker);
    return entry == mRecord.mJavaPids.end() ? -1 : entry->second;
}

bool EvidenceHelper::CreateProcessDump(std::string processName, int pid, std::string eventText,
                                       std::string counterLabel)
{
    Note("CreateProcessDump", processName, pid, eventText, counterLabel);
    return mRecord.mResult;
}

bool EvidenceHelper::CreateJavaProcessDump(std::string javaProcessName, std::string jdkHome, int pid,
                                           std::string counterLabel)
{
    Note("CreateJavaProcessDump", javaProcessName, jdkHome, pid, counterLabel);
    return mRecord.mResult;
}

void EvidenceHelper::MemoryPerformanceCounters(std::string processName, int pid,
                                               std::vector<std::string> counters, std::string counterLabel,
                                               std::string javaProcessName)
{
    Note("MemoryPerformanceCounters", processName, pid, counters, counterLabel, javaProcessName);
}

void EvidenceHelper::CaptureNetworkPerformance(std::string processName, int pid,
                                               std::vector<std::string> counters, std::string counterLabel,
                                               std::string javaProcessName)
{
    Note("CaptureNetworkPerformance", processName, pid, counters, counterLabel, javaProcessName);
}

void EvidenceHelper::CaptureDiskPerformanceCounters(std::string processName, int pid,
                                                    std::vector<std::string> counters,
                                                    std::string counterLabel, std::string javaProcessName)
{
    Note("CaptureDiskPerformanceCounters", processName, pid, counters, counterLabel, javaProcessName);
}

void EvidenceHelper::CaptureProcessSpecificData(std::string processName, int pid, std::string counterLabel,
                                                std::string javaProcessName)
{
    Note("CaptureProcessSpecificData", processName, pid, counterLabel, javaProcessName);
}

void EvidenceHelper::ExecuteCustomScript(std::string processName, int pid, std::string counterLabel,
                                         std::string javaProcessName)
{
    Note("ExecuteCustomScript", processName, pid, counterLabel, javaProcessName);
}

void EvidenceHelper::IncreaseLogging(std::string processName)
{
    Note("IncreaseLogging", processName);
}

void CounterFixture::SetUp()
{
    ConfigurationFixture::SetUp();
    GetHelperSeam().mMake = [this] { return new EvidenceHelper(mRecord); };
}

void CounterFixture::TearDown()
{
    EXPECT_EQ(mRecord.mHelpersAlive, 0) << "a helper was not freed";
    ConfigurationFixture::TearDown();
}

void CounterFixture::Run(const std::string& processName, int pid)
{
    mConfig->mProcessNameAndProcessIDMap.emplace(processName, pid);
    mConfig->mProcessIDAndProcessNameMap.emplace(pid, processName);
}

void CounterFixture::End(int pid)
{
    std::erase_if(mConfig->mProcessNameAndProcessIDMap,
                  [pid](const auto& entry) { return entry.second == pid; });
    mConfig->mProcessIDAndProcessNameMap.erase(pid);
}

void CounterFixture::LoseLog()
{
    std::filesystem::remove_all(GetTHPerfMonLogPath());
}
