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

constexpr const char* SCHEMA = "thsentinelctl.cursor/1";
constexpr std::size_t LIMIT = 65536;

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
        const Json json = Json::parse(file.text);
        if (json.at("schema") != SCHEMA) {
            throw std::runtime_error(path + " is no cursor of thsentinelctl events");
        }
        EventCursor cursor;
        cursor.isStopped = json.at("stopped").get<bool>();
        for (const auto& [name, place] : json.at("logs").items()) {
            cursor.places[name] = {place.at("inode").get<std::uint64_t>(),
                                   place.at("offset").get<std::uint64_t>()};
        }
        return cursor;
    } catch (const Json::exception&) {
        throw std::runtime_error(path + " is no cursor of thsentinelctl events");
    }
}

void WriteCursor(const std::string& path, const EventCursor& cursor)
{
    Json json;
    json["schema"] = SCHEMA;
    json["stopped"] = cursor.isStopped;
    json["logs"] = Json::object();
    for (const auto& [name, place] : cursor.places) {
        json["logs"][name] = {{"inode", place.inode}, {"offset", place.offset}};
    }
    ReplaceFile(path, json.dump() + "\n", 0600);
}

} // namespace ctl
