#include "cli/THPerfMon.h"

#include "base/Console.h"
#include "cli/OptionTable.h"
#include "cli/UnixAction.h"

#include <cstdio>
#include <memory>

#include <strings.h>

char THHS_NAME[PROGRAM_NAME_SIZE] = {};

namespace
{
constexpr int STATUS_INVALID = 5;

/** An action with banners before and after it. */
struct BannerAction
{
    eCommandActions mAction;
    const char* mLabel;
    bool (CActionInterface::*mPerform)();
    int mFailureStatus;
};

constexpr BannerAction BANNER_ACTIONS[] = {
    {eActionInstall, "install", &CActionInterface::InstallAction, 6},
    {eActionUninstall, "uninstall", &CActionInterface::UninstallAction, 7},
    {eActionStart, "start", &CActionInterface::StartAction, 8},
    {eActionStop, "stop", &CActionInterface::StopAction, 9},
    {eActionRun, "run", &CActionInterface::RunAction, 10},
    {eActionListConfig, "List configuration", &CActionInterface::ListConfig, 11},
};

constexpr int STATUS_HELP_FAILED = 12;
constexpr int STATUS_VERSION_FAILED = 13;

int PerformWithBanners(CActionInterface& actions, const BannerAction& action)
{
    printActionStartMessage(action.mLabel);
    const int status = (actions.*action.mPerform)() ? 0 : action.mFailureStatus;
    printActionCompleteMessage(action.mLabel, status);
    return status;
}
} // namespace

eCommandActions GetActionFromArg(int argc, char** argv)
{
    if (argc == 1) {
        return eActionRun;
    }
    (void)snprintf(THHS_NAME, sizeof THHS_NAME, "%s",
                   argv[0]); // Intentional: a long path is cut, the help line shows it short
    if (argc == 2) {
        for (const OptionWord& option : OPTION_WORDS) {
            if (strcasecmp(argv[1], option.mWord) == 0) {
                return option.mAction;
            }
        }
    }
    // The help begins with two line feeds, of which the first ends this line.
    ConsolePrint("Error: Invalid arguments");
    static CActionInterface* const actions = new CUnixAction; // never freed, the process ends soon
    (void)actions->PrintHelp(THHS_NAME);
    return eActionInvalid;
}

int PerformAction(eCommandActions action)
{
    const std::unique_ptr<CActionInterface> actions = std::make_unique<CUnixAction>();
    for (const BannerAction& bannerAction : BANNER_ACTIONS) {
        if (bannerAction.mAction == action) {
            return PerformWithBanners(*actions, bannerAction);
        }
    }
    switch (action) {
    case eActionHelp:
        return actions->PrintHelp(THHS_NAME) ? 0 : STATUS_HELP_FAILED;
    case eActionVersion:
        return actions->PrintVersion() ? 0 : STATUS_VERSION_FAILED;
    default:
        return STATUS_INVALID;
    }
}

void printActionStartMessage(std::string label)
{
    ConsolePrint("Performing the %s operation\n\n", label.c_str());
}

void printActionCompleteMessage(std::string label, int status)
{
    if (status == 0) {
        ConsolePrint("\nPerformed the %s operation successfully.\n", label.c_str());
    } else {
        ConsolePrint("\nThe %s operation failed.\n", label.c_str());
    }
}
