#pragma once

#include <string>

namespace ctl
{

/** A text by a format of printf, of any length; empty if the format can't be followed. */
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);

} // namespace ctl
