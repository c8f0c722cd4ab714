#pragma once

#include <span>
#include <string>
#include <string_view>

namespace ctl
{

enum class KeyKind
{
    Text,
    List,
    Stopping, ///< an integer whose bad value stops the service
    Integer,  ///< an integer whose value out of range is replaced by its default
    Free      ///< an integer of any value
};

/** A key of the store, in the order in which a load reads them. All texts live for ever. */
struct KeyRow
{
    const char* name;
    KeyKind kind;
    int lowest = 0; ///< of Integer and Stopping; both ends are allowed
    int highest = 0;
    int fallback = 0;            ///< what applies without the key at a start, and for Integer out of range
    const char* says = nullptr;  ///< of Integer: the daemon's log line for key, value and default
    const char* says2 = nullptr; ///< its second line
};

/** All keys that the daemon reads, in its order. */
std::span<const KeyRow> GetKeys();

/** The row of a key in exactly this spelling; null if there is none. */
const KeyRow* FindKey(std::string_view name);

/** The known key that a text was most likely meant to be; empty if none is near. Case doesn't count. */
std::string FindNearestKey(std::string_view name);

/**
 * The number of letters to insert, delete, replace or swap with their neighbour to make one text the other.
 */
std::size_t GetDistance(std::string_view one, std::string_view other);

} // namespace ctl
