#include "log/LogEvents.h"

#include <array>
#include <charconv>
#include <cstdlib>

namespace ctl
{

namespace
{

/** Reads a text from both ends; names may hold blanks, colons and brackets. */
class Cursor
{
public:
    explicit Cursor(std::string_view text) : mText(text) {}

    bool Skip(std::string_view word)
    {
        if (!mText.starts_with(word)) {
            return false;
        }
        mText.remove_prefix(word.size());
        return true;
    }

    bool DropEnd(std::string_view word)
    {
        if (!mText.ends_with(word)) {
            return false;
        }
        mText.remove_suffix(word.size());
        return true;
    }

    /** Takes what stands before the last `word`, and drops the word. */
    bool CutAtLast(std::string_view word, std::string& taken)
    {
        const std::size_t place = mText.rfind(word);
        if (place == std::string_view::npos) {
            return false;
        }
        taken = mText.substr(0, place);
        mText.remove_prefix(place + word.size());
        return true;
    }

    bool CutAtFirst(std::string_view word, std::string& taken)
    {
        const std::size_t place = mText.find(word);
        if (place == std::string_view::npos) {
            return false;
        }
        taken = mText.substr(0, place);
        mText.remove_prefix(place + word.size());
        return true;
    }

    bool TakeInt(int& value)
    {
        const auto parsed = std::from_chars(mText.data(), mText.data() + mText.size(), value);
        mText.remove_prefix(static_cast<std::size_t>(parsed.ptr - mText.data()));
        return parsed.ec == std::errc();
    }

    bool TakeDouble(double& value)
    {
        const auto parsed = std::from_chars(mText.data(), mText.data() + mText.size(), value);
        mText.remove_prefix(static_cast<std::size_t>(parsed.ptr - mText.data()));
        return parsed.ec == std::errc();
    }

    std::string_view GetRest() const { return mText; }

private:
    std::string_view mText;
};

bool TakeResource(Cursor& cursor, std::string& resource)
{
    if (cursor.Skip("CPU ")) {
        resource = "cpu";
    } else if (cursor.Skip("Memory ")) {
        resource = "memory";
    }
    return !resource.empty();
}

/** "NAME (PID)SEPARATOR Threshold : N UNIT , Usage : R UNIT", read from the end, as the name may hold
 * anything. */
bool TakeBreach(Cursor& cursor, std::string_view separator, LogEvent& event)
{
    std::string head;
    if (!cursor.CutAtLast(std::string(separator) + "Threshold : ", head)) {
        return false;
    }
    std::string unit;
    const bool isWhole = cursor.TakeInt(event.limit) && cursor.Skip(" ") &&
                         cursor.CutAtFirst(" , Usage : ", event.unit) && cursor.TakeDouble(event.reading);
    Cursor name(head);
    return isWhole && name.CutAtLast(" (", event.process) && name.TakeInt(event.pid);
}

/** "NAME(PID) : R UNIT". */
bool TakeUsage(Cursor& cursor, LogEvent& event)
{
    std::string head;
    if (!cursor.CutAtLast(") : ", head) || !cursor.TakeDouble(event.reading) || !cursor.Skip(" ")) {
        return false;
    }
    event.unit = cursor.GetRest();
    Cursor name(head);
    return name.CutAtLast("(", event.process) && name.TakeInt(event.pid);
}

std::optional<LogEvent> ParseCounterText(std::string_view text)
{
    Cursor cursor(text);
    LogEvent event;
    if (!TakeResource(cursor, event.resource)) {
        return std::nullopt;
    }
    if (cursor.Skip("threshold exceeded by process : ")) {
        event.kind = LogEventKind::Breach;
        return TakeBreach(cursor, "), ", event) ? std::optional(event) : std::nullopt;
    }
    if (cursor.Skip("Capturing evidence for process ")) {
        event.kind = LogEventKind::Forced;
        return TakeBreach(cursor, ") without threshold , ", event) ? std::optional(event) : std::nullopt;
    }
    if (cursor.Skip("counter added for process ")) {
        event.kind = LogEventKind::CounterAdded;
        std::string counter;
        return cursor.CutAtFirst(" with PID - ", event.process) && cursor.TakeInt(event.pid)
                   ? std::optional(event)
                   : std::nullopt;
    }
    if (cursor.Skip("usage for process ")) {
        event.kind = LogEventKind::Usage;
        return TakeUsage(cursor, event) ? std::optional(event) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<LogEvent> ParseServiceText(std::string_view text)
{
    LogEvent event;
    if (text == "Tarnhaven Health Sentinel Service is monitoring the resources.") {
        event.kind = LogEventKind::Pass;
    } else if (text == "Tarnhaven Health Sentinel Service started") {
        event.kind = LogEventKind::Started;
    } else if (text == "Tarnhaven Health Sentinel Service stopped.") {
        event.kind = LogEventKind::Stopped;
    } else {
        return std::nullopt;
    }
    return event;
}

std::optional<LogEvent> ParseCaptureText(std::string_view text)
{
    Cursor cursor(text);
    LogEvent event;
    event.kind = LogEventKind::Capture;
    const bool isWhole = cursor.Skip("Taking Process Dump (Count #") && cursor.TakeInt(event.number) &&
                         cursor.Skip(") for process ") && cursor.CutAtLast(" (", event.process) &&
                         cursor.TakeInt(event.pid) && cursor.GetRest() == ").";
    return isWhole ? std::optional(event) : std::nullopt;
}

std::optional<LogEvent> ParseDumpText(std::string_view text)
{
    Cursor cursor(text);
    LogEvent event;
    if (cursor.Skip("Dump count reached max allowed for process ")) {
        event.kind = LogEventKind::Exhausted;
        return cursor.CutAtLast(" : ", event.process) && cursor.TakeInt(event.number) ? std::optional(event)
                                                                                      : std::nullopt;
    }
    std::string head;
    if (cursor.CutAtFirst(" Dump has generated for pid ", head)) {
        event.kind = LogEventKind::CoreWritten;
        return cursor.TakeInt(event.pid) ? std::optional(event) : std::nullopt;
    }
    event.kind = LogEventKind::Failure;
    if (cursor.CutAtFirst("Error: Failed to generate the dump for pid ", head)) {
        (void)cursor.TakeInt(event.pid); // 0 where the line was cut
    }
    return event; // the other texts of this kind all begin their complaint with "Error:"
}

/** "Sum : 90 Percent, Reading# : 1, Running Average : 90 Percent for CPU for process NAME(PID)". */
std::optional<LogEvent> ParseReadingText(std::string_view text)
{
    Cursor cursor(text);
    LogEvent event;
    event.kind = LogEventKind::Reading;
    std::string skipped;
    const bool isWhole = cursor.CutAtFirst(", Reading# : ", skipped) && cursor.TakeInt(event.number) &&
                         cursor.CutAtFirst(" for ", skipped) && TakeResource(cursor, event.resource) &&
                         cursor.Skip("for process ") && cursor.CutAtLast("(", event.process) &&
                         cursor.TakeInt(event.pid);
    return isWhole ? std::optional(event) : std::nullopt;
}

std::optional<LogEvent> ParseLevelText(std::string_view text)
{
    Cursor cursor(text);
    LogEvent event;
    event.kind = LogEventKind::LevelSaved;
    const bool isWhole = cursor.Skip("Original DebugLevel for process ") &&
                         cursor.CutAtLast(" is : ", event.process) && cursor.TakeInt(event.number);
    return isWhole ? std::optional(event) : std::nullopt;
}

std::optional<LogEvent> MakeSimple(LogEventKind kind)
{
    LogEvent event;
    event.kind = kind;
    return event;
}

} // namespace

std::optional<LogEvent> ParseLogText(std::string_view text)
{
    if (text.starts_with("CPU ") || text.starts_with("Memory ")) {
        return ParseCounterText(text);
    }
    if (text.starts_with("Tarnhaven Health Sentinel Service ")) {
        return ParseServiceText(text);
    }
    if (text.starts_with("Taking Process Dump")) {
        return ParseCaptureText(text);
    }
    if (text.starts_with("Dump count reached") || text.starts_with("TakeMemorySnapshotAndDump ")) {
        return ParseDumpText(text);
    }
    if (text.starts_with("Sum : ")) {
        return ParseReadingText(text);
    }
    if (text.starts_with("Original DebugLevel")) {
        return ParseLevelText(text);
    }
    if (text == "Reading the configuration from Tarnhaven configuration.") {
        return MakeSimple(LogEventKind::Load);
    }
    if (text == "Configuration file successfully read.") {
        return MakeSimple(LogEventKind::LoadDone);
    }
    return text.starts_with("Error:") ? MakeSimple(LogEventKind::Failure) : std::nullopt;
}

const char* GetName(LogEventKind kind)
{
    constexpr std::array NAMES = {"start",   "stop",    "pass",    "load",    "load-done",
                                  "counter", "breach",  "forced",  "capture", "exhausted",
                                  "core",    "failure", "reading", "usage",   "level"};
    return NAMES[static_cast<std::size_t>(kind)];
}

} // namespace ctl
