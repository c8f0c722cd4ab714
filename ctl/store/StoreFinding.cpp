#include "store/StoreFinding.h"

#include <algorithm>

#include "base/ExitStatus.h"

namespace ctl
{

const char* GetName(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Info:
        break;
    }
    return "info";
}

int GetExitStatus(const StoreFindings& findings)
{
    Severity gravest = Severity::Info;
    for (const StoreFinding& finding : findings) {
        gravest = std::max(gravest, finding.severity);
    }
    return gravest == Severity::Error     ? EXIT_ERRORS
           : gravest == Severity::Warning ? EXIT_WARNINGS
                                          : EXIT_GOOD;
}

} // namespace ctl
