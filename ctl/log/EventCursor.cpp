#include "log/EventCursor.h"

#include <cerrno>
#include <stdexcept>

#include "base/Document.h"
#include "base/NewFile.h"
#include "base/SafeFile.h"

namespace ctl
{

namespace
{

constexpr const char* SCHEMA = "thsentinelctl.cursor/2";
constexpr const char* SCHEMA_OF_OLD = "thsentinelctl.cursor/1"; // has the newest two places alone
constexpr std::size_t LIMIT = std::size_t{1} * 1024 * 1024;     // a place for each day of decades

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
    } catch (const std::exception&) {
        throw std::runtime_error(path + " is no cursor of thsentinelctl events");
    }
}

EventCursor CursorFromJson(const Json& json)
{
    EventCursor cursor;
    const std::string schema = json.at("schema").get<std::string>();
    cursor.isWhole = schema == SCHEMA;
    if (!cursor.isWhole && schema != SCHEMA_OF_OLD) {
        throw std::runtime_error("no cursor of this program");
    }
    cursor.isStopped = json.at("stopped").get<bool>();
    for (const auto& [name, place] : json.at("logs").items()) {
        cursor.places[name] = {place.at("inode").get<std::uint64_t>(),
                               place.at("offset").get<std::uint64_t>()};
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
        json["logs"][name] = {{"inode", place.inode}, {"offset", place.offset}};
    }
    return json;
}

void WriteCursor(const std::string& path, const EventCursor& cursor)
{
    ReplaceFile(path, CursorToJson(cursor).dump() + "\n", 0600);
}

} // namespace ctl
