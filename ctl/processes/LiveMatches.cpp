#include "processes/LiveMatches.h"

namespace ctl
{

namespace
{

void AddName(const std::string& name, int limit, Resource resource, bool isAbsolute,
             const WatchedNames& names, const std::string& folder, LiveMatches& live)
{
    const NameMatch match = names.Find(name);
    bool isAlive = false;
    for (const int pid : match.pids) {
        const std::optional<ProcessDetails> details = ReadDetails(pid, folder);
        if (!details) {
            continue; // ended meanwhile
        }
        isAlive = true;
        const bool isCpu = resource == Resource::Cpu;
        const double reading = isCpu ? GetCpuReading(*details, live.machine)
                                     : GetMemoryReading(*details, live.machine, isAbsolute);
        live.counters.push_back(
            {name, resource, limit, !isCpu && isAbsolute ? "MB" : "Percent", pid, reading, *details});
    }
    if (!isAlive) {
        live.unmatched.push_back({name, resource, match});
    }
}

} // namespace

LiveMatches FindLive(const Settings& settings, const WatchedNames& names, const Machine& machine,
                     const std::string& folder)
{
    LiveMatches live;
    live.machine = machine;
    const bool isAbsolute = settings.IsMemoryAbsolute();
    for (const auto& [name, limit] : settings.cpu) {
        AddName(name, limit, Resource::Cpu, isAbsolute, names, folder, live);
    }
    for (const auto& [name, limit] : settings.memory) {
        AddName(name, limit, Resource::Memory, isAbsolute, names, folder, live);
    }
    return live;
}

std::vector<std::string> GetListedNames(const Settings& settings)
{
    std::vector<std::string> names;
    for (const auto* const list : {&settings.cpu, &settings.memory, &settings.deadlock}) {
        for (const auto& [name, limit] : *list) {
            names.push_back(name);
        }
    }
    return names;
}

} // namespace ctl
