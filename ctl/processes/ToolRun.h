#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace ctl
{

/** What a tool did. */
struct ToolRun
{
    int status = -1; ///< exit status; -1 if it could not be started or was ended by a signal or the limit
    std::string output;
    bool isCut = false;     ///< the output was longer than 16 MiB, and the rest of it was dropped
    bool isTooLate = false; ///< it was ended because the time was over
};

/**
 * Runs a program directly, without a shell, with `input` on standard input and nothing on standard error, and
 * collects its standard output. After `limit` it is killed. Words of the command never mean anything else
 * than themselves.
 */
ToolRun RunTool(const std::vector<std::string>& command, const std::string& input = "",
                std::chrono::milliseconds limit = std::chrono::seconds(20));

} // namespace ctl
