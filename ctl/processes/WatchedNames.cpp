#include "processes/WatchedNames.h"

#include <algorithm>
#include <utility>

#include "base/ProductPlaces.h"

#include "base/JavaNames.h"

namespace ctl
{

namespace
{

constexpr const char* JAVA = "java";
constexpr const char* GREPS[] = {"/usr/bin/grep", "/bin/grep"};

} // namespace

WatchedNames::WatchedNames(std::vector<Process> processes, std::set<std::string> names, int ownPid)
    : mProcesses(std::move(processes)), mNames(std::move(names)), mOwnPid(ownPid)
{
    for (const std::string& name : mNames) {
        mPids[name];
    }
    for (const Process& process : mProcesses) {
        const auto found = mPids.find(process.GetName());
        if (found != mPids.end() && process.pid != mOwnPid) {
            found->second.push_back(process.pid);
        }
    }
}

NameMatch WatchedNames::Find(const std::string& configuredName) const
{
    const std::string marker = GetJavaMarker(configuredName);
    if (!marker.empty()) {
        return FindJava(marker);
    }
    NameMatch match;
    if (const auto found = mPids.find(configuredName); found != mPids.end()) {
        match.pids = found->second;
    }
    return match;
}

/** Only the first line with the marker counts, and it must be a java process. */
NameMatch WatchedNames::FindJava(const std::string& marker) const
{
    NameMatch match;
    const auto isFirst = [this, &marker](const Process& process) {
        const std::string line = std::to_string(process.pid) + " " + process.command;
        const bool isGrep = std::any_of(std::begin(GREPS), std::end(GREPS), [&line](const char* grep) {
            return line.find(grep) != std::string::npos;
        });
        return !isGrep && Occurs(marker, line) && PassesFilter(line);
    };
    const auto first = std::find_if(mProcesses.begin(), mProcesses.end(), isFirst);
    if (first == mProcesses.end()) {
        return match;
    }
    if (first->GetName() == JAVA && first->pid != mOwnPid) {
        match.pids.push_back(first->pid);
    } else {
        match.wrapper = first->pid;
        match.wrapperCommand = first->command;
    }
    return match;
}

bool WatchedNames::PassesFilter(const std::string& line) const
{
    return line.find(PRODUCT_BASE) != std::string::npos ||
           std::any_of(mNames.begin(), mNames.end(),
                       [&line](const std::string& name) { return Occurs(name, line); });
}

std::set<std::string> GetTableNames(const std::vector<std::string>& configuredNames)
{
    std::set<std::string> names;
    for (const std::string& name : configuredNames) {
        names.insert(IsJavaName(name) ? JAVA : name);
    }
    return names;
}

bool Occurs(const std::string& pattern, const std::string& text)
{
    return std::search(text.begin(), text.end(), pattern.begin(), pattern.end(),
                       [](char character, char wanted) { return wanted == '.' || character == wanted; }) !=
           text.end();
}

} // namespace ctl
