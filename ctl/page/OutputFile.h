#pragma once

#include <string>
#include <string_view>

namespace ctl
{

/**
 * Writes a whole file: a new one beside it that nobody else may read, which then takes its place. So a reader
 * sees the old text or the new one, and a failure leaves the old one. "-" is standard output; a device or a
 * pipe is written to as it is.
 *
 * Raises std::runtime_error with the reason if it can't be written.
 */
void WriteOutputFile(const std::string& path, std::string_view text);

} // namespace ctl
