#include "store/Keys.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <climits>
#include <vector>

#include "config/ConfigurationKeys.h"

namespace ctl
{

namespace
{

const RevertingKey* FindReverting(std::string_view name)
{
    for (const std::span<const RevertingKey> keys :
         {std::span<const RevertingKey>(CAPTURE_KEYS), std::span<const RevertingKey>(READING_KEYS),
          std::span<const RevertingKey>(SERVICE_KEYS), std::span<const RevertingKey>(TRACE_KEYS)}) {
        for (const RevertingKey& key : keys) {
            if (name == key.mKey) {
                return &key;
            }
        }
    }
    return nullptr;
}

KeyRow MakeInteger(const char* name, const char* meaning)
{
    const RevertingKey* const key = FindReverting(name);
    if (key == nullptr) {
        return {name, KeyKind::Free, INT_MIN, INT_MAX, 0, nullptr, nullptr, meaning};
    }
    return {name,          KeyKind::Integer, key->mLowest,    key->mHighest,
            key->mDefault, key->mMessage,    key->mAfterword, meaning};
}

std::vector<KeyRow> MakeKeys()
{
    return {
        {THHS_MEMORY_UNIT, KeyKind::Text, 0, 0, 0, nullptr, nullptr, "ABSOLUTE or PERCENT"},
        {THHS_MONITOR_CPU, KeyKind::List, 0, 0, 0, nullptr, nullptr, "NAME:PERCENT, ..."},
        {THHS_MONITOR_MEMORY, KeyKind::List, 0, 0, 0, nullptr, nullptr, "NAME:LIMIT, ..."},
        {THHS_MONITOR_DEADLOCK, KeyKind::List, 0, 0, 0, nullptr, nullptr, "NAME, ..."},
        {THHS_POLL_INTERVAL, KeyKind::Stopping, 1, INT_MAX, DEFAULT_POLL_INTERVAL, nullptr, nullptr,
         "seconds between two passes"},
        MakeInteger(THHS_DUMP_COUNT, "evidence sets of a process and resource"),
        MakeInteger(THHS_CAPTURE_NETWORK_STAT, "sockets and network counters"),
        MakeInteger(THHS_DEADLOCK_INTERVAL, "minutes, not acted on"),
        MakeInteger(THHS_INCREASE_LOG_LEVEL, "the product's log levels rise on a breach"),
        MakeInteger(THHS_CAPTURE_PROCESS_DUMP, "core image, or Java heap and threads"),
        MakeInteger(THHS_ALWAYS_DUMP, "the average needn't be above the limit"),
        MakeInteger(THHS_CAPTURE_DISK_IO, "disk and processor statistics"),
        MakeInteger(FORCE_READING_INTERVAL, "readings needn't fit into the poll interval"),
        MakeInteger(THHS_NUMBER_OF_READINGS, "samples of the statistics"),
        MakeInteger(THHS_READING_INTERVAL, "seconds between two samples"),
        MakeInteger(THHS_PURGE_OLD_EVIDENCE, "old evidence at the start of the service"),
        MakeInteger(THHS_CAPTURE_WITHOUT_THRESHOLD, "evidence at every pass, without a limit"),
        {THHS_JDK_HOME, KeyKind::Text, 0, 0, 0, nullptr, nullptr, "folder of the JDK"},
        {THHS_EVIDENCE_PATH, KeyKind::Text, 0, 0, 0, nullptr, nullptr, "folder for the evidence"},
        MakeInteger(THHS_VERBOSE, "routine traces in the daily log"),
    };
}

std::string ToLower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

} // namespace

std::span<const KeyRow> GetKeys()
{
    static const std::vector<KeyRow> keys = MakeKeys();
    return keys;
}

const KeyRow* FindKey(std::string_view name)
{
    const std::span<const KeyRow> keys = GetKeys();
    const auto found =
        std::find_if(keys.begin(), keys.end(), [name](const KeyRow& row) { return name == row.name; });
    return found != keys.end() ? &*found : nullptr;
}

std::string FindNearestKey(std::string_view name)
{
    constexpr std::size_t LONGEST = 64; // nothing longer is near to a key
    if (name.size() > LONGEST) {
        return "";
    }
    const std::string wanted = ToLower(name);
    const KeyRow* nearest = nullptr;
    std::size_t shortest = std::max<std::size_t>(2, wanted.size() / 3) + 1;
    for (const KeyRow& row : GetKeys()) {
        const std::string known = ToLower(row.name);
        const std::size_t distance =
            std::min(GetDistance(wanted, known), GetDistance("thhs_" + wanted, known) + 1);
        if (distance < shortest) {
            nearest = &row;
            shortest = distance;
        }
    }
    return nearest != nullptr ? nearest->name : "";
}

std::size_t GetDistance(std::string_view one, std::string_view other)
{
    using Row = std::vector<std::size_t>;
    Row former;
    Row above(other.size() + 1);
    for (std::size_t column = 0; column <= other.size(); ++column) {
        above[column] = column;
    }
    for (std::size_t line = 1; line <= one.size(); ++line) {
        Row row(other.size() + 1, line);
        for (std::size_t column = 1; column <= other.size(); ++column) {
            const bool differs = one[line - 1] != other[column - 1];
            row[column] =
                std::min({above[column] + 1, row[column - 1] + 1, above[column - 1] + (differs ? 1 : 0)});
            if (line > 1 && column > 1 && one[line - 1] == other[column - 2] &&
                one[line - 2] == other[column - 1]) {
                row[column] = std::min(row[column], former[column - 2] + 1);
            }
        }
        former = std::move(above);
        above = std::move(row);
    }
    return above.back();
}

} // namespace ctl
