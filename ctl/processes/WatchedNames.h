#pragma once

#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "processes/ProcessTable.h"

namespace ctl
{

/** The processes that one name of a monitoring list stands for. */
struct NameMatch
{
    std::vector<int> pids; ///< that would get a counter
    int wrapper = 0; ///< of a Java name: the process that holds the marker first and isn't the one meant
    std::string wrapperCommand;
};

/**
 * Finds processes by name as the daemon does in a pass. `names` are all names of all lists, with "java" in
 * the place of the Java names; they make the filter of the listing.
 */
class WatchedNames
{
public:
    /** `ownPid` is the daemon's, which leaves itself out; 0 for none. */
    WatchedNames(std::vector<Process> processes, std::set<std::string> names, int ownPid);
    WatchedNames(const WatchedNames&) = delete; // the table of names points into the set
    WatchedNames& operator=(const WatchedNames&) = delete;

    /** `configuredName` is one of the lists' names. */
    NameMatch Find(const std::string& configuredName) const;

    const std::vector<Process>& GetProcesses() const { return mProcesses; }

private:
    NameMatch FindJava(const std::string& marker) const;
    bool PassesFilter(const std::string& line) const;

    const std::vector<Process> mProcesses;
    const std::set<std::string> mNames;
    std::unordered_map<std::string_view, std::vector<int>> mPids; ///< by each of the names
    const int mOwnPid;
};

/** The names of all lists as the daemon's tables hold them: "java" for the Java names. */
std::set<std::string> GetTableNames(const std::vector<std::string>& configuredNames);

/** True if the pattern, in which a dot stands for any character, occurs in the text. */
bool Occurs(const std::string& pattern, const std::string& text);

} // namespace ctl
