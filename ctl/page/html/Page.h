#pragma once

#include "page/read/ReportData.h"

#include <string>
#include <string_view>

namespace ctl
{

/**
 * The report as one HTML file that refers to nothing outside itself. Its content security policy allows the
 * style and the scripts that it carries, by their hashes, and nothing else.
 */
std::string WritePage(const ReportData& data);

/** "sha256-…" of a text, as a content security policy names it. */
std::string HashForPolicy(std::string_view text);

} // namespace ctl
