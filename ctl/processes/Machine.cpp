#include "processes/Machine.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "base/SafeFile.h"

namespace ctl
{

namespace
{

constexpr std::size_t LIMIT = std::size_t{4} * 1024 * 1024; // cpuinfo of a thousand processors

int CountProcessors(std::string_view text)
{
    int count = text.starts_with("processor") ? 1 : 0;
    for (std::size_t place = 0; (place = text.find("\nprocessor", place)) != std::string_view::npos;
         ++place) {
        ++count;
    }
    return count;
}

std::uint64_t FindKilobytes(const std::string& text, const std::string& name)
{
    const std::size_t place = text.find(name + ":");
    return place == std::string::npos ? 0
                                      : std::strtoull(text.c_str() + place + name.size() + 1, nullptr, 10);
}

} // namespace

Machine ReadMachine(const std::string& folder)
{
    Machine machine;
    machine.processors = std::max(1, CountProcessors(ReadFile(AT_FDCWD, folder + "/cpuinfo", LIMIT).text));
    const std::string memory = ReadFile(AT_FDCWD, folder + "/meminfo", LIMIT).text;
    machine.memoryKb = FindKilobytes(memory, "MemTotal");
    machine.availableKb = FindKilobytes(memory, "MemAvailable");
    machine.uptime = std::strtod(ReadFile(AT_FDCWD, folder + "/uptime", LIMIT).text.c_str(), nullptr);
    return machine;
}

std::time_t ReadBootTime(const std::string& folder)
{
    const std::string text = ReadFile(AT_FDCWD, folder + "/stat", LIMIT).text;
    const std::size_t place = text.find("\nbtime ");
    return place == std::string::npos ? 0 : std::strtoll(text.c_str() + place + 7, nullptr, 10);
}

} // namespace ctl
