#include "cli/CActionInterface.h"

#include "base/Console.h"
#include "cli/ReleaseMark.h"

#include <string>

namespace
{
constexpr const char* HELP_LINES[] = {
    "-install:               This will configure the daemon.",
    "-uninstall:             This will unconfigure the daemon.",
    "-start:                 This will start the daemon.",
    "-terminate:             This will terminate the daemon.",
    "-version:               This will display the version information of binary.",
    "-help:                  This will display the help options.\n",
    "default:                This will start the daemon.",
};
}

bool CActionInterface::PrintHelp(char* programName)
{
    ConsolePrint("\n\n%s [-install] [-uninstall] [-start] [-terminate] [-version] [-help]\n\n", programName);
    for (const char* const line : HELP_LINES) {
        ConsolePuts(line);
    }
    return true;
}

bool CActionInterface::PrintVersion()
{
    const std::string release = RELEASE_MARK;
    const std::size_t blank = release.find(' ');
    ConsolePuts((blank == std::string::npos ? release : release.substr(blank + 1)).c_str());
    return true;
}
