#include "processes/Readings.h"

#include <algorithm>
#include <cmath>

#include <unistd.h>

#include "counters/BreachTexts.h"

namespace ctl
{

namespace
{

constexpr double WHOLE = 100; // percent
constexpr double KB_PER_MB = 1024;

double GetTicksPerSecond()
{
    static const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    return ticks;
}

double GetCpuSeconds(const ProcessDetails& details)
{
    return static_cast<double>(details.cpuTicks) / GetTicksPerSecond();
}

constexpr double HIGHEST_MEMORY = 99.9; // the listing has no room for more

/** What the listing prints: tenths of a percent, and none of them from 100 on. */
double CutToTenths(double value)
{
    return value < WHOLE ? std::floor(value * 10) / 10 : std::floor(value);
}

} // namespace

const char* GetName(Resource resource)
{
    return resource == Resource::Cpu ? "cpu" : "memory";
}

const char* GetLabel(Resource resource)
{
    return resource == Resource::Cpu ? LABEL_CPU : LABEL_MEMORY;
}

double GetAge(const ProcessDetails& details, const Machine& machine)
{
    return std::max(0.0, machine.uptime - static_cast<double>(details.startTicks) / GetTicksPerSecond());
}

double GetCpuReading(const ProcessDetails& details, const Machine& machine)
{
    const double age = GetAge(details, machine);
    const double ofOneProcessor = age > 0 ? WHOLE * GetCpuSeconds(details) / age : 0;
    return CutToTenths(ofOneProcessor) / machine.processors;
}

double GetMemoryReading(const ProcessDetails& details, const Machine& machine, bool isAbsolute)
{
    const auto resident = static_cast<double>(details.residentKb);
    if (isAbsolute) {
        return resident / KB_PER_MB;
    }
    return machine.memoryKb > 0
               ? std::min(HIGHEST_MEMORY,
                          CutToTenths(WHOLE * resident / static_cast<double>(machine.memoryKb)))
               : 0;
}

std::optional<double> GetTimeToLimit(const ProcessDetails& details, const Machine& machine, int limit,
                                     double processors)
{
    // The value is the reading without its fraction, and it must be above the limit.
    const double needed =
        (limit + 1.0) / WHOLE * machine.processors; // processors used, on the average of its life
    const double missing = needed * GetAge(details, machine) - GetCpuSeconds(details);
    if (missing <= 0) {
        return 0;
    }
    if (processors <= needed) {
        return std::nullopt;
    }
    return missing / (processors - needed);
}

} // namespace ctl
