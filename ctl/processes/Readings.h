#pragma once

#include <optional>
#include <string>

#include "processes/Machine.h"
#include "processes/ProcessTable.h"

namespace ctl
{

enum class Resource
{
    Cpu,
    Memory
};

/** "cpu" or "memory". */
const char* GetName(Resource resource);

/** The daemon's word for it in its log and in file names: "CPU" or "Memory". */
const char* GetLabel(Resource resource);

/**
 * The processor use as the daemon reads it: the time used over the whole life of the process, in percent of
 * one processor, divided by the number of processors.
 */
double GetCpuReading(const ProcessDetails& details, const Machine& machine);

/** The resident memory: in MB where `isAbsolute`, else in percent of the host's memory. */
double GetMemoryReading(const ProcessDetails& details, const Machine& machine, bool isAbsolute);

/** Seconds since the process was started, 0 at least. */
double GetAge(const ProcessDetails& details, const Machine& machine);

/**
 * How long a process must use `processors` whole processors from now on until its CPU reading is above the
 * limit, in seconds: 0 if it is above it now, nothing if it never gets there.
 */
std::optional<double> GetTimeToLimit(const ProcessDetails& details, const Machine& machine, int limit,
                                     double processors);

} // namespace ctl
