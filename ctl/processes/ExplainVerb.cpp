#include "processes/ExplainVerb.h"

#include <cstdio>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "base/Common.h"
#include "base/Document.h"
#include "base/ExitStatus.h"
#include "base/PlainText.h"
#include "base/TimeText.h"
#include "processes/Explanation.h"

namespace ctl
{

namespace
{

struct Options
{
    std::string subject;
    std::string at;
};

Json DescribeReadings(const CounterExplanation& counter)
{
    Json readings = Json::array();
    for (const TracedReading& reading : counter.readings) {
        readings.push_back({{"time", TimeToJson(reading.time)}, {"value", reading.value}});
    }
    return readings;
}

Json DescribeExplained(const CounterExplanation& counter)
{
    Json json;
    json["process"] = ToJson(counter.process);
    json["pid"] = counter.pid;
    json["resource"] = GetName(counter.resource);
    json["reading"] = OrNull(counter.now);
    json["limit"] = OrNull(counter.limit);
    json["unit"] = counter.unit;
    json["readings"] = DescribeReadings(counter);
    json["average"] = OrNull(counter.average);
    json["window"] = OrNull(counter.window);
    json["decision"] = TimeToJson(counter.decision);
    json["setsTaken"] = OrNull(counter.setsTaken);
    json["setsAllowed"] = OrNull(counter.setsAllowed);
    json["breaches"] = counter.isKnown ? Json(counter.breaches) : Json(nullptr);
    json["lastBreach"] = TimeToJson(counter.lastBreach);
    json["lastSet"] = TimeToJson(counter.lastSet);
    json["secondsAtFullProcessor"] = OrNull(counter.secondsAtFull);
    json["reasons"] = ToJson(counter.reasons);
    return json;
}

void PrintJson(const Explanation& explanation, const std::string& subject, std::time_t at)
{
    Json document = BeginDocument("explain");
    document["subject"] = ToJson(subject);
    document["at"] = TimeToJson(at);
    document["watched"] = OrNull(explanation.isWatched);
    document["counters"] = Json::array();
    for (const CounterExplanation& counter : explanation.counters) {
        document["counters"].push_back(DescribeExplained(counter));
    }
    document["reasons"] = ToJson(explanation.reasons);
    PrintDocument(document);
}

void PrintReadings(const CounterExplanation& counter)
{
    if (counter.readings.empty()) {
        return;
    }
    std::cout << "  readings";
    for (const TracedReading& reading : counter.readings) {
        char text[48];
        (void)std::snprintf(text, sizeof text, "  %.2f", reading.value);
        std::cout << text << " (" << FormatLocalTime(reading.time).substr(11) << ")";
    }
    std::cout << '\n';
}

void PrintCounts(const CounterExplanation& counter)
{
    if (!counter.isKnown) {
        return;
    }
    const auto show = [](std::optional<int> number) { return number ? std::to_string(*number) : "?"; };
    std::cout << "  sets " << show(counter.setsTaken) << " of " << show(counter.setsAllowed) << ", breaches "
              << counter.breaches;
    if (counter.lastBreach) {
        std::cout << ", the last " << FormatLocalTime(*counter.lastBreach);
    }
    std::cout << '\n';
    if (counter.decision) {
        std::cout << "  next decision about " << FormatLocalTime(*counter.decision) << '\n';
    }
}

void PrintCounter(const CounterExplanation& counter)
{
    std::cout << EscapeControls(counter.process) << " (" << counter.pid << "), " << GetName(counter.resource)
              << ", limit "
              << (counter.limit ? std::to_string(*counter.limit) + " " + counter.unit : "unknown") << '\n';
    PrintReadings(counter);
    PrintCounts(counter);
    for (const std::string& reason : counter.reasons) {
        std::cout << "  - " << EscapeControls(reason) << '\n';
    }
}

int RunExplain(const Common& common, const Options& options)
{
    const std::time_t now = std::time(nullptr);
    const std::optional<std::time_t> at = options.at.empty() ? now : ParseTime(options.at, now);
    if (!at) {
        throw CLI::ValidationError("--at", "no time: " + options.at);
    }
    if (*at > now) {
        throw CLI::ValidationError("--at", "that time is still to come: " + FormatLocalTime(*at));
    }
    const Explanation explanation = ExplainService(common, options.subject, *at, now);
    if (common.json) {
        PrintJson(explanation, options.subject, *at);
    } else {
        for (const CounterExplanation& counter : explanation.counters) {
            PrintCounter(counter);
        }
        for (const std::string& reason : explanation.reasons) {
            std::cout << EscapeControls(options.subject) << ": " << EscapeControls(reason) << '\n';
        }
    }
    if (!explanation.isWhole) {
        return EXIT_CANT_TELL;
    }
    return explanation.counters.empty() ? EXIT_WARNINGS : EXIT_GOOD;
}

} // namespace

void AddExplainVerb(CLI::App& program, Common& common)
{
    CLI::App& verb =
        AddVerb(program, {"explain", "Explains why there is an evidence set of a process, or none",
                          "thsentinelctl explain tbrd\nthsentinelctl explain 4321 --at 02:10"});
    const auto options = std::make_shared<Options>();
    verb.add_option("TARGET", options->subject, "A name of the lists, or a process id")
        ->type_name("NAME|PID")
        ->required();
    verb.add_option("--at", options->at, "At this time instead of now: 02:10, '2026-11-21 02:10', 3h")
        ->type_name("TIME");
    SetAction(verb, common, [&common, options] { return RunExplain(common, *options); });
}

} // namespace ctl
