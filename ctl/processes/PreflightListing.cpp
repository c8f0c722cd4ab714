#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

#include "base/ProductPlaces.h"
#include "counters/BreachTexts.h"
#include "platform/CommandPath.h"
#include "platform/ListingLines.h"

#include "base/JavaNames.h"
#include "base/SafeFile.h"
#include "processes/Preflight.h"
#include "processes/ToolRun.h"

namespace ctl
{

namespace
{

using Result = PreflightRow::Result;

/** The filter of the listing: all names of the lists and the product's folder. */
std::string MakeFilter(const Settings& settings)
{
    std::string filter;
    for (const std::string& name : GetTableNames(GetListedNames(settings))) {
        filter += name + "|";
    }
    return filter + PRODUCT_BASE;
}

/** "  PID COLUMN... COMMAND" split at blanks, as many words as there are. */
std::vector<std::string> SplitWords(const std::string& line)
{
    std::vector<std::string> words;
    std::size_t place = 0;
    while ((place = line.find_first_not_of(' ', place)) != std::string::npos) {
        const std::size_t end = std::min(line.find(' ', place), line.size());
        words.push_back(line.substr(place, end - place));
        place = end;
    }
    return words;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

/** Runs ps with a choice of columns, and egrep over its output, as the daemon's shell line does. */
ToolRun RunListing(const CmdPath& tools, const std::string& columns, const std::string& filter)
{
    std::vector<std::string> command = SplitWords(columns);
    command.back() = tools.mPs; // in place of the pipe at the end
    std::rotate(command.begin(), command.end() - 1, command.end());
    const ToolRun listed = RunTool(command);
    return listed.status == 0 ? RunTool({tools.mEgrep, filter}, listed.output) : listed;
}

/** The processes of the counters that the listing doesn't show under their name. */
std::vector<int> FindMissing(const PreflightBase& base, const std::vector<std::string>& lines)
{
    std::set<int> shown;
    for (const std::string& line : lines) {
        const std::vector<std::string> words = SplitWords(line);
        if (words.size() >= 2) {
            shown.insert(std::atoi(words[0].c_str()));
        }
    }
    std::vector<int> missing;
    for (const LiveCounter& counter : base.live.counters) {
        if (!shown.contains(counter.pid) && ReadProcess(counter.pid, base.host.root + "/proc")) {
            missing.push_back(counter.pid);
        }
    }
    return missing;
}

/** What a good listing shows. */
std::string DescribeListing(const LiveMatches& live)
{
    std::set<int> processes;
    for (const LiveCounter& counter : live.counters) {
        processes.insert(counter.pid);
    }
    std::set<std::string> unmatched;
    for (const UnmatchedName& name : live.unmatched) {
        if (name.takenPid == 0) { // else its process has another name
            unmatched.insert(name.process);
        }
    }
    std::string text = processes.empty() ? "works; no watched process runs"
                       : processes.size() == 1
                           ? "shows the one watched process"
                           : "shows each of the " + std::to_string(processes.size()) + " watched processes";
    const char* before = "; without a process: ";
    for (const std::string& name : unmatched) {
        text += std::exchange(before, ", ") + name;
    }
    return text;
}

/** What the number in the columns is, as the listing prints it; the service then makes its reading of it. */
const char* GetColumnUnit(const LiveCounter& counter)
{
    if (counter.resource == Resource::Cpu) {
        return " % of one processor";
    }
    return counter.unit == UNIT_MEGABYTES ? " kB" : " % of the memory";
}

/** The columns with which the daemon reads a counter. */
const char* GetColumns(const LiveCounter& counter)
{
    if (counter.resource == Resource::Cpu) {
        return CPU_COLUMNS;
    }
    return counter.unit == UNIT_MEGABYTES ? MEMORY_SIZE_COLUMNS : MEMORY_PERCENT_COLUMNS;
}

/** The line that reads one process: process id, number, command. */
void CheckReading(const CmdPath& tools, const std::string& filter, const LiveCounter& counter,
                  PreflightRows& rows)
{
    const ToolRun run = RunListing(tools, GetColumns(counter), filter);
    const std::string check = std::string("reading of ") + GetLabel(counter.resource);
    for (const std::string& line : SplitLines(run.output)) {
        const std::vector<std::string> words = SplitWords(line);
        if (words.size() < 3 || std::atoi(words[0].c_str()) != counter.pid) {
            continue;
        }
        char* end = nullptr;
        (void)std::strtod(words[1].c_str(), &end);
        const bool isGood =
            end != words[1].c_str() && *end == '\0' &&
            (Process{0, words[2]}.GetName() == counter.process || IsJavaName(counter.process));
        rows.push_back(
            {check, isGood ? Result::Good : Result::Error,
             isGood ? "process " + words[0] + " reads " + words[1] + GetColumnUnit(counter)
                    : "the line of process " + words[0] + " isn't understood, and reads as 0: " + line,
             isGood ? "" : "see that ps is that of procps"});
        return;
    }
    rows.push_back({check, Result::Error,
                    "process " + std::to_string(counter.pid) + " has no line, and reads as 0",
                    "see that ps and egrep work"});
}

} // namespace

void CheckListing(const PreflightBase& base, PreflightRows& rows)
{
    const CmdPath& tools = *base.host.tools;
    const std::string filter = MakeFilter(base.prediction.settings);
    const ToolRun run = RunListing(tools, COMMAND_COLUMNS, filter);
    const std::vector<std::string> lines = SplitLines(run.output);
    const std::vector<int> missing = FindMissing(base, lines);
    if (run.status > 1 || run.status < 0) {
        rows.push_back(
            {"process listing", Result::Error,
             tools.mPs + " -eo pid,command | " + tools.mEgrep + " doesn't work: no process is found",
             "see that both work; a name that begins with - is an option to egrep"});
    } else if (!base.isStoreRead) {
        rows.push_back({"process listing", Result::Unknown,
                        "ps and egrep work; which processes they should show isn't known without the store",
                        ""});
    } else if (!missing.empty()) {
        rows.push_back({"process listing", Result::Error,
                        "process " + std::to_string(missing.front()) + " should be listed and isn't",
                        "see what ps -eo pid,command prints"});
    } else {
        rows.push_back({"process listing", Result::Good, DescribeListing(base.live), ""});
    }
    for (const Resource resource : {Resource::Cpu, Resource::Memory}) {
        const auto found =
            std::find_if(base.live.counters.begin(), base.live.counters.end(),
                         [resource](const LiveCounter& counter) { return counter.resource == resource; });
        if (found != base.live.counters.end()) {
            CheckReading(tools, filter, *found, rows);
        }
    }
}

} // namespace ctl
