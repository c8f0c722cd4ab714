#include "processes/ProcessTable.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include <unistd.h>

#include "base/SafeFile.h"
#include "processes/Machine.h"

namespace ctl
{

namespace
{

constexpr std::size_t COMMAND_LIMIT = std::size_t{128} * 1024; // more than a listing needs to find a name
constexpr std::size_t STATUS_LIMIT = 65536;

std::optional<int> ParsePid(std::string_view name)
{
    int pid = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), pid);
    const bool isPid = parsed.ec == std::errc() && parsed.ptr == name.data() + name.size() && pid > 0;
    return isPid ? std::optional(pid) : std::nullopt;
}

std::string ReadCommand(int folder, const std::string& pid)
{
    const Descriptor file(openat(folder, (pid + "/cmdline").c_str(), O_RDONLY | O_CLOEXEC));
    std::string command;
    char step[16384];
    // Less than was asked for is the end; asking again would be half the work of a listing.
    for (ssize_t count = sizeof step; count == sizeof step && command.size() < COMMAND_LIMIT;) {
        count = file.IsOpen() ? read(file.Get(), step, sizeof step) : -1;
        command.append(step, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
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

/** The fields of a stat file after the command, whose name may hold anything: the state is the first. */
std::vector<std::string> SplitStat(const std::string& text)
{
    std::vector<std::string> fields;
    const std::size_t end = text.rfind(')');
    std::size_t place = end == std::string::npos ? text.size() : end + 2;
    while (place < text.size()) {
        const std::size_t blank = std::min(text.find(' ', place), text.size());
        fields.push_back(text.substr(place, blank - place));
        place = blank + 1;
    }
    return fields;
}

} // namespace

std::string Process::GetName() const
{
    const std::size_t begin = std::min(command.find_first_not_of(' '), command.size());
    std::string word = command.substr(begin, command.find(' ', begin) - begin);
    while (word.size() > 1 && word.ends_with('/')) {
        word.pop_back();
    }
    const std::size_t slash = word.rfind('/');
    return slash == std::string::npos || word.size() == 1 ? word : word.substr(slash + 1);
}

std::vector<Process> ReadProcesses(const std::string& folder)
{
    const OpenedFile opened = OpenFolder(AT_FDCWD, folder);
    std::vector<Process> processes;
    if (!opened.IsOpen()) {
        return processes;
    }
    for (const std::string& name : ListNames(opened.file.Get())) {
        if (const std::optional<int> pid = ParsePid(name)) {
            processes.push_back({*pid, ReadCommand(opened.file.Get(), name)});
        }
    }
    std::sort(processes.begin(), processes.end(),
              [](const Process& one, const Process& other) { return one.pid < other.pid; });
    return processes;
}

std::optional<Process> ReadProcess(int pid, const std::string& folder)
{
    const OpenedFile opened = OpenFolder(AT_FDCWD, folder);
    const std::string name = std::to_string(pid);
    if (!opened.IsOpen() || faccessat(opened.file.Get(), name.c_str(), F_OK, 0) != 0) {
        return std::nullopt;
    }
    return Process{pid, ReadCommand(opened.file.Get(), name)};
}

std::optional<ProcessDetails> ReadDetails(int pid, const std::string& folder)
{
    constexpr std::size_t PARENT = 1;
    constexpr std::size_t USER_TIME = 11;
    constexpr std::size_t SYSTEM_TIME = 12;
    constexpr std::size_t THREADS = 17;
    constexpr std::size_t START = 19;
    const std::string base = folder + "/" + std::to_string(pid);
    const std::vector<std::string> fields = SplitStat(ReadFile(AT_FDCWD, base + "/stat", STATUS_LIMIT).text);
    if (fields.size() <= START) {
        return std::nullopt;
    }
    const auto number = [&fields](std::size_t place) {
        return std::strtoull(fields[place].c_str(), nullptr, 10);
    };
    const std::string status = ReadFile(AT_FDCWD, base + "/status", STATUS_LIMIT).text;
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
