#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** A running process as the process listing shows it: the command line with blanks between its words. */
struct Process
{
    int pid = 0;
    std::string command; ///< empty for kernel threads and for what ended meanwhile

    /** The name under which the daemon knows it: the base name of the first word, a part of `command`. */
    std::string_view GetName() const;
};

/** What is read of one process where it is needed. */
struct ProcessDetails
{
    std::uint64_t cpuTicks = 0;   ///< user and system time, in clock ticks
    std::uint64_t startTicks = 0; ///< since boot, in clock ticks
    std::uint64_t residentKb = 0;
    unsigned user = 0; ///< effective user id
    int parent = 0;
    int threads = 0;
    int tracer = 0; ///< who traces it, 0 for nobody
    char state = '?';
};

/** All processes in the order of their ids, as the listing gives them. `folder` is /proc. */
std::vector<Process> ReadProcesses(const std::string& folder = "/proc");

/** One process of it; nothing if it isn't there. */
std::optional<Process> ReadProcess(int pid, const std::string& folder = "/proc");

/** The details of one process; nothing if it has ended. */
std::optional<ProcessDetails> ReadDetails(int pid, const std::string& folder = "/proc");

/** The same below an open folder, for whoever asks for many. */
std::optional<ProcessDetails> ReadDetails(int folder, int pid);

/** When a process with these details was started, in seconds since the epoch. */
std::time_t GetStartTime(const ProcessDetails& details, const std::string& folder = "/proc");

} // namespace ctl
