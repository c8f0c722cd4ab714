#pragma once

#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "log/EventCursor.h"

namespace ctl
{

/** Numbers of breaches by configured name, as UTF-8, and resource. */
using BreachCounts = std::map<std::pair<std::string, std::string>, long long>;

/**
 * The breaches since the latest start of the service, and how far the logs were read for them. It can be kept
 * as a line of text: whoever goes on from there counts each breach once, whatever became of the logs before.
 */
struct BreachTally
{
    std::string folder; ///< of the logs
    EventCursor cursor;
    BreachCounts counts;
    bool hasStart = false; ///< the latest counting saw a start, so that all since then are counted
};

/** Begins before the first log of the day of `since`, or before all logs for 0. */
BreachTally BeginTally(const std::string& folder, std::time_t since);

/** Counts on with what the logs hold beyond it. Returns why they can't be read; empty if they can. */
std::string CountOn(BreachTally& tally);

/** One line without its end: a comment in the text format of Prometheus. */
std::string FormatTally(const BreachTally& tally);

/** The tally in a text that holds such a line, of the same folder; nothing if there is none that is whole. */
std::optional<BreachTally> FindTally(std::string_view text, const std::string& folder);

} // namespace ctl
