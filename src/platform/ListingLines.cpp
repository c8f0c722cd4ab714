#include "platform/ListingLines.h"

#include "platform/CommandPath.h"
#include "platform/THUEnv.h"

namespace
{
constexpr char BLANKS_PATTERN[] = "[[:space:]]*";
} // namespace

std::string JoinNames(const std::set<std::string>& names, const std::string& extra)
{
    std::string filter;
    for (const std::string& name : names) {
        filter += (filter.empty() ? "" : "|") + name;
    }
    if (!extra.empty()) {
        filter += (filter.empty() ? "" : "|") + extra;
    }
    return filter;
}

std::string GetWholeWordPattern(const std::string& word, bool anchorStart, bool anchorEnd, bool spaceAtStart,
                                bool spaceAtEnd)
{
    std::string pattern = "\\<" + word + "\\>";
    if (anchorStart) {
        pattern = std::string("^") + (spaceAtStart ? BLANKS_PATTERN : "") + pattern;
    }
    if (anchorEnd) {
        pattern += std::string(spaceAtEnd ? BLANKS_PATTERN : "") + "$";
    }
    return pattern;
}

std::string GetListingLine(const CmdPath& tools, const std::string& columns, const std::string& filter)
{
    return CmdPath::AppendSpace(tools.mPs) + columns + CmdPath::AppendSpace(tools.mEgrep) +
           GetDoubleQuatedPath(filter);
}

std::string GetUsageLine(const CmdPath& tools, const std::string& columns, const std::string& filter,
                         const std::string& pidPattern)
{
    return GetListingLine(tools, columns, filter) + " | " + tools.mGrep + " \"" + pidPattern + "\"";
}

std::string GetSingleUsageLine(const CmdPath& tools, const std::string& filter, int pid)
{
    return tools.mPs + " -q " + std::to_string(pid) + " -o pid,%cpu,command | " + tools.mEgrep + " " +
           GetDoubleQuatedPath(filter);
}

std::string GetJavaLine(const CmdPath& tools, const std::string& filter, const std::string& marker)
{
    return GetListingLine(tools, COMMAND_COLUMNS, filter) + " | " + tools.mGrep + " -e \"" + marker +
           "\" | " + tools.mGrep + " -v \"" + tools.mGrep + "\"";
}

std::string GetOwnerLine(const CmdPath& tools, const std::string& pidPattern)
{
    return CmdPath::AppendSpace(tools.mPs) + "-eo pid,user | " + tools.mGrep + " \"" + pidPattern + "\"";
}

std::string GetProcessorCountLine(const CmdPath& tools)
{
    return tools.mCat + " /proc/cpuinfo | " + tools.mGrep + " \"^processor\" |" + tools.mWc + " -l";
}

std::string GetMemorySizeLine(const CmdPath& tools)
{
    return tools.mCat + " /proc/meminfo | " + tools.mGrep + " \"^MemTotal\" |" + tools.mAwk +
           " '{ print $2 }' ";
}
