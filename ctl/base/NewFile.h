#pragma once

#include <string>

#include <sys/types.h>

namespace ctl
{

/**
 * Writes a text to a new file beside `path` and renames it onto that, so that a reader sees the old text or
 * the new one whole. The file gets `mode`, whatever the mask. Raises std::runtime_error with the reason; the
 * old file is then untouched and nothing is left beside it.
 */
void ReplaceFile(const std::string& path, const std::string& text, mode_t mode);

/**
 * Raises what ReplaceFile would where no file can be made beside `path`. Leaves nothing, and `path` as it is.
 */
void TryReplacing(const std::string& path);

} // namespace ctl
