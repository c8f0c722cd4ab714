#include "processes/LiveMatches.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

#include "config/KeyTable.h"

#include "base/ByteSize.h"
#include "base/JavaNames.h"
#include "base/Plural.h"
#include "store/Keys.h"
#include "store/Store.h"

namespace ctl
{

namespace
{

constexpr double WHOLE = 100;
constexpr int HIGHEST_MEMORY_VALUE = 99; // in percent, without the fraction

std::string FormatPercent(double value)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.4g %%", value);
    return text;
}

/** The checks of one host; each adds what it finds. */
class LiveCheck
{
public:
    LiveCheck(const Store& store, const Settings& settings, const WatchedNames& names,
              const LiveMatches& live, StoreFindings& findings)
        : mStore(store), mSettings(settings), mNames(names), mLive(live), mFindings(findings)
    {}

    void Run()
    {
        CheckFilter();
        CheckList(THHS_MONITOR_CPU, mSettings.cpu, Resource::Cpu);
        CheckList(THHS_MONITOR_MEMORY, mSettings.memory, Resource::Memory);
    }

private:
    void Add(Severity severity, const char* key, std::string message, std::string remedy)
    {
        mFindings.push_back({severity, key, mStore.FindLine(key), std::move(message), std::move(remedy)});
    }

    void CheckFilter();
    void CheckList(const char* key, const std::map<std::string, int>& limits, Resource resource);
    bool CheckNeverMatches(const char* key, const std::string& name);
    void CheckUnmatched(const char* key, const UnmatchedName& name);
    bool ReportLikeness(const char* key, const std::string& name);
    void CheckCpuLimit(const char* key, const std::string& name, int limit);
    void CheckThreads(const char* key, const std::string& name, int needed);
    void CheckMemoryLimit(const char* key, const std::string& name, int limit);

    const Store& mStore;
    const Settings& mSettings;
    const WatchedNames& mNames;
    const LiveMatches& mLive;
    StoreFindings& mFindings;
};

/** The names make a filter for egrep, unquoted as an option: the first one decides how it is understood. */
void LiveCheck::CheckFilter()
{
    const std::set<std::string> names = GetTableNames(GetListedNames(mSettings));
    if (names.empty() || !names.begin()->starts_with('-')) {
        return;
    }
    const std::string& first = *names.begin();
    const char* const key = mSettings.cpu.contains(first)      ? THHS_MONITOR_CPU
                            : mSettings.memory.contains(first) ? THHS_MONITOR_MEMORY
                                                               : THHS_MONITOR_DEADLOCK;
    Add(Severity::Error, key,
        "\"" + first +
            "\" comes first in the filter of the process listing, where egrep takes it for an option: no "
            "process at all is found",
        "take the name out");
}

void LiveCheck::CheckList(const char* key, const std::map<std::string, int>& limits, Resource resource)
{
    for (const auto& [name, limit] : limits) {
        if (resource == Resource::Cpu) {
            CheckCpuLimit(key, name, limit);
        } else {
            CheckMemoryLimit(key, name, limit);
        }
        const bool never = CheckNeverMatches(key, name);
        for (const UnmatchedName& unmatched : mLive.unmatched) {
            if (!never && unmatched.process == name && unmatched.resource == resource) {
                CheckUnmatched(key, unmatched);
            }
        }
    }
}

/** Reports a name that no process can ever bear; true if it is one. */
bool LiveCheck::CheckNeverMatches(const char* key, const std::string& name)
{
    const std::string never = "\"" + name + "\" can never match: ";
    if (name.find('/') != std::string::npos) {
        Add(Severity::Warning, key,
            never + "it is a path, and processes are known by the last part of theirs",
            "write " + name.substr(name.rfind('/') + 1));
        return true;
    }
    if (name.find_first_of(" \t") != std::string::npos) {
        Add(Severity::Warning, key, never + "it holds a blank, and a command is cut at its first blank",
            "write the first word alone");
        return true;
    }
    if (name.find('\\') != std::string::npos) {
        Add(Severity::Warning, key, never + "its backslash is read as a part of a regular expression",
            "write the name without it");
        return true;
    }
    return false;
}

/** Reports a process that was probably meant; true if there is one. */
bool LiveCheck::ReportLikeness(const char* key, const std::string& name)
{
    for (const Process& process : mNames.GetProcesses()) {
        const std::string running(process.GetName());
        const std::string pid = std::to_string(process.pid);
        if (running == name + ":") {
            Add(Severity::Warning, key,
                "\"" + name + "\" can never match: process " + pid + " calls itself \"" + running +
                    "\", and no name in a list can hold a colon",
                "such a process can't be watched by that name");
            return true;
        }
        const std::size_t blank = process.command.find(' ');
        const std::string rest = blank == std::string::npos ? "" : process.command.substr(blank + 1);
        if (!rest.empty() && !rest.starts_with('-') && Process{0, rest}.GetName() == name &&
            !running.empty()) {
            Add(Severity::Warning, key,
                "\"" + name + "\" can never match: process " + pid +
                    " runs it as a script, and is known as \"" + running + "\"",
                "a script is watched by the name of its interpreter, with all others of it");
            return true;
        }
    }
    for (const Process& process : mNames.GetProcesses()) {
        const std::string running(process.GetName());
        if (running.size() > 3 && name.size() > 3 && running.size() < 64 && GetDistance(name, running) == 1) {
            Add(Severity::Warning, key,
                "\"" + name + "\" matches no process now; \"" + running + "\" is running",
                "did you mean " + running + "?");
            return true;
        }
    }
    return false;
}

void LiveCheck::CheckUnmatched(const char* key, const UnmatchedName& unmatched)
{
    const std::string& name = unmatched.process;
    if (unmatched.takenPid != 0) {
        Add(Severity::Warning, key,
            "\"" + name + "\" is never watched: process " + std::to_string(unmatched.takenPid) +
                " is already watched as \"" + unmatched.takenBy + "\"",
            "a process has one limit in a list: take one of the two names out");
        return;
    }
    if (unmatched.match.wrapper != 0) {
        Add(Severity::Warning, key,
            "\"" + name + "\": the first command line with " + GetJavaMarker(name) + " is that of process " +
                std::to_string(unmatched.match.wrapper) + ", \"" +
                unmatched.match.wrapperCommand.substr(0, 60) +
                "\", which is no java process: what it starts is never watched",
            "start the java program without the wrapper, or let the wrapper replace itself by exec");
        return;
    }
    if (IsJavaName(name)) {
        Add(Severity::Warning, key,
            "\"" + name + "\" matches no process now: no command line holds " + GetJavaMarker(name),
            "see that its java program runs");
        return;
    }
    if (ReportLikeness(key, name)) {
        return;
    }
    const bool isScript = name.ends_with(".sh") || name.ends_with(".py") || name.ends_with(".pl");
    Add(Severity::Warning, key,
        "\"" + name + "\" matches no process now" +
            (isScript ? "; if it is a script, it never will: scripts are known by their interpreter" : ""),
        "see that the program runs, and that this is the last part of the path that it was started with");
}

void LiveCheck::CheckCpuLimit(const char* key, const std::string& name, int limit)
{
    const int processors = mLive.machine.processors;
    if (limit >= WHOLE) {
        Add(Severity::Warning, key,
            "\"" + name + "\": a reading never exceeds 100 percent, so this limit is never reached",
            "give 99 at most");
        return;
    }
    // The value is cut to a whole number, and must be above the limit.
    const int needed = static_cast<int>(std::ceil((limit + 1) * processors / WHOLE - 1e-9));
    if (needed > 1) {
        CheckThreads(key, name, needed);
    }
}

/** A reading is cut to a whole number and must be above the limit. `percent` is the most that it can be. */
std::string RecommendLimit(double percent)
{
    const int highest = static_cast<int>(std::floor(percent + 1e-9)) - 1;
    return highest < 0 ? "no limit can be exceeded by so few threads: watch its memory"
                       : "give " + std::to_string(highest) + " at most";
}

void LiveCheck::CheckThreads(const char* key, const std::string& name, int needed)
{
    const int processors = mLive.machine.processors;
    const std::string fact = "\"" + name + "\": one busy thread is " + FormatPercent(WHOLE / processors) +
                             " of " + CountNoun(static_cast<std::uint64_t>(processors), "processor") +
                             "; it takes " + std::to_string(needed) + " to exceed the limit";
    int most = 0;
    for (const LiveCounter& counter : mLive.counters) {
        if (counter.process == name && counter.resource == Resource::Cpu) {
            most = std::max(most, counter.details.threads);
        }
    }
    if (most > 0 && most < needed) {
        Add(Severity::Warning, key,
            fact + ", and it has " + CountNoun(static_cast<std::uint64_t>(most), "thread") +
                ", so it can't be reached",
            RecommendLimit(WHOLE * most / processors));
    } else {
        Add(Severity::Info, key, fact, "");
    }
}

void LiveCheck::CheckMemoryLimit(const char* key, const std::string& name, int limit)
{
    const auto total = static_cast<std::int64_t>(mLive.machine.memoryKb / 1024);
    if (mSettings.IsMemoryAbsolute() && total > 0 && limit >= total) {
        Add(Severity::Warning, key,
            "\"" + name + "\": " + std::to_string(limit) + " MB is no less than the memory of this host, " +
                std::to_string(total) + " MB, so the limit can't be reached",
            "give a limit below " + std::to_string(total));
    } else if (!mSettings.IsMemoryAbsolute() && limit >= HIGHEST_MEMORY_VALUE) {
        Add(Severity::Warning, key,
            "\"" + name +
                "\": the process listing shows 99.9 percent of the memory at most, which is read as " +
                "99, so a limit of " + std::to_string(limit) + " is never exceeded",
            "give 98 at most, or megabytes with THHS_MEMORY_UNIT = ABSOLUTE");
    }
}

} // namespace

void CheckLive(const Store& store, const Settings& settings, const WatchedNames& names,
               const LiveMatches& live, StoreFindings& findings)
{
    LiveCheck(store, settings, names, live, findings).Run();
}

void CheckListTexts(const Store& store, const Settings& settings, StoreFindings& findings)
{
    const LiveMatches live; // no name without a process, one processor, and memory that isn't known
    LiveCheck(store, settings, WatchedNames({}, {}, 0), live, findings).Run();
}

} // namespace ctl
