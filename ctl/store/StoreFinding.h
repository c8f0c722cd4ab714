#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ctl
{

enum class Severity
{
    Info,
    Warning,
    Error
};

/** One thing that `check` has to say about a store. */
struct StoreFinding
{
    Severity severity = Severity::Info;
    std::string key;      ///< the key that it is about; empty for a line without one
    std::size_t line = 0; ///< of the store file, from 1; 0 if it stands on no line
    std::string message;  ///< what is, and what follows from it
    std::string remedy;   ///< what to do; perhaps empty
};

using StoreFindings = std::vector<StoreFinding>;

/** "error", "warning" or "info". */
const char* GetName(Severity severity);

/** The exit status that goes with the gravest of the findings. */
int GetExitStatus(const StoreFindings& findings);

} // namespace ctl
