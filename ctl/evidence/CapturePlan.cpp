#include "evidence/CapturePlan.h"

#include "config/JavaProcessNames.h"

namespace ctl
{
namespace
{
std::vector<PlannedSection> GetNetworkSections()
{
    // The lines with a filter find nothing on a quiet host, and that is well.
    return {
        {"netstat -p --tcp | grep CLOSE_WAIT", true},
        {"netstat -na | grep CLOSE_WAIT", true},
        {"netstat -e"},
        {"netstat -s"},
        {"netstat -nalp"},
        {"netstat -op", true},
        {"netstat -nop", true},
        {"netstat -anop", true},
        {"netstat -tanoxp", true},
    };
}

std::vector<PlannedSection> GetProcessSections(int pid)
{
    const std::string id = std::to_string(pid);
    return {{"cat /proc/" + id + "/smaps"},
            {"cat /proc/" + id + "/status"},
            {"gstack " + id, true, true},
            {"pmap " + id}};
}
} // namespace

std::vector<PlannedSection> GetPlannedSections(FileKind kind, int pid)
{
    switch (kind) {
    case FileKind::MemoryPerf:
        return {{"top -b -n 1"},
                {"ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120"},
                {"free"},
                {"vmstat"},
                {"cat /proc/meminfo"}};
    case FileKind::Netstat:
        return GetNetworkSections();
    case FileKind::ProcessData:
        return GetProcessSections(pid);
    default:
        return {};
    }
}

bool IsJavaName(const std::string& process)
{
    return process == ADMIN_CONSOLE_JAVA || process == WEB_MANAGEMENT_JAVA;
}

} // namespace ctl
