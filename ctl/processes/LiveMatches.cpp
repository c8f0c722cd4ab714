#include "processes/LiveMatches.h"

#include <algorithm>
#include <map>
#include <utility>

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
        UnmatchedName unmatched = {name, resource, mNames.Find(name)};
        bool hasCounter = false;
        for (const int pid : unmatched.match.pids) {
            const std::optional<ProcessDetails>& details = Read(pid);
            if (!details) {
                continue; // it ended meanwhile
            }
            const auto [taken, isFree] = mTaken.try_emplace({resource, pid}, name);
            if (isFree) {
                hasCounter = true;
                AddCounter(name, limit, resource, pid, *details);
            } else {
                unmatched.takenPid = pid;
                unmatched.takenBy = taken->second;
            }
        }
        if (!hasCounter) {
            mLive.unmatched.push_back(std::move(unmatched));
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
    /**
     * The names of the counters: a process has one for each resource, and the first name in order gets it.
     */
    std::map<std::pair<Resource, int>, std::string> mTaken;
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

std::vector<std::string> GetUnmatchedNames(const LiveMatches& live)
{
    std::vector<std::string> names;
    for (const UnmatchedName& unmatched : live.unmatched) {
        if (std::find(names.begin(), names.end(), unmatched.process) == names.end()) {
            names.push_back(unmatched.process);
        }
    }
    return names;
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
