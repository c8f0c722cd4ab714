#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace ctl
{

/** JSON whose members come out in the order in which they were added. */
using Json = nlohmann::ordered_json;

/**
 * Begins a JSON document: `schema` ("thsentinelctl.VERB/VERSION") and `time` (ISO 8601 with the offset of the
 * host). The version rises when a member changes its meaning or goes; new members don't raise it.
 */
Json BeginDocument(std::string_view verb, int version = 1);

/** Text from outside as a JSON string: bytes that are no UTF-8 come as U+FFFD. */
Json ToJson(std::string_view text);

/** The same for a list of texts. */
Json ToJson(const std::vector<std::string>& texts);

/** A time in seconds since the epoch as ISO 8601 with offset; null if there is none. */
Json TimeToJson(std::optional<std::time_t> time);

/** A value, or null. */
template <typename Value>
Json OrNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

/** Prints the document on standard output, indented, with a line end. */
void PrintDocument(const Json& document);

/** Prints one object on one line, with a line end; for streams of objects. */
void PrintLine(const Json& object);

} // namespace ctl
