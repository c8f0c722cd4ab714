#include "log/BreachTally.h"

#include <algorithm>
#include <exception>

#include "base/Document.h"
#include "base/PlainText.h"
#include "base/TimeText.h"
#include "log/EventFeed.h"
#include "log/LogFolder.h"

namespace ctl
{

namespace
{

constexpr std::string_view MARK = "# thsentinelctl breaches: ";

std::string NameFolder(const std::string& folder)
{
    return folder.empty() ? GetUsualLogPath() : folder;
}

void Take(BreachTally& tally, const LogEvent& event)
{
    if (event.kind == LogEventKind::Started) {
        tally.counts.clear();
        tally.hasStart = true;
    } else if (event.kind == LogEventKind::Breach || event.kind == LogEventKind::Forced) {
        ++tally.counts[{ToUtf8(event.process), event.resource}];
    }
}

BreachTally ParseTally(std::string_view text)
{
    const Json json = Json::parse(text);
    BreachTally tally;
    tally.folder = json.at("folder").get<std::string>();
    tally.cursor = CursorFromJson(json.at("cursor"));
    for (const Json& row : json.at("counts")) {
        const auto count = row.at(2).get<long long>();
        tally.counts[{row.at(0).get<std::string>(), row.at(1).get<std::string>()}] =
            std::max<long long>(count, 0);
    }
    return tally;
}

} // namespace

BreachTally BeginTally(const std::string& folder, std::time_t since)
{
    BreachTally tally;
    tally.folder = NameFolder(folder);
    if (since > 0) {
        const int firstDay = GetDay(ToWall(since));
        for (const DailyLog& log : ListLogs(tally.folder).files) {
            if (log.day < firstDay) {
                tally.cursor.places[log.name] = {log.inode, log.size, std::nullopt};
            }
        }
    }
    return tally;
}

std::string CountOn(BreachTally& tally)
{
    EventFeed feed(tally.folder, tally.cursor, [&tally](const FedEvent& fed) { Take(tally, fed.event); });
    const std::string failure = feed.Read([] { return true; });
    tally.cursor = feed.GetCursor();
    return failure;
}

std::string FormatTally(const BreachTally& tally)
{
    Json json;
    json["folder"] = ToJson(tally.folder);
    json["cursor"] = CursorToJson(tally.cursor);
    json["counts"] = Json::array();
    for (const auto& [key, count] : tally.counts) {
        json["counts"].push_back({ToJson(key.first), key.second, count});
    }
    return std::string(MARK) + json.dump();
}

std::optional<BreachTally> FindTally(std::string_view text, const std::string& folder)
{
    const std::size_t place = text.starts_with(MARK) ? 0 : text.find("\n" + std::string(MARK));
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t begin = text.find(MARK, place) + MARK.size();
    try {
        BreachTally tally = ParseTally(text.substr(begin, text.find('\n', begin) - begin));
        return tally.folder == NameFolder(folder) ? std::optional(std::move(tally)) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt; // cut or written by somebody else: counted anew
    }
}

} // namespace ctl
