#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace ctl
{

/** What the daemon learns of the host at its start, and what readings need. */
struct Machine
{
    int processors = 1;            ///< lines that begin with "processor" in cpuinfo; 1 if there is none
    std::uint64_t memoryKb = 0;    ///< MemTotal
    std::uint64_t availableKb = 0; ///< MemAvailable
    double uptime = 0;             ///< seconds since boot
};

/** Reads them. `folder` is /proc. */
Machine ReadMachine(const std::string& folder = "/proc");

/** When the host was started, in seconds since the epoch; 0 if that can't be read. */
std::time_t ReadBootTime(const std::string& folder = "/proc");

} // namespace ctl
