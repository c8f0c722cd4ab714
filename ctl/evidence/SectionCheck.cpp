#include "evidence/SectionCheck.h"

#include "base/Plural.h"
#include "evidence/DataScan.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <utility>

namespace ctl
{
namespace
{
bool StartsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

/** True if a section is the planned one, with or without the daemon's filter by process id. */
bool IsPlanned(const Section& section, const PlannedSection& planned)
{
    const std::string_view line = GetToolLine(section);
    return line == planned.toolLine || StartsWith(line, planned.toolLine + " | ");
}

/** True if only line ends came out of the tool. */
bool IsEmpty(const Section& section)
{
    return section.bytes == 0;
}

std::string Quote(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

std::optional<int> ParseNumber(std::string_view text)
{
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && stop == text.data() + text.size() ? std::optional<int>(number)
                                                                     : std::nullopt;
}

/** Takes the last word off a line. */
std::string_view TakeLastWord(std::string_view& line)
{
    const std::size_t blank = line.rfind(' ');
    const std::string_view word = blank == std::string_view::npos ? line : line.substr(blank + 1);
    line = blank == std::string_view::npos ? std::string_view() : line.substr(0, blank);
    return word;
}

/** Finds the sections in their order; says where they leave it. Returns how many follow it. */
std::size_t FollowPlan(const SectionFile& found, const std::vector<PlannedSection>& planned,
                       SectionReport& report)
{
    for (std::size_t index = 0; index < found.sections.size(); ++index) {
        const PlannedSection& wanted = planned[index % planned.size()];
        if (!IsPlanned(found.sections[index], wanted)) {
            report.damages.push_back("section " + std::to_string(index + 1) + " is " +
                                     Quote(GetToolLine(found.sections[index])) + " where " +
                                     Quote(wanted.toolLine) + " belongs");
            return index;
        }
    }
    return found.sections.size();
}

void CountReadings(std::size_t sections, const std::vector<PlannedSection>& planned,
                   std::optional<int> readings, SectionReport& report)
{
    const std::size_t whole = sections / planned.size();
    const std::size_t rest = sections % planned.size();
    if (rest != 0 || whole == 0) {
        report.damages.push_back("ends before " + Quote(planned[rest].toolLine) +
                                 (readings == 1 ? "" : " of reading " + std::to_string(whole + 1)));
    }
    if (readings && whole < static_cast<std::size_t>(std::max(*readings, 0)) && *readings != 1) {
        report.damages.push_back("holds " + std::to_string(whole) + " of " +
                                 CountNoun(static_cast<std::uint64_t>(*readings), "reading"));
    } else if (readings && whole > static_cast<std::size_t>(std::max(*readings, 0))) {
        report.notes.push_back("holds " + CountNoun(whole, "reading") + " where " +
                               std::to_string(*readings) + (*readings == 1 ? " was" : " were") + " expected");
    }
}

/** Says which tools gave nothing, a line for each. */
void CheckOutputs(const SectionFile& found, const std::vector<PlannedSection>& planned, std::size_t followed,
                  SectionReport& report)
{
    for (std::size_t row = 0; row < planned.size(); ++row) {
        std::size_t total = 0;
        std::size_t empty = 0;
        for (std::size_t index = row; index < followed; index += planned.size()) {
            ++total;
            empty += IsEmpty(found.sections[index]) ? 1 : 0;
        }
        const bool isWell = empty == 0 || (planned[row].mayBeEmpty && !planned[row].isOptional);
        const std::string count =
            total > 1 ? " in " + std::to_string(empty) + " of " + std::to_string(total) + " readings" : "";
        if (!isWell) {
            const char* const reason = planned[row].isOptional
                                           ? ": the tool isn't installed, or could not look into the process"
                                           : "";
            (planned[row].isOptional ? report.notes : report.damages)
                .push_back(Quote(planned[row].toolLine) + " gave nothing" + count + reason);
        }
    }
}

void CheckBytes(const SectionFile& found, SectionReport& report)
{
    if (found.zeroBytes != 0) {
        report.damages.push_back("holds " + CountNoun(found.zeroBytes, "zero byte"));
    }
    if (found.sections.empty()) {
        report.damages.push_back("holds no section");
    } else if (found.strayBytes != 0) {
        report.damages.push_back("begins with " +
                                 CountNoun(found.strayBytes, "byte that belongs", "bytes that belong") +
                                 " to no section");
    }
    if (found.isCut) {
        report.notes.push_back("holds more sections than are looked at");
    }
}

const Section* FindSampling(const SectionFile& found, std::string_view tool)
{
    for (const Section& section : found.sections) {
        if (StartsWith(GetToolLine(section), tool)) {
            return &section;
        }
    }
    return nullptr;
}

void CheckSamples(int file, const SectionFile& found, FileKind kind, SectionReport& report)
{
    const std::string tool = GetSamplingTool(kind);
    const Section* const section = FindSampling(found, tool + " ");
    const auto line = section == nullptr ? std::nullopt : ParseSamplingLine(GetToolLine(*section));
    if (!line) {
        report.damages.push_back("has no section of " + tool);
        return;
    }
    SampleCount count;
    // What can't be read was found before.
    (void)ReadLines(file, section->offset, section->bytes,
                    [&count](std::string_view text) { count.TakeLine(text); });
    const int samples = kind == FileKind::Iostat ? count.GetIostatSamples() : count.GetMpstatSamples();
    if (samples < line->count) {
        report.damages.push_back("holds " + std::to_string(samples) + " of " +
                                 CountNoun(static_cast<std::uint64_t>(line->count), "sample"));
    } else if (kind == FileKind::Mpstat && line->count > 0 && !count.HasSummary()) {
        report.damages.push_back("ends before the averages");
    }
}

void CheckEnd(int file, std::uint64_t bytes, SectionReport& report)
{
    if (bytes != 0 && ReadAt(file, bytes - 1, 1) != "\n") {
        report.damages.push_back("ends in the middle of a line");
    }
}
/** Scans so many bytes at an offset. */
SectionFile ScanPart(int file, std::uint64_t offset, std::size_t size)
{
    SectionScanner scanner;
    scanner.Take(ReadAt(file, offset, size));
    return scanner.Finish();
}

/** Holds the last section against the last one planned. */
void CheckLastSection(const SectionFile& tail, const std::vector<PlannedSection>& planned,
                      SectionReport& report)
{
    if (tail.zeroBytes != 0) {
        report.damages.push_back("holds " + std::to_string(tail.zeroBytes) + " zero bytes near its end");
    }
    if (planned.empty() || tail.sections.empty()) {
        return; // a section that is longer than the part at hand
    }
    const Section& last = tail.sections.back();
    if (!IsPlanned(last, planned.back())) {
        report.damages.push_back("ends with " + Quote(GetToolLine(last)) + ", before " +
                                 Quote(planned.back().toolLine));
    } else if (IsEmpty(last) && !planned.back().mayBeEmpty) {
        report.damages.push_back(Quote(planned.back().toolLine) + " gave nothing at the end");
    }
}
} // namespace

std::optional<SamplingLine> ParseSamplingLine(std::string_view toolLine)
{
    const std::optional<int> count = ParseNumber(TakeLastWord(toolLine));
    const std::optional<int> interval = ParseNumber(TakeLastWord(toolLine));
    if (!count || !interval) {
        return std::nullopt;
    }
    return SamplingLine{*interval, *count};
}

SectionReport CheckSections(const SectionFile& found, const std::vector<PlannedSection>& planned,
                            std::optional<int> readings)
{
    SectionReport report;
    CheckBytes(found, report);
    if (planned.empty() || found.sections.empty()) {
        return report;
    }
    const std::size_t followed = FollowPlan(found, planned, report);
    if (followed == found.sections.size()) {
        CountReadings(followed, planned, readings, report);
    }
    CheckOutputs(found, planned, followed, report);
    return report;
}

void SampleCount::TakeLine(std::string_view line)
{
    if (StartsWith(line, "Device")) {
        ++mDeviceHeads;
        mIsTableBegun = true;
        return;
    }
    if (std::exchange(mIsTableBegun, false) && !line.empty()) {
        ++mDeviceTables;
    }
    std::istringstream words{std::string(line.substr(0, 128))};
    std::string time;
    std::string second;
    std::string third;
    words >> time >> second >> third;
    if (second != "all" && third != "all") { // a time of twelve hours has AM or PM after it
        return;
    }
    const bool isSample = time.front() >= '0' && time.front() <= '9';
    mAllLines += isSample ? 1 : 0;
    mHasSummary = mHasSummary || !isSample; // "Average:", in the language of the host
}

SectionReport CheckSectionFile(int file, std::uint64_t bytes, FileKind kind, int pid,
                               std::optional<int> readings)
{
    const SectionFile found = ScanSections(file, bytes);
    SectionReport report = CheckSections(found, GetPlannedSections(kind, pid), readings);
    if (!found.failure.empty()) {
        report.damages.push_back(found.failure);
    }
    if (kind == FileKind::Iostat || kind == FileKind::Mpstat) {
        CheckSamples(file, found, kind, report);
    }
    CheckEnd(file, bytes, report);
    return report;
}

SectionReport CheckSectionEnds(int file, std::uint64_t bytes, FileKind kind, int pid)
{
    constexpr std::uint64_t HEAD = 4096;
    constexpr std::uint64_t TAIL = std::uint64_t{1024} * 1024;
    SectionReport report;
    CheckBytes(ScanPart(file, 0, std::min(bytes, HEAD)), report);
    const std::uint64_t tail = std::min(bytes, TAIL);
    CheckLastSection(ScanPart(file, bytes - tail, tail), GetPlannedSections(kind, pid), report);
    CheckEnd(file, bytes, report);
    return report;
}

} // namespace ctl
