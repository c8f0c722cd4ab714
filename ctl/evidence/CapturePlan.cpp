#include "evidence/CapturePlan.h"

#include "config/JavaProcessNames.h"
#include "evidence/CaptureSections.h"

#include <cstdio>

namespace ctl
{
namespace
{
/** The name of a tool, as its path ends. */
std::string GetToolName(std::string CmdPath::*field)
{
    for (const ToolPath& tool : TOOL_PATHS) {
        if (tool.mField == field) {
            return tool.mName;
        }
    }
    return "";
}

std::string JoinWords(const std::string& tool, const std::string& arguments)
{
    return arguments.empty() ? tool : tool + " " + arguments;
}

std::vector<PlannedSection> GetMemorySections()
{
    std::vector<PlannedSection> planned;
    for (const ::Section& section : MEMORY_SECTIONS) {
        planned.push_back({JoinWords(GetToolName(section.mTool), section.mArguments)});
    }
    return planned;
}

std::vector<PlannedSection> GetNetworkSections()
{
    std::vector<PlannedSection> planned;
    for (const ::Section& section : NETWORK_SECTIONS) {
        PlannedSection row = {JoinWords(GetToolName(section.mTool), section.mArguments)};
        row.isFiltered = section.mIsFilteredByPid;
        // What is filtered finds nothing on a quiet host, and that is well.
        row.mayBeEmpty = row.isFiltered || row.toolLine.find('|') != std::string::npos;
        planned.push_back(std::move(row));
    }
    return planned;
}

std::vector<PlannedSection> GetProcessSections(int pid)
{
    std::vector<PlannedSection> planned;
    for (const ProcessSection& section : PROCESS_SECTIONS) {
        PlannedSection row = {JoinWords(GetToolName(section.mTool),
                                        section.mBeforePid + std::to_string(pid) + section.mAfterPid)};
        // Not every distribution has a tool for stacks, and the one there is a debugger.
        row.isOptional = section.mTool == &CmdPath::mGstack;
        row.mayBeEmpty = row.isOptional;
        row.stopsProcess = row.isOptional;
        planned.push_back(std::move(row));
    }
    return planned;
}

const SamplingTool* FindSamplingTool(FileKind kind)
{
    for (const SamplingTool& tool : DISK_TOOLS) {
        if (std::string(tool.mFileSuffix) == GetKindName(kind)) {
            return &tool;
        }
    }
    return nullptr;
}
} // namespace

std::string GetSamplingTool(FileKind kind)
{
    const SamplingTool* const tool = FindSamplingTool(kind);
    return tool == nullptr ? "" : GetToolName(tool->mTool);
}

std::string GetSamplingLine(FileKind kind, int interval, int count)
{
    const SamplingTool* const tool = FindSamplingTool(kind);
    if (tool == nullptr) {
        return "";
    }
    char arguments[64];
    (void)std::snprintf(arguments, sizeof arguments, tool->mArguments, interval, count); // two numbers fit
    return JoinWords(GetToolName(tool->mTool), arguments);
}

std::vector<PlannedSection> GetPlannedSections(FileKind kind, int pid)
{
    switch (kind) {
    case FileKind::MemoryPerf:
        return GetMemorySections();
    case FileKind::Netstat:
        return GetNetworkSections();
    case FileKind::ProcessData:
        return GetProcessSections(pid);
    default:
        return {};
    }
}

} // namespace ctl
