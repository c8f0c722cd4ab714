#pragma once

#include <string>
#include <string_view>

namespace ctl
{

/**
 * Returns text from outside as it may be shown on a terminal: control characters (C0, DEL, and C1 in UTF-8),
 * bytes that are no UTF-8 and the marks that turn the direction of writing come as \n, \t, \xNN or \u{NNNN};
 * a backslash comes as two.
 */
std::string EscapeControls(std::string_view text);

/** Returns the text with each byte that is no UTF-8 replaced by U+FFFD, as JSON demands. */
std::string ToUtf8(std::string_view text);

/** Number of columns that an escaped text takes: its code points, without combining marks and wide glyphs. */
std::size_t CountColumns(std::string_view text);

} // namespace ctl
