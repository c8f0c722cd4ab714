#pragma once

#include "evidence/CapturePlan.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace ctl
{

/** One line of a capture as it is to be run. */
struct RehearsalLine
{
    FileKind kind = FileKind::MemoryPerf;
    std::string section; ///< as it would stand in the head of the section
    /** The program and its arguments; a line of the daemon's shell is {"/bin/sh", "-c", line}. */
    std::vector<std::string> command;
    std::string output;      ///< file that the tool writes itself; empty where it prints
    bool mayBeEmpty = false; ///< its tool may find nothing
    bool stopsProcess = false;
};

/** What a line gave. */
struct RehearsalResult
{
    std::uint64_t bytes = 0;
    double seconds = 0;
    int status = 0;         ///< exit status; 128 and the signal for one that was killed; 127 if not started
    bool isTooSlow = false; ///< it was ended after the longest time
    std::string complaint;  ///< the first line that it wrote to standard error
};

/** What is rehearsed. */
struct RehearsalPlan
{
    int pid = 0;
    bool wantsNetwork = true;
    bool wantsDisk = true;
    int readings = 1;
    int interval = 1; ///< seconds
};

/** The lines of all captures but the dump, with the tools where the daemon finds them on this host. */
std::vector<RehearsalLine> MakeRehearsal(const RehearsalPlan& plan);

/** The line of gcore; it writes to `folder`/core.PID. */
RehearsalLine MakeCoreLine(int pid, const std::string& folder);

/**
 * The lines of jcmd, run as the owner of the process where this program is the superuser, as the daemon does.
 * They write to `folder`. Raises std::runtime_error for a JDK folder, user or folder that a shell would not
 * take for one plain word.
 */
std::vector<RehearsalLine> MakeJavaLines(int pid, const std::string& jdkHome, const std::string& user,
                                         const std::string& folder);

/**
 * Runs a line with its standard output appended to `output`, in a process group of its own that is ended
 * after `longest`. `complaints` is a file for its standard error.
 */
RehearsalResult RunLine(const RehearsalLine& line, const std::string& output, const std::string& complaints,
                        std::chrono::seconds longest);

/** While it lives, an interrupt ends the line at hand and is noted, so that the caller can tidy up. */
class InterruptWatch
{
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    static bool IsInterrupted();
};

/** The path of a tool as the daemon takes it: the usual one if something is there, else its second. */
std::string FindTool(const std::string& name);

} // namespace ctl
