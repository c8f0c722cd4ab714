#include "processes/ProcessTable.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string_view>

#include <dirent.h>
#include <unistd.h>

#include "base/SafeFile.h"
#include "processes/Machine.h"

namespace ctl
{

namespace
{

constexpr std::size_t COMMAND_LIMIT = std::size_t{128} * 1024; // more than a listing needs to find a name
constexpr std::size_t STATUS_LIMIT = 65536;

struct FolderCloser
{
    void operator()(DIR* folder) const { (void)closedir(folder); } // it was only read from
};

std::optional<int> ParsePid(std::string_view name)
{
    int pid = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), pid);
    const bool isPid = parsed.ec == std::errc() && parsed.ptr == name.data() + name.size() && pid > 0;
    return isPid ? std::optional(pid) : std::nullopt;
}

/** The text of a file of a process; empty if it can't be read. One descriptor of /proc serves them all. */
std::string ReadText(int folder, int pid, const char* name, std::size_t limit)
{
    char path[64];
    (void)std::snprintf(path, sizeof path, "%d/%s", pid, name);
    const Descriptor file(openat(folder, path, O_RDONLY | O_CLOEXEC));
    std::string text;
    char step[16384];
    // Less than was asked for is the end; asking again would be half the work of a listing.
    for (ssize_t count = sizeof step; count == sizeof step && text.size() < limit;) {
        count = file.IsOpen() ? read(file.Get(), step, sizeof step) : -1;
        text.append(step, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return text;
}

std::string ReadCommand(int folder, int pid)
{
    std::string command = ReadText(folder, pid, "cmdline", COMMAND_LIMIT);
    while (command.ends_with('\0')) {
        command.pop_back();
    }
    std::replace(command.begin(), command.end(), '\0', ' ');
    return command;
}

/** The number behind "NAME:" at the start of a line of a status file; 0 if there is none. */
std::uint64_t FindNumber(std::string_view text, std::string_view name)
{
    const std::size_t place = text.find("\n" + std::string(name) + ":");
    if (place == std::string_view::npos) {
        return 0;
    }
    const std::string rest(text.substr(place + name.size() + 2, 64));
    return std::strtoull(rest.c_str(), nullptr, 10);
}

/**
 * The fields of a stat file after the command, whose name may hold anything: the state is the first. No more
 * than are asked for.
 */
std::vector<std::string_view> SplitStat(std::string_view text, std::size_t most)
{
    std::vector<std::string_view> fields;
    fields.reserve(most);
    const std::size_t end = text.rfind(')');
    std::size_t place = end == std::string_view::npos ? text.size() : end + 2;
    while (place < text.size() && fields.size() < most) {
        const std::size_t blank = std::min(text.find(' ', place), text.size());
        fields.push_back(text.substr(place, blank - place));
        place = blank + 1;
    }
    return fields;
}

std::uint64_t ParseNumber(std::string_view text)
{
    std::uint64_t number = 0;
    (void)std::from_chars(text.data(), text.data() + text.size(), number); // 0 if there is none
    return number;
}

} // namespace

std::string_view Process::GetName() const
{
    const std::string_view text = command;
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    std::string_view word = text.substr(begin, text.find(' ', begin) - begin);
    while (word.size() > 1 && word.ends_with('/')) {
        word.remove_suffix(1);
    }
    const std::size_t slash = word.rfind('/');
    return slash == std::string_view::npos || word.size() == 1 ? word : word.substr(slash + 1);
}

std::vector<Process> ReadProcesses(const std::string& folder)
{
    std::vector<Process> processes;
    const std::unique_ptr<DIR, FolderCloser> entries(opendir(folder.c_str()));
    for (const dirent* entry = nullptr; entries && (entry = readdir(entries.get())) != nullptr;) {
        if (const std::optional<int> pid = ParsePid(entry->d_name)) {
            processes.push_back({*pid, ReadCommand(dirfd(entries.get()), *pid)});
        }
    }
    std::sort(processes.begin(), processes.end(),
              [](const Process& one, const Process& other) { return one.pid < other.pid; });
    return processes;
}

std::optional<Process> ReadProcess(int pid, const std::string& folder)
{
    const OpenedFile opened = OpenFolder(AT_FDCWD, folder);
    if (!opened.IsOpen() || faccessat(opened.file.Get(), std::to_string(pid).c_str(), F_OK, 0) != 0) {
        return std::nullopt;
    }
    return Process{pid, ReadCommand(opened.file.Get(), pid)};
}

std::optional<ProcessDetails> ReadDetails(int pid, const std::string& folder)
{
    const OpenedFile opened = OpenFolder(AT_FDCWD, folder);
    return opened.IsOpen() ? ReadDetails(opened.file.Get(), pid) : std::nullopt;
}

std::optional<ProcessDetails> ReadDetails(int folder, int pid)
{
    constexpr std::size_t PARENT = 1;
    constexpr std::size_t USER_TIME = 11;
    constexpr std::size_t SYSTEM_TIME = 12;
    constexpr std::size_t THREADS = 17;
    constexpr std::size_t START = 19;
    const std::string stat = ReadText(folder, pid, "stat", STATUS_LIMIT);
    const std::vector<std::string_view> fields = SplitStat(stat, START + 1);
    if (fields.size() <= START) {
        return std::nullopt;
    }
    const auto number = [&fields](std::size_t place) { return ParseNumber(fields[place]); };
    const std::string status = ReadText(folder, pid, "status", STATUS_LIMIT);
    ProcessDetails details;
    details.cpuTicks = number(USER_TIME) + number(SYSTEM_TIME);
    details.startTicks = number(START);
    details.parent = static_cast<int>(number(PARENT));
    details.threads = static_cast<int>(number(THREADS));
    details.state = fields[0].empty() ? '?' : fields[0][0];
    details.residentKb = FindNumber(status, "VmRSS");
    details.tracer = static_cast<int>(FindNumber(status, "TracerPid"));
    details.user = static_cast<unsigned>(FindNumber(status, "Uid"));
    return details;
}

std::time_t GetStartTime(const ProcessDetails& details, const std::string& folder)
{
    static const auto ticksPerSecond = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    return ReadBootTime(folder) + static_cast<std::time_t>(details.startTicks / ticksPerSecond);
}

} // namespace ctl
