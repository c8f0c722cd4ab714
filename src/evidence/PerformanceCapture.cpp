#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/SharedSetting.h"
#include "evidence/CaptureSections.h"
#include "evidence/CaptureThread.h"
#include "evidence/SnapshotData.h"
#include "platform/CommandPath.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

#include <span>

#include <unistd.h>

namespace
{
constexpr std::size_t ARGUMENTS_SIZE = 64;

const std::string& GetFolderName(const std::string& processName, const std::string& javaProcessName)
{
    return javaProcessName.empty() ? processName : javaProcessName;
}

void StartPerformanceCapture(UnixHelperFunction& helper, ThreadFunction body, const CaptureTexts& texts,
                             const std::string& processName, int pid, const std::string& counterLabel,
                             const std::string& javaProcessName)
{
    auto record = std::make_unique<SnapshotData>(processName, pid, counterLabel);
    record->mJavaProcessName = javaProcessName;
    (void)StartCapture(helper, logFileMtx, body, std::move(record), texts,
                       {GetCaptureSubject(GetFolderName(processName, javaProcessName), pid)});
}

/** The body of a performance capture: the worker with the values of the record, then the done line. */
template <typename Helper>
void* RunPerformanceCapture(void* data, Helper* (*factory)(),
                            void (Helper::*worker)(std::string, int, std::string, std::string),
                            const char* doneText)
{
    return RunCapture<SnapshotData>(data, factory, [=](Helper& helper, const SnapshotData& record) {
        (helper.*worker)(record.mProcessName, record.mPid, record.mCounterType, record.mJavaProcessName);
        WriteVerboseLine(logFileMtx, "%s", doneText);
    });
}

void CollectSections(UnixHelperFunction& helper, const CmdPath& tools, std::span<const Section> sections,
                     const std::string& file, int pid)
{
    for (const Section& section : sections) {
        helper.CollectCommandData(file, tools.*section.mTool, section.mArguments,
                                  section.mIsFilteredByPid ? pid : NO_FILTER);
    }
}
} // namespace

void UnixHelperFunction::MemoryPerformanceCounters(std::string processName, int pid,
                                                   std::vector<std::string> /*counters*/,
                                                   std::string counterLabel, std::string javaProcessName)
{
    StartPerformanceCapture(*this, ThreadMemoryPerformance, MEMORY_TEXTS, processName, pid, counterLabel,
                            javaProcessName);
}

void UnixHelperFunction::CaptureNetworkPerformance(std::string processName, int pid,
                                                   std::vector<std::string> /*counters*/,
                                                   std::string counterLabel, std::string javaProcessName)
{
    StartPerformanceCapture(*this, ThreadNetworkPerformance, NETWORK_TEXTS, processName, pid, counterLabel,
                            javaProcessName);
}

void UnixHelperFunction::CaptureDiskPerformanceCounters(std::string processName, int pid,
                                                        std::vector<std::string> /*counters*/,
                                                        std::string counterLabel, std::string javaProcessName)
{
    StartPerformanceCapture(*this, ThreadCaptureDiskPerformanceData, DISK_TEXTS, processName, pid,
                            counterLabel, javaProcessName);
}

void UnixHelperFunction::CaptureProcessSpecificData(std::string processName, int pid,
                                                    std::string counterLabel, std::string javaProcessName)
{
    StartPerformanceCapture(*this, ThreadProcessSpecificData, PROCESS_TEXTS, processName, pid, counterLabel,
                            javaProcessName);
}

void* ThreadMemoryPerformance(void* data)
{
    return RunPerformanceCapture(data, GetUnixHelperFunctionInstance, &UnixHelperFunction::ExecuteMemStat,
                                 MEMORY_DONE_TEXT);
}

void* ThreadNetworkPerformance(void* data)
{
    return RunPerformanceCapture(data, GetHelperFunctionInstance, &HelperFunctionInterface::ExecuteNetStat,
                                 NETWORK_DONE_TEXT);
}

void* ThreadCaptureDiskPerformanceData(void* data)
{
    // Intentional: the worker doesn't wait for its tools, so despite its text the line means that they were
    // started.
    return RunPerformanceCapture(data, GetUnixHelperFunctionInstance, &UnixHelperFunction::ExecuteDiskStat,
                                 DISK_DONE_TEXT);
}

void* ThreadProcessSpecificData(void* data)
{
    return RunPerformanceCapture(data, GetUnixHelperFunctionInstance,
                                 &UnixHelperFunction::ExecuteProcessSpecificCmd, PROCESS_DONE_TEXT);
}

void UnixHelperFunction::ExecuteNetStat(std::string processName, int pid, std::string counterLabel,
                                        std::string javaProcessName)
{
    std::string file;
    GenerateFileName(GetFolderName(processName, javaProcessName), pid, counterLabel, file,
                     NETWORK_FILE_SUFFIX);
    CollectSections(*this, *mCmdPath, NETWORK_SECTIONS, file, pid);
}

void UnixHelperFunction::ExecuteMemStat(std::string processName, int pid, std::string counterLabel,
                                        std::string javaProcessName)
{
    // Read once, so that a reload during the readings doesn't change them.
    const int interval = GetSharedNumber(ConfigurationMgr::GetInstance()->mReadingInterval);
    const int count = GetSharedNumber(ConfigurationMgr::GetInstance()->mNumberOfReadings);
    std::string file;
    GenerateFileName(GetFolderName(processName, javaProcessName), pid, counterLabel, file,
                     MEMORY_FILE_SUFFIX);
    for (int reading = 1; reading <= count; ++reading) {
        CollectSections(*this, *mCmdPath, MEMORY_SECTIONS, file, pid);
        (void)sleep(static_cast<unsigned int>(interval)); // a signal may cut it short
    }
}

void UnixHelperFunction::ExecuteDiskStat(std::string processName, int pid, std::string counterLabel,
                                         std::string javaProcessName)
{
    const int interval = GetSharedNumber(ConfigurationMgr::GetInstance()->mReadingInterval);
    const int count = GetSharedNumber(ConfigurationMgr::GetInstance()->mNumberOfReadings);
    const std::string& folderName = GetFolderName(processName, javaProcessName);
    std::string files[std::size(DISK_TOOLS)];
    for (std::size_t tool = 0; tool < std::size(DISK_TOOLS); ++tool) {
        GenerateFileName(folderName, pid, counterLabel, files[tool], DISK_TOOLS[tool].mFileSuffix);
    }
    for (std::size_t tool = 0; tool < std::size(DISK_TOOLS); ++tool) {
        CollectCommandDataInBackground(
            files[tool], mCmdPath->*DISK_TOOLS[tool].mTool,
            FormatBounded(ARGUMENTS_SIZE, DISK_TOOLS[tool].mArguments, interval, count), NO_FILTER);
    }
}

void UnixHelperFunction::ExecuteProcessSpecificCmd(std::string processName, int pid, std::string counterLabel,
                                                   std::string javaProcessName)
{
    std::string file;
    GenerateFileName(GetFolderName(processName, javaProcessName), pid, counterLabel, file,
                     PROCESS_FILE_SUFFIX);
    for (const ProcessSection& section : PROCESS_SECTIONS) {
        CollectCommandData(file, mCmdPath->*section.mTool,
                           section.mBeforePid + std::to_string(pid) + section.mAfterPid, NO_FILTER);
    }
}
