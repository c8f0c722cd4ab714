#include "log/EventsVerb.h"

#include <atomic>
#include <cstdio>
#include <functional>
#include <iomanip>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <signal.h>
#include <time.h>

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/NewFile.h"
#include "base/PlainText.h"
#include "base/TimeText.h"
#include "log/EventFeed.h"

namespace ctl
{

namespace
{

constexpr timespec BETWEEN = {0, 250'000'000};

volatile sig_atomic_t gIsInterrupted = 0;

void Interrupt(int)
{
    gIsInterrupted = 1;
}

struct Options
{
    bool follow = false;
    std::string cursor;
    std::string since;
};

/** One word for a kind; what is taken without a threshold is a breach that was forced. */
const char* GetEventName(LogEventKind kind)
{
    switch (kind) {
    case LogEventKind::Started:
        return "start";
    case LogEventKind::Stopped:
        return "stop";
    case LogEventKind::Breach:
    case LogEventKind::Forced:
        return "breach";
    case LogEventKind::Capture:
        return "capture";
    case LogEventKind::Exhausted:
        return "exhausted";
    default:
        return "failure"; // no other kinds are fed
    }
}

std::string FormatMilliseconds(std::time_t time, int milliseconds)
{
    std::string text = FormatTime(time);
    char fraction[8];
    (void)std::snprintf(fraction, sizeof fraction, ".%03d", milliseconds % 1000);
    constexpr std::size_t SECONDS_END = sizeof "2026-11-21T20:32:01" - 1;
    return text.insert(SECONDS_END, fraction);
}

Json DescribeEvent(const FedEvent& fed)
{
    const LogEvent& event = fed.event;
    Json json;
    json["schema"] = "thsentinelctl.event/1";
    json["time"] = FormatMilliseconds(fed.time, fed.milliseconds);
    json["event"] = GetEventName(event.kind);
    const bool hasProcess = !event.process.empty();
    json["process"] = hasProcess ? ToJson(event.process) : Json(nullptr);
    json["pid"] = event.pid > 0 ? Json(event.pid) : Json(nullptr);
    if (event.kind == LogEventKind::Breach || event.kind == LogEventKind::Forced) {
        json["resource"] = event.resource;
        json["reading"] = event.reading;
        json["limit"] = event.limit;
        json["unit"] = ToJson(event.unit);
        json["forced"] = event.kind == LogEventKind::Forced;
    }
    if (event.kind == LogEventKind::Capture) {
        json["number"] = event.number;
    }
    json["text"] = ToJson(fed.text);
    json["id"] = ToJson(fed.id);
    return json;
}

void Print(const Common& common, const FedEvent& event)
{
    if (common.json) {
        PrintLine(DescribeEvent(event));
    } else {
        std::cout << FormatLocalTime(event.time) << "  " << std::left << std::setw(sizeof "exhausted" - 1)
                  << GetEventName(event.event.kind) << "  " << EscapeControls(event.text) << std::endl;
    }
    if (!std::cout) {
        throw std::runtime_error("standard output can't be written");
    }
}

/** A signal ends the verb between two events, when the cursor stands after the last one. */
void CatchSignals()
{
    struct sigaction action = {};
    action.sa_handler = Interrupt;
    (void)sigaction(SIGINT, &action, nullptr); // can't fail for these
    (void)sigaction(SIGTERM, &action, nullptr);
}

std::time_t GetSince(const Options& options)
{
    if (options.since.empty()) {
        return 0;
    }
    const std::optional<std::time_t> since = ParseTime(options.since, std::time(nullptr));
    if (!since) {
        throw CLI::ValidationError("--since", "no time: " + options.since);
    }
    return *since;
}

/** Reads until it is interrupted. Reports each failure once, when it begins; a folder may still come. */
std::string Follow(EventFeed& feed, const std::function<bool()>& goOn)
{
    std::string reported;
    while (goOn()) {
        const std::string failure = feed.Read(goOn);
        if (failure != reported && !failure.empty()) {
            std::cerr << "thsentinelctl: " << EscapeControls(failure) << std::endl;
        }
        reported = failure;
        (void)nanosleep(&BETWEEN, nullptr); // cut short by a signal, which the loop then sees
    }
    return "";
}

int RunEvents(const Common& common, const Options& options)
{
    const std::time_t since = GetSince(options);
    EventCursor start;
    if (!options.cursor.empty()) {
        start = ReadCursor(options.cursor).value_or(EventCursor());
        TryReplacing(options.cursor); // before an event is printed that it couldn't take up
    }
    CatchSignals();
    EventFeed* reader = nullptr;
    EventFeed feed(common.log, start, [&](const FedEvent& event) {
        if (event.time >= since) {
            Print(common, event);
        }
        if (!options.cursor.empty()) {
            WriteCursor(options.cursor, reader->GetCursor());
        }
    });
    reader = &feed;
    const auto goOn = [] { return gIsInterrupted == 0; };
    const std::string failure = options.follow ? Follow(feed, goOn) : feed.Read(goOn);
    if (!options.cursor.empty()) {
        WriteCursor(options.cursor, feed.GetCursor());
    }
    if (!failure.empty()) {
        throw std::runtime_error(failure);
    }
    return EXIT_GOOD;
}

} // namespace

void AddEventsVerb(CLI::App& program, Common& common)
{
    CLI::App& verb =
        AddVerb(program, {"events", "Prints breaches, captures, failures, starts and stops from the log",
                          "thsentinelctl events --since 2h\n"
                          "thsentinelctl events --follow --json --cursor events.cursor"});
    const auto options = std::make_shared<Options>();
    verb.add_flag("--follow", options->follow, "Go on with what comes, until interrupted");
    verb.add_option("--cursor", options->cursor, "Begin where this file says, and keep it up to date")
        ->type_name("FILE");
    verb.add_option("--since", options->since, "Pass over what is older: 2h, 30d, '2026-11-21 20:32'")
        ->type_name("TIME");
    SetAction(verb, common, [&common, options] { return RunEvents(common, *options); });
}

} // namespace ctl
