#include "log/LogEvents.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "base/ProgramNames.h"
#include "cli/ServiceTexts.h"
#include "config/ConfigurationTexts.h"
#include "counters/BreachTexts.h"
#include "evidence/CaptureTexts.h"
#include "logcontrol/LogLevelTexts.h"

#include "log/TextPattern.h"

namespace ctl
{

namespace
{

constexpr char FIRSTS_OF_LABELS[] = {LABEL_CPU[0], LABEL_MEMORY[0]};

/** The characters with which a line of a format can begin. */
constexpr std::string_view GetFirsts(std::string_view format, std::string_view places)
{
    if (!format.starts_with('%')) {
        return format.substr(0, 1);
    }
    return places.front() == 'L' ? std::string_view(FIRSTS_OF_LABELS, sizeof FIRSTS_OF_LABELS)
                                 : std::string_view(TITLE, 1);
}

constexpr std::string_view LABEL = "%s"; // at the begin of a format whose first place is a label

/** What stands before the first conversion of a format, or before its line end; a label is left out. */
constexpr std::string_view GetFixed(std::string_view format, std::string_view places)
{
    if (places.starts_with('L') && format.starts_with(LABEL)) {
        format.remove_prefix(LABEL.size());
    }
    return format.substr(0, format.find_first_of("%\n"));
}

/** A line of the daemon's, and what stands at the conversions of its format; see MatchText. */
struct LinePattern
{
    LogEventKind kind;
    std::string_view format;
    std::string_view places;
    const char* detail = "";                             ///< of the event, where the format has none
    std::string_view firsts = GetFirsts(format, places); ///< with one of which its lines begin
    std::string_view fixed = GetFixed(format, places);   ///< with which they begin, perhaps after a label
};

/** The formats of a breach begin with the stamp, which their line has instead of another one. */
constexpr std::size_t STAMP = sizeof "%s" - 1;

// Where a line fits two of them, the first counts.
constexpr LinePattern PATTERNS[] = {
    {LogEventKind::Usage, READING_TEXT, "LNPRU"},
    {LogEventKind::Window, SUM_TEXT, "_UCAULNP"},
    {LogEventKind::Pass, PASS_TEXT, "S"},
    {LogEventKind::Load, LOAD_STARTS_TEXT, ""},
    {LogEventKind::LoadDone, LOAD_SUCCEEDED_TEXT, ""},
    {LogEventKind::Interval, POLL_INTERVAL_TEXT, "C_"},
    {LogEventKind::CounterAdded, COUNTER_ADDED_TEXT, "LNP_"},
    {LogEventKind::Breach, BREACH_TEXT + STAMP, "LNPTURU"},
    {LogEventKind::Forced, CAPTURE_WITHOUT_THRESHOLD_TEXT + STAMP, "LNPTURU"},
    {LogEventKind::Capture, DUMP_COUNT_TEXT, "CNP"},
    {LogEventKind::Exhausted, DUMP_COUNT_REACHED_TEXT, "NC"},
    {LogEventKind::Started, SERVICE_STARTED_TEXT, "S"},
    {LogEventKind::Stopped, SERVICE_STOPPED_TEXT, "S"},
    {LogEventKind::CoreWritten, CORE_TAKEN_TEXT, "_P"},
    {LogEventKind::CoreFailed, CORE_FAILED_TEXT, "_P"},
    {LogEventKind::CoreToolMissing, NO_GCORE_TEXT, "_D"},
    {LogEventKind::JavaDumpDone, JAVA_DUMP_TAKEN_TEXT, ""},
    {LogEventKind::JavaDumpFailed, JAVA_LINE_FAILED_TEXT, "D"},
    {LogEventKind::CaptureStarted, CORE_TEXTS.mCreated, "_Q", "core image"},
    {LogEventKind::CaptureStarted, JAVA_TEXTS.mCreated, "_P", "Java dump"},
    {LogEventKind::CaptureStarted, MEMORY_TEXTS.mCreated, "_Q", "memory statistics"},
    {LogEventKind::CaptureStarted, NETWORK_TEXTS.mCreated, "_Q", "network statistics"},
    {LogEventKind::CaptureStarted, DISK_TEXTS.mCreated, "_Q", "disk statistics"},
    {LogEventKind::CaptureStarted, PROCESS_TEXTS.mCreated, "_Q", "process statistics"},
    {LogEventKind::CaptureDone, MEMORY_DONE_TEXT, "", "memory statistics"},
    {LogEventKind::CaptureDone, NETWORK_DONE_TEXT, "", "network statistics"},
    {LogEventKind::CaptureDone, PROCESS_DONE_TEXT, "", "process statistics"},
    {LogEventKind::LevelSaved, ORIGINAL_DEBUG_LEVEL_TEXT, "NC"},
    {LogEventKind::LevelRaised, LEVELS_RAISED_TEXT, "N"},
    {LogEventKind::LevelRestored, LEVELS_RESTORED_TEXT, "N"},
    {LogEventKind::Failure, CONFIGURATION_ERROR_TEXT, "D"}, // as all complaints of the daemon begin
};

/** For each character the patterns that begin with it, a bit for each: most lines fit none, and are many. */
constexpr auto FITTING = [] {
    static_assert(std::size(PATTERNS) <= 32);
    std::array<std::uint32_t, 256> fitting = {};
    for (std::size_t place = 0; place < std::size(PATTERNS); ++place) {
        for (const char first : PATTERNS[place].firsts) {
            fitting[static_cast<unsigned char>(first)] |= std::uint32_t{1} << place;
        }
    }
    return fitting;
}();

bool FitsBegin(std::string_view text, const LinePattern& pattern)
{
    if (pattern.places.starts_with('L') && pattern.format.starts_with(LABEL)) {
        const std::string_view label = text.starts_with(LABEL_CPU) ? LABEL_CPU : LABEL_MEMORY;
        if (!text.starts_with(label)) {
            return false;
        }
        text.remove_prefix(label.size());
    }
    return text.starts_with(pattern.fixed);
}

/** The first pattern with whose begin the text begins and that `accepts` is true for; null without one. */
template <typename Accepts>
const LinePattern* FindPattern(std::string_view text, const Accepts& accepts)
{
    std::uint32_t fitting = text.empty() ? 0 : FITTING[static_cast<unsigned char>(text.front())];
    for (; fitting != 0; fitting &= fitting - 1) {
        const LinePattern& pattern = PATTERNS[std::countr_zero(fitting)];
        if (FitsBegin(text, pattern) && accepts(pattern)) {
            return &pattern;
        }
    }
    return nullptr;
}

} // namespace

std::optional<LogEvent> ParseLogText(std::string_view text)
{
    LogEvent event;
    const LinePattern* const found = FindPattern(text, [&text, &event](const LinePattern& pattern) {
        event = LogEvent();
        event.detail = pattern.detail;
        return MatchText(text, pattern.format, pattern.places, event);
    });
    if (found == nullptr) {
        return std::nullopt;
    }
    event.kind = found->kind;
    return event;
}

bool MayReport(std::string_view text)
{
    return FindPattern(text, [](const LinePattern&) { return true; }) != nullptr;
}

bool MayReportMore(std::string_view text)
{
    const auto isNoReading = [](const LinePattern& pattern) {
        return pattern.kind != LogEventKind::Usage && pattern.kind != LogEventKind::Window;
    };
    return FindPattern(text, isNoReading) != nullptr;
}

bool IsFailure(LogEventKind kind)
{
    constexpr LogEventKind FAILURES[] = {LogEventKind::CoreFailed, LogEventKind::CoreToolMissing,
                                         LogEventKind::JavaDumpFailed, LogEventKind::Failure};
    return std::find(std::begin(FAILURES), std::end(FAILURES), kind) != std::end(FAILURES);
}

} // namespace ctl
