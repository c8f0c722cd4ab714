#include "log/EventCursor.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "base/Document.h"
#include "base/NewFile.h"
#include "base/SafeFile.h"

namespace ctl
{

namespace
{

// The first had the newest two places alone, and no release before the third had marks.
constexpr const char* SCHEMAS[] = {"thsentinelctl.cursor/1", "thsentinelctl.cursor/2",
                                   "thsentinelctl.cursor/3"};
constexpr const char* SCHEMA = SCHEMAS[2];
constexpr std::string_view FAMILY = "thsentinelctl.cursor/";
constexpr std::size_t LIMIT = std::size_t{4} * 1024 * 1024; // a place for each day of decades

/** A cursor that only another release can read. */
class StrangeCursor : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

std::uint64_t GetNumber(const Json& json, const char* name)
{
    const Json& number = json.at(name);
    if (!number.is_number_unsigned()) { // the library would make one of -1 or 0.5, too
        throw std::runtime_error("no number");
    }
    return number.get<std::uint64_t>();
}

LogPlace ParsePlace(const Json& json)
{
    LogPlace place{GetNumber(json, "inode"), GetNumber(json, "offset"), std::nullopt};
    if (json.contains("begin")) {
        place.mark = LogMark{GetNumber(json, "begin"), GetNumber(json, "end")};
    }
    return place;
}

Json DescribePlace(const LogPlace& place)
{
    Json json = {{"inode", place.inode}, {"offset", place.offset}};
    if (place.mark) {
        json["begin"] = place.mark->begin;
        json["end"] = place.mark->end;
    }
    return json;
}

} // namespace

std::optional<EventCursor> ReadCursor(const std::string& path)
{
    const FileText file = ReadFile(AT_FDCWD, path, LIMIT);
    if (file.error == ENOENT) {
        return std::nullopt;
    }
    if (!file.IsRead()) {
        throw std::runtime_error(path + ": " + file.failure);
    }
    try {
        return CursorFromJson(Json::parse(file.text));
    } catch (const StrangeCursor& failure) {
        throw std::runtime_error(path + failure.what());
    } catch (const std::exception&) {
        throw std::runtime_error(path + " is no cursor of thsentinelctl events");
    }
}

EventCursor CursorFromJson(const Json& json)
{
    EventCursor cursor;
    const std::string schema = json.at("schema").get<std::string>();
    if (std::find(std::begin(SCHEMAS), std::end(SCHEMAS), schema) == std::end(SCHEMAS)) {
        if (schema.starts_with(FAMILY)) {
            throw StrangeCursor(" is a cursor of another release of thsentinelctl: " + schema);
        }
        throw std::runtime_error("no cursor of this program");
    }
    cursor.isWhole = schema != SCHEMAS[0];
    cursor.isStopped = json.at("stopped").get<bool>();
    for (const auto& [name, place] : json.at("logs").items()) {
        cursor.places[name] = ParsePlace(place);
    }
    return cursor;
}

Json CursorToJson(const EventCursor& cursor)
{
    Json json;
    json["schema"] = SCHEMA;
    json["stopped"] = cursor.isStopped;
    json["logs"] = Json::object();
    for (const auto& [name, place] : cursor.places) {
        json["logs"][name] = DescribePlace(place);
    }
    return json;
}

void WriteCursor(const std::string& path, const EventCursor& cursor)
{
    ReplaceFile(path, CursorToJson(cursor).dump() + "\n", 0600);
}

} // namespace ctl
