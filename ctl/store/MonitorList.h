#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** One element of a monitoring list, read as the daemon reads it. */
struct ListElement
{
    std::string text; ///< as it stands in the list, without blanks around
    std::string name; ///< what stands before the first colon; for a deadlock list perhaps the whole element
    int limit = -1;   ///< -1 if nothing stands after the colon
    std::string limitText; ///< what stands after the colon, without blanks around
};

/** Splits the value of a monitoring list at its commas; a comma at the end adds no element. */
std::vector<ListElement> SplitList(std::string_view value, bool isDeadlockList);

/** True if the limit is the number that its text shows, so that nothing was dropped or wrapped around. */
bool IsReadAsWritten(const ListElement& element);

/** Why the daemon refuses a text. */
enum class TextFault
{
    None,
    Sequence, ///< holds "..", "../", "*" or the like
    Character ///< holds a character that no setting may hold
};

struct TextCheck
{
    TextFault fault = TextFault::None;
    char character = '\0'; ///< the first bad one, for Character
};

/** Looks at a text as the daemon does before it uses it. */
TextCheck CheckText(std::string_view text);

/** Without the blanks around it; a text of blanks alone stays as it is. Tabs count as text. */
std::string TrimLikeDaemon(std::string_view text);

} // namespace ctl
