#pragma once

#include "platform/HelperFunctionInterface.h"

class CmdPath;

/** Body of a thread: takes the record that it owns, returns null. */
using ThreadFunction = void* (*)(void*);

/**
 * The helper of Linux hosts.
 *
 * It asks the machine through shell lines of the tools in mCmdPath. Operations call one another through the
 * virtual table, so that a variant's override takes effect everywhere. Each is implemented where its data
 * lives: text, shell lines, files and threads here in platform/; process tables, usage and machine probes in
 * counters/; captures in evidence/; log levels in logcontrol/; the checks of actions in cli/.
 */
class UnixHelperFunction : public HelperFunctionInterface
{
public:
    UnixHelperFunction();
    ~UnixHelperFunction() override;
    UnixHelperFunction(const UnixHelperFunction&) = delete;
    UnixHelperFunction& operator=(const UnixHelperFunction&) = delete;

    // ---- Text

    std::string trim(const std::string& text) override;
    bool CompareIgnoreCase(std::string first, std::string second) override;
    void ToLowerCase(std::string& text) override;

    // ---- Shell lines

    std::string ExecuteCommand(const char* command) override;
    int ExecuteCommandWithRc(const char* command, std::string& output) override;

    // ---- Actions of the command line

    int PreCheckForAction(THPM_ACTION_TYPE type) override;
    int PostCheckForAction(THPM_ACTION_TYPE type) override;

    // ---- Machine and processes

    int GetCPUCount() override;
    std::int64_t GetTotalSizeOfMemoryInKB() override;
    int FindProcessId(const std::string& processName) override;
    void PopulateProcessNameAndProcessIDMap(std::multimap<std::string, int>& table) override;
    void PopulateProcessIDAndProcessNameMap(std::map<int, std::string>& table) override;

    // ---- Evidence

    int TakeMemorySnapshotAndDump(std::string processName, int pid, std::string eventText,
                                  std::string counterLabel) override;
    void GenerateFileName(std::string folderName, int pid, std::string counterLabel, std::string& outputPath,
                          std::string fileSuffix) override;
    bool CreateProcessDump(std::string processName, int pid, std::string eventText,
                           std::string counterLabel) override;
    void CaptureDiskPerformanceCounters(std::string processName, int pid, std::vector<std::string> counters,
                                        std::string counterLabel, std::string javaProcessName) override;
    void ExecuteCustomScript(std::string processName, int pid, std::string counterLabel,
                             std::string javaProcessName) override;
    void CaptureProcessSpecificData(std::string processName, int pid, std::string counterLabel,
                                    std::string javaProcessName) override;
    void CaptureNetworkPerformance(std::string processName, int pid, std::vector<std::string> counters,
                                   std::string counterLabel, std::string javaProcessName) override;
    void ExecuteNetStat(std::string processName, int pid, std::string counterLabel,
                        std::string javaProcessName) override;
    void MemoryPerformanceCounters(std::string processName, int pid, std::vector<std::string> counters,
                                   std::string counterLabel, std::string javaProcessName) override;
    void RemoveDir(std::string folderName, int pid) override;
    void IncreaseLogging(std::string processName) override;
    void SendEmailNotification(std::string subject, std::string processName, int pid,
                               unsigned long long threshold, unsigned long long usage, std::string unit,
                               bool breached) override;

    // ---- Java and liveness

    int GetTarnhavenJavaProcesses(std::string marker) override;
    bool isProcessAlive(int pid) override;
    bool CreateJavaProcessDump(std::string javaProcessName, std::string jdkHome, int pid,
                               std::string counterLabel) override;
    void GetJavaProcessOSName(std::string& name) override;

    // ---- System services

    void WriteLogToSystem(std::string text, THPM_SYS_LOG_LEVEL level) override;
    void CloseRunningThread(unsigned long threadId) override;
    bool HF_CreateDir(std::string path, bool recursive) override;
    bool HF_OpenFileInMode(FILE** file, std::string path, std::string mode) override;
    bool HF_IsFileExist(std::string path) override;
    std::string HF_CommandToCleanFolder(std::string path) override;
    bool HF_DoesFolderExist(const std::string& path) override;

    // ---- Usage probes: one shell line each; 0.0 when no process has that id and name

    /** CPU column of ps: percent of one processor, averaged over the life of the process. Worker thread. */
    virtual double GetCPUUsageForProcessInPercent(std::string processName, int pid);

    /** Memory column of ps: percent of the machine's memory. Worker thread. */
    virtual double GetMemoryUsageForProcessInPercent(std::string processName, int pid);

    /** Resident size in megabytes, from the rss column of ps. Worker thread. */
    virtual double GetMemoryUsageForProcessInMB(std::string processName, int pid);

    // ---- Evidence workers: run on the thread of their capture and return after their last line

    /** Samples the memory tools mNumberOfReadings times, mReadingInterval seconds apart. */
    virtual void ExecuteMemStat(std::string processName, int pid, std::string counterLabel,
                                std::string javaProcessName);

    /** Starts iostat and mpstat, each on its own thread and with its own file, and doesn't wait for them. */
    virtual void ExecuteDiskStat(std::string processName, int pid, std::string counterLabel,
                                 std::string javaProcessName);

    /** Writes memory map, status and stack of the process to one evidence file. */
    virtual void ExecuteProcessSpecificCmd(std::string processName, int pid, std::string counterLabel,
                                           std::string javaProcessName);

    /**
     * Appends a section head and the output of a tool to an evidence file, and waits for the tool.
     * @param commandPath  path of the tool
     * @param arguments    its arguments, as the shell takes them; may hold a pipe
     * @param filterPid    only lines that hold these digits pass; -1 for all lines
     */
    virtual void CollectCommandData(std::string outputFile, std::string commandPath, std::string arguments,
                                    int filterPid);

    // ---- Machine probes

    /** Sets mCPUCount from /proc/cpuinfo. Without output it stays as it is. */
    virtual void SetCPUCount();

    /** Sets mTotalMemoryInKB from /proc/meminfo. Without output it stays as it is. */
    virtual void SetTotalSizeOfMemoryInKB();

    // ---- Text: the token `index` (from 0) of `text`, split at the whole of `delimiter`

    /**
     * The token itself; empty after the last one and for a negative index. Two delimiters in a row have an
     * empty token between them.
     */
    virtual std::string GetToken(std::string text, int index, std::string delimiter);

    /** All monitored names and `extra`, joined by "|" for an extended regular expression. Worker thread. */
    virtual std::string GetProcNameFilterForGrep(const std::string& extra);

    /** The token as an int; 0 when it is no number. */
    virtual int GetPid(std::string text, int index, std::string delimiter);

    /**
     * A grep pattern for the whole word, which can be bound to the start or the end of the line, with blanks
     * allowed there.
     */
    virtual std::string GetCompleteMatchWrap(std::string word, bool anchorStart, bool anchorEnd,
                                             bool spaceAtStart, bool spaceAtEnd);

    /** Base name of the token taken as a path; empty for an empty token. */
    virtual std::string GetProcName(std::string text, int index, std::string delimiter);

    /** The token as an int; 0 when it is no number. */
    virtual int GetIntValue(std::string text, int index, std::string delimiter);

    /** The token as a 64-bit number; 0 when it is none. */
    virtual std::int64_t GetLongValue(std::string text, int index, std::string delimiter);

    /** The token as a double; 0.0 when it is no number. */
    virtual double GetDoubleValue(std::string text, int index, std::string delimiter);

    /** Directory of the token taken as a path, "." for a bare word; empty for an empty token. */
    virtual std::string GetProcDir(std::string text, int index, std::string delimiter);

    /** `text` with each run of blanks reduced to one; ends at the first NUL. */
    virtual std::string RemoveConsecutiveSpaces(std::string text);

    /** `text` without its line feeds. */
    virtual std::string RemoveEOL(std::string text);

    /**
     * The process listing, "pid command" a line, of all lines that mention a monitored name or the install
     * root.
     */
    virtual std::string GetPidProcNamePairsOutput();

    // ---- Threads, files and owners

    /**
     * Starts a detached thread.
     * @param threadId  receives the id. On failure it is unchanged and detached all the same, so the caller
     * passes the id of a thread for which that is harmless (GetMainThreadId)
     * @return true when the thread runs; then the thread owns `argument`
     */
    virtual bool CreateThreadWithoutWait(unsigned long& threadId, ThreadFunction function, void* argument);

    /** Makes an empty file with mode 0600 if there is none. True when it can be opened. */
    virtual bool CreateTouchFile(std::string path);

    /** Appends the section head of a command to an evidence file. True when it was written. */
    virtual bool EchoCommandToFile(std::string command, std::string outputFile);

    /** The line with its output sent to `file`, in place of its content or after it; also its errors if
     * asked. */
    virtual std::string RedirectCommand(std::string command, std::string file, bool append, bool withStderr);

    /** Owner of a process by ps; "root" when ps doesn't list it. */
    virtual std::string GetUserOfProcess(int pid);

    /** Folder in which the owner of the process can write a dump. */
    virtual std::string GetTempPathBasedOnUserContext(int pid);

    /** CollectCommandData on a detached thread of its own. Returns at once. */
    virtual void CollectCommandDataInBackground(std::string outputFile, std::string commandPath,
                                                std::string arguments, int filterPid);

protected:
    /** Runs a usage line. @return its second column; 0.0 unless process id and name are the expected ones */
    double ReadUsage(const std::string& line, const std::string& processName, int pid);

    CmdPath* mCmdPath;             ///< owned
    int mCPUCount;                 ///< 0 until known
    std::int64_t mTotalMemoryInKB; ///< 0 until known

private:
    /** Runs a shell line. @return its output, fields one blank apart, all lines joined */
    std::string ExecuteForFields(const std::string& line);
    double GetUsage(const std::string& columns, const std::string& processName, int pid);
};
