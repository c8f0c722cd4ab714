#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "platform/ListingLines.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"

#include <algorithm>
#include <set>

#include <unistd.h>

namespace
{
struct ListedProcess
{
    int mPid;
    std::string mName;
};

/** Parses one line of the process listing; false when it is the daemon's own. */
bool ReadListedProcess(UnixHelperFunction& helper, const std::string& listingLine, ListedProcess& process)
{
    const std::string line = helper.RemoveConsecutiveSpaces(helper.trim(listingLine));
    process.mPid = helper.GetPid(line, 0, " ");
    process.mName = helper.GetProcName(line, 1, " ");
    const std::string directory = helper.GetProcDir(line, 1, " ");
    // Intentional: only logged. A process from outside the product's folder stays in the tables.
    if (directory.find(GetTHBasePath()) == std::string::npos) {
        WriteVerboseLine(logFileMtx, "%s(%d) process is running with basename\n", process.mName.c_str(),
                         process.mPid);
    }
    return process.mPid != ConfigurationMgr::GetInstance()->mDaemonPid;
}

template <typename TakeProcess>
void ForEachListedProcess(UnixHelperFunction& helper, const std::string& listing, TakeProcess take)
{
    std::size_t start = 0;
    while (start < listing.size()) {
        const std::size_t end = std::min(listing.find('\n', start), listing.size());
        ListedProcess process;
        if (ReadListedProcess(helper, listing.substr(start, end - start), process)) {
            take(process);
        }
        start = end + 1;
    }
}

bool HoldsPair(const std::multimap<std::string, int>& table, const ListedProcess& process)
{
    const auto [first, last] = table.equal_range(process.mName);
    for (auto entry = first; entry != last; ++entry) {
        if (entry->second == process.mPid) {
            return true;
        }
    }
    return false;
}
} // namespace

std::string UnixHelperFunction::GetProcNameFilterForGrep(const std::string& extra)
{
    return JoinNames(ConfigurationMgr::GetInstance()->mMonitoredProcessNames, extra);
}

std::string UnixHelperFunction::GetCompleteMatchWrap(std::string word, bool anchorStart, bool anchorEnd,
                                                     bool spaceAtStart, bool spaceAtEnd)
{
    return GetWholeWordPattern(word, anchorStart, anchorEnd, spaceAtStart, spaceAtEnd);
}

std::string UnixHelperFunction::GetPidProcNamePairsOutput()
{
    const std::string filter = GetProcNameFilterForGrep(GetTHBasePath());
    return ExecuteCommand(GetListingLine(*mCmdPath, COMMAND_COLUMNS, filter).c_str());
}

void UnixHelperFunction::PopulateProcessNameAndProcessIDMap(std::multimap<std::string, int>& table)
{
    table.clear();
    const std::set<std::string>& monitored = ConfigurationMgr::GetInstance()->mMonitoredProcessNames;
    ForEachListedProcess(*this, GetPidProcNamePairsOutput(), [&](const ListedProcess& process) {
        if (monitored.count(process.mName) == 0 || HoldsPair(table, process)) {
            return;
        }
        WriteVerboseLine(logFileMtx, "Inserting in to multimap processNameAndIDMap <%s : %d> \n",
                         process.mName.c_str(), process.mPid);
        table.emplace(process.mName, process.mPid);
    });
}

void UnixHelperFunction::PopulateProcessIDAndProcessNameMap(std::map<int, std::string>& table)
{
    table.clear();
    ForEachListedProcess(*this, GetPidProcNamePairsOutput(), [&](const ListedProcess& process) {
        WriteVerboseLine(logFileMtx, "Inserting in to multimap processIDAndNameMap <%s : %d> \n",
                         process.mName.c_str(), process.mPid);
        table.emplace(process.mPid, process.mName); // an id that is there keeps its first name
    });
}

int UnixHelperFunction::GetTarnhavenJavaProcesses(std::string marker)
{
    const std::string filter = GetProcNameFilterForGrep(GetTHBasePath());
    // All lines are joined, so the first token is the process id of the first line.
    const std::string text = ExecuteForFields(GetJavaLine(*mCmdPath, filter, marker));
    const int pid = GetPid(text, 0, " ");
    return pid <= 0 ? -1 : pid;
}

bool UnixHelperFunction::isProcessAlive(int pid)
{
    return ConfigurationMgr::GetInstance()->mProcessIDAndProcessNameMap.count(pid) != 0;
}

std::string UnixHelperFunction::GetUserOfProcess(int pid)
{
    const std::string pattern = GetCompleteMatchWrap(std::to_string(pid), true, false, true, false);
    const std::string text = ExecuteForFields(GetOwnerLine(*mCmdPath, pattern));
    return GetPid(text, 0, " ") == pid ? GetProcName(text, 1, " ") : "root";
}

std::string UnixHelperFunction::GetTempPathBasedOnUserContext(int pid)
{
    if (getuid() == 0 && GetUserOfProcess(pid) != "root") {
        return GetTHWebserverTempPath();
    }
    return GetTHTempPath();
}
