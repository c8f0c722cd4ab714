#include "processes/LiveMatches.h"

#include <map>

#include "base/SafeFile.h"

namespace ctl
{

namespace
{

/** Looks up one name after the other; a process of several names is read once. */
class LiveSearch
{
public:
    LiveSearch(const Settings& settings, const WatchedNames& names, const std::string& folder,
               LiveMatches& live)
        : mIsAbsolute(settings.IsMemoryAbsolute()), mNames(names), mFolder(OpenFolder(AT_FDCWD, folder)),
          mLive(live)
    {}

    void AddName(const std::string& name, int limit, Resource resource)
    {
        const NameMatch match = mNames.Find(name);
        bool isAlive = false;
        for (const int pid : match.pids) {
            if (const std::optional<ProcessDetails>& details = Read(pid)) { // else it ended meanwhile
                isAlive = true;
                AddCounter(name, limit, resource, pid, *details);
            }
        }
        if (!isAlive) {
            mLive.unmatched.push_back({name, resource, match});
        }
    }

private:
    const std::optional<ProcessDetails>& Read(int pid)
    {
        const auto [entry, isNew] = mRead.try_emplace(pid);
        if (isNew && mFolder.IsOpen()) {
            entry->second = ReadDetails(mFolder.file.Get(), pid);
        }
        return entry->second;
    }

    void AddCounter(const std::string& name, int limit, Resource resource, int pid,
                    const ProcessDetails& details)
    {
        const bool isCpu = resource == Resource::Cpu;
        const double reading = isCpu ? GetCpuReading(details, mLive.machine)
                                     : GetMemoryReading(details, mLive.machine, mIsAbsolute);
        mLive.counters.push_back(
            {name, resource, limit, !isCpu && mIsAbsolute ? "MB" : "Percent", pid, reading, details});
    }

    const bool mIsAbsolute;
    const WatchedNames& mNames;
    const OpenedFile mFolder;
    LiveMatches& mLive;
    std::map<int, std::optional<ProcessDetails>> mRead;
};

} // namespace

LiveMatches FindLive(const Settings& settings, const WatchedNames& names, const Machine& machine,
                     const std::string& folder)
{
    LiveMatches live;
    live.machine = machine;
    LiveSearch search(settings, names, folder, live);
    for (const auto& [name, limit] : settings.cpu) {
        search.AddName(name, limit, Resource::Cpu);
    }
    for (const auto& [name, limit] : settings.memory) {
        search.AddName(name, limit, Resource::Memory);
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
