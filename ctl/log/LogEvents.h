#pragma once

#include <optional>
#include <string_view>

#include "log/LogEvent.h"

namespace ctl
{

/** Reads the text of a line after its stamp; nothing for lines that report nothing of these. */
std::optional<LogEvent> ParseLogText(std::string_view text);

/** A quick test: false for most texts that report nothing. Where it is true, ParseLogText decides. */
bool MayReport(std::string_view text);

/** The same for callers that want no readings, which most lines of a verbose log are. */
bool MayReportMore(std::string_view text);

/** True for the kinds that report that something went wrong. */
bool IsFailure(LogEventKind kind);

} // namespace ctl
