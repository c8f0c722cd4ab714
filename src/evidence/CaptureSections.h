#pragma once

#include "platform/CommandPath.h"

/** The tools of each capture, and the suffixes of the files that they fill. Data alone. */

/** In place of a process id: all lines of the output are kept. */
inline constexpr int NO_FILTER = -1;

/** A tool of a capture, run once for each section of its evidence file. */
struct Section
{
    std::string CmdPath::*mTool;
    const char* mArguments;
    bool mIsFilteredByPid; ///< only lines that hold the digits of the process id
};

/** A section whose argument names the process. */
struct ProcessSection
{
    std::string CmdPath::*mTool;
    const char* mBeforePid;
    const char* mAfterPid;
};

/** A sampling tool with a file of its own. */
struct SamplingTool
{
    std::string CmdPath::*mTool;
    const char* mArguments; ///< printf format for interval and count
    const char* mFileSuffix;
};

inline constexpr char MEMORY_FILE_SUFFIX[] = "MemoryPerf";
inline constexpr char NETWORK_FILE_SUFFIX[] = "Netstat";
inline constexpr char PROCESS_FILE_SUFFIX[] = "ProcessData";
inline constexpr char HEAP_FILE_SUFFIX[] = "hprof";
inline constexpr char THREADS_FILE_SUFFIX[] = "ThreadDump";
inline constexpr char SCRIPT_FILE_SUFFIX[] = "CustomScript";

/** Before the name of the core image, to which gcore adds a dot and the process id. */
inline constexpr char GCORE_OUTPUT_OPTION[] = "-o";

/** What jcmd is asked for. The path of the heap dump follows; the threads come out as text. */
inline constexpr char HEAP_DUMP_REQUEST[] = "GC.heap_dump";
inline constexpr char THREAD_DUMP_REQUEST[] = "Thread.print";

/** Run once for each reading. */
inline constexpr Section MEMORY_SECTIONS[] = {
    {&CmdPath::mTop, "-b -n 1", false},
    {&CmdPath::mPs, "faxeo pid,pmem,rss,vsz,sz,size,args --width 120", false},
    {&CmdPath::mFree, "", false},
    {&CmdPath::mVmstat, "", false},
    {&CmdPath::mCat, "/proc/meminfo", false},
};

// The shell finds the grep inside the arguments by its search path. The filter's grep is called by its path.
inline constexpr Section NETWORK_SECTIONS[] = {
    {&CmdPath::mNetstat, "-p --tcp | grep CLOSE_WAIT", false},
    {&CmdPath::mNetstat, "-na | grep CLOSE_WAIT", false},
    {&CmdPath::mNetstat, "-e", false},
    {&CmdPath::mNetstat, "-s", false},
    {&CmdPath::mNetstat, "-nalp", false},
    {&CmdPath::mNetstat, "-op", true},
    {&CmdPath::mNetstat, "-nop", true},
    {&CmdPath::mNetstat, "-anop", true},
    {&CmdPath::mNetstat, "-tanoxp", true},
};

inline constexpr ProcessSection PROCESS_SECTIONS[] = {
    {&CmdPath::mCat, "/proc/", "/smaps"},
    {&CmdPath::mCat, "/proc/", "/status"},
    {&CmdPath::mGstack, "", ""},
    {&CmdPath::mPmap, "", ""},
};

/** Started side by side. */
inline constexpr SamplingTool DISK_TOOLS[] = {
    {&CmdPath::mIostat, "-xt %d %d", "DiskPerf_iostat"},
    {&CmdPath::mMpstat, "%d %d", "DiskPerf_mpstat"},
};
