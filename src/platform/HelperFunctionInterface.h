#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

/**
 * All that depends on the operating system.
 *
 * Objects come from GetHelperFunctionInstance() and aren't shared between threads, apart from the one that
 * ConfigurationMgr keeps. Unless an operation says otherwise it may be called on any thread, reports no error
 * beyond its result, and passes process ids as int. The order of the operations is the order of their slots:
 * new ones go to the end.
 */
class HelperFunctionInterface
{
public:
    enum THPM_ACTION_TYPE : int
    {
        THPM_ACTION_INSTALL = 0, ///< for PostCheckForAction
        THPM_ACTION_RUN = 1      ///< for PreCheckForAction
    };

    /** Levels of the system log. THPM_SYS_LOG_DEBUG and all higher numbers are debug. */
    enum THPM_SYS_LOG_LEVEL : int
    {
        THPM_SYS_LOG_ERROR = 0,
        THPM_SYS_LOG_WARNING = 1,
        THPM_SYS_LOG_INFO = 2,
        THPM_SYS_LOG_DEBUG = 3
    };

    virtual ~HelperFunctionInterface() {}

    // ---- Text

    /**
     * `text` without leading and trailing blanks (0x20 alone). A text of nothing but blanks comes back
     * unchanged.
     */
    virtual std::string trim(const std::string& text) = 0;

    /** True when the two texts DIFFER with case ignored, in the manner of strcmp. */
    virtual bool CompareIgnoreCase(std::string first, std::string second) = 0;

    /** Lower-cases `text` in place. */
    virtual void ToLowerCase(std::string& text) = 0;

    // ---- Shell lines

    /** Runs a shell line and returns its standard output; its status is dropped. */
    virtual std::string ExecuteCommand(const char* command) = 0;

    /**
     * Runs a shell line and waits for its end.
     * @param output  receives the standard output, without limit; emptied first
     * @return the raw status as pclose gives it (an exit code times 256), or errno if no pipe could be
     * opened. Only 0 means success: the other values may be a status or an errno.
     */
    virtual int ExecuteCommandWithRc(const char* command, std::string& output) = 0;

    // ---- Actions of the command line

    /**
     * The check before an action: for THPM_ACTION_RUN the result of reading the configuration, else 0.
     */
    virtual int PreCheckForAction(THPM_ACTION_TYPE type) = 0;

    /** The step after an action: for THPM_ACTION_INSTALL a note on the console. Always 0. */
    virtual int PostCheckForAction(THPM_ACTION_TYPE type) = 0;

    // ---- Machine and processes

    /** Number of processors by /proc/cpuinfo, asked for again as long as it is 0. */
    virtual int GetCPUCount() = 0;

    /** MemTotal of /proc/meminfo in kilobytes, asked for again as long as it is 0. */
    virtual std::int64_t GetTotalSizeOfMemoryInKB() = 0;

    /** 0 for any argument. */
    virtual int FindProcessId(const std::string& processName) = 0;

    /**
     * Refills `table` (base name to process id) from the process listing, monitored names only. Worker
     * thread.
     */
    virtual void PopulateProcessNameAndProcessIDMap(std::multimap<std::string, int>& table) = 0;

    /** Refills `table` (process id to base name) from the process listing. Worker thread. */
    virtual void PopulateProcessIDAndProcessNameMap(std::map<int, std::string>& table) = 0;

    // ---- Evidence

    /**
     * Takes a core image with gcore on the calling thread and waits for it.
     * @param eventText  not used
     * @return 0 in all cases; the outcome is a line of the diagnostic log
     */
    virtual int TakeMemorySnapshotAndDump(std::string processName, int pid, std::string eventText,
                                          std::string counterLabel) = 0;

    /**
     * Makes the evidence folders of a process and appends the path of a new evidence file to `outputPath`.
     * @param folderName    first folder below the evidence root, used unchanged
     * @param counterLabel  end of the file's name, before the suffix
     * @param outputPath    passed empty; unchanged when a folder can't be made
     * @param fileSuffix    suffix without its dot, empty for none
     */
    virtual void GenerateFileName(std::string folderName, int pid, std::string counterLabel,
                                  std::string& outputPath, std::string fileSuffix) = 0;

    /** Starts TakeMemorySnapshotAndDump on a thread of its own. True when the thread runs. */
    virtual bool CreateProcessDump(std::string processName, int pid, std::string eventText,
                                   std::string counterLabel) = 0;

    /** Starts iostat and mpstat in the background. `counters` isn't used. Returns at once. */
    virtual void CaptureDiskPerformanceCounters(std::string processName, int pid,
                                                std::vector<std::string> counters, std::string counterLabel,
                                                std::string javaProcessName) = 0;

    /** Runs the script of mCustomScriptPath on a thread of its own. No breach starts it yet. Returns at once.
     */
    virtual void ExecuteCustomScript(std::string processName, int pid, std::string counterLabel,
                                     std::string javaProcessName) = 0;

    /** Collects memory map, status and stack of the process on a thread of its own. Returns at once. */
    virtual void CaptureProcessSpecificData(std::string processName, int pid, std::string counterLabel,
                                            std::string javaProcessName) = 0;

    /** Runs ExecuteNetStat on a thread of its own. `counters` isn't used. Returns at once. */
    virtual void CaptureNetworkPerformance(std::string processName, int pid,
                                           std::vector<std::string> counters, std::string counterLabel,
                                           std::string javaProcessName) = 0;

    /** Runs the netstat lines one after the other into one evidence file. Returns when the last has ended. */
    virtual void ExecuteNetStat(std::string processName, int pid, std::string counterLabel,
                                std::string javaProcessName) = 0;

    /** Samples the memory tools on a thread of its own. `counters` isn't used. Returns at once. */
    virtual void MemoryPerformanceCounters(std::string processName, int pid,
                                           std::vector<std::string> counters, std::string counterLabel,
                                           std::string javaProcessName) = 0;

    /** Removes the empty folder of a process below the folder of the diagnostic log. */
    virtual void RemoveDir(std::string folderName, int pid) = 0;

    /**
     * Raises the product's log levels for a process, once in a run of the service, and waits for the tool.
     * Worker thread.
     */
    virtual void IncreaseLogging(std::string processName) = 0;

    /** Does nothing. */
    virtual void SendEmailNotification(std::string subject, std::string processName, int pid,
                                       unsigned long long threshold, unsigned long long usage,
                                       std::string unit, bool breached) = 0;

    // ---- Java and liveness

    /** Process id of the first listed process whose command line holds `marker`, or -1. Worker thread. */
    virtual int GetTarnhavenJavaProcesses(std::string marker) = 0;

    /** True when the id table has the id. The table is as old as its last refresh. Worker thread. */
    virtual bool isProcessAlive(int pid) = 0;

    /**
     * Takes a heap dump and then a thread dump with jcmd on a thread of its own.
     * @param javaProcessName  configured name, folder of the evidence
     * @param jdkHome          folder above bin/jcmd
     * @return true when the thread runs
     */
    virtual bool CreateJavaProcessDump(std::string javaProcessName, std::string jdkHome, int pid,
                                       std::string counterLabel) = 0;

    /** Sets `name` to the name under which all Java processes stand in the process tables. */
    virtual void GetJavaProcessOSName(std::string& name) = 0;

    // ---- System services

    /** Writes one entry to the system log, which the daemon has opened. */
    virtual void WriteLogToSystem(std::string text, THPM_SYS_LOG_LEVEL level) = 0;

    /** Cancels a thread and joins it. Both results are ignored. */
    virtual void CloseRunningThread(unsigned long threadId) = 0;

    /**
     * One mkdir with mode 0755 (octal), of the last folder alone. True on success and when something of that
     * name exists. The flag isn't used.
     */
    virtual bool HF_CreateDir(std::string path, bool recursive) = 0;

    /** fopen into `*file`, which the caller closes. False when that fails or `file` is null. */
    virtual bool HF_OpenFileInMode(FILE** file, std::string path, std::string mode) = 0;

    /** True when `stat` succeeds. */
    virtual bool HF_IsFileExist(std::string path) = 0;

    /** The shell line that cleans a folder, at most 255 characters, the path unquoted. */
    virtual std::string HF_CommandToCleanFolder(std::string path) = 0;

    /**
     * True when `stat` succeeds and the mode has the S_IFDIR bit, which block devices and sockets have too.
     */
    virtual bool HF_DoesFolderExist(const std::string& path) = 0;
};

/** True when the helper finds two texts the same but for their case. */
inline bool IsSameText(HelperFunctionInterface& helper, const std::string& first, const std::string& second)
{
    return !helper.CompareIgnoreCase(first, second);
}
