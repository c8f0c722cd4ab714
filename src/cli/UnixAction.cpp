#include "cli/UnixAction.h"

#include "base/Console.h"
#include "base/ProgramNames.h"
#include "cli/THDaemonInfra.h"
#include "platform/HelperFunctionInterface.h"
#include "platform/UnixHelperFactoryMethod.h"

namespace
{
constexpr unsigned int SECONDS_BEFORE_FIRST_CHECK = 2;
constexpr int CHECKS = 3;
} // namespace

CUnixAction::CUnixAction() : mHelper(GetHelperFunctionInstance()) {}

CUnixAction::~CUnixAction()
{
    delete mHelper;
}

bool CUnixAction::InstallAction()
{
    return mHelper != nullptr &&
           mHelper->PostCheckForAction(HelperFunctionInterface::THPM_ACTION_INSTALL) == 0;
}

bool CUnixAction::UninstallAction()
{
    if (CheckTheDaemonRuning(SHORT_NAME, THHS_RUN_LOCK_NAME) != 0) {
        return true; // nothing to stop
    }
    const bool isStopped = StopAction();
    if (isStopped) {
        ConsolePuts("Info: stopped the daemon process");
    }
    return isStopped;
}

bool CUnixAction::StartAction()
{
    return RunAction();
}

bool CUnixAction::StopAction()
{
    return StopTheDaemon(SHORT_NAME, THHS_RUN_LOCK_NAME) == 0;
}

bool CUnixAction::RunAction()
{
    // Before the first load: its complaints would open the system log on a stream that was closed at the
    // start.
    OccupyFreeStandardDescriptors();
    if (mHelper == nullptr || mHelper->PreCheckForAction(HelperFunctionInterface::THPM_ACTION_RUN) != 0) {
        return false;
    }
    if (ConvertProcessToDaemon(SHORT_NAME, THHS_RUN_LOCK_NAME) != DAEMON_RC_PARENT) {
        return false; // the daemon returns here too, when its work has ended
    }
    WaitTakingStops(SECONDS_BEFORE_FIRST_CHECK);
    for (int check = 0; check < CHECKS; ++check) {
        if (CheckTheDaemonRuning(SHORT_NAME, THHS_RUN_LOCK_NAME) == 0) {
            ConsolePuts("Info: Daemon is running");
            return true;
        }
        WaitTakingStops(1);
    }
    ConsolePuts("Error: Failed to start the daemon, please check the log for the reason");
    return false;
}

bool CUnixAction::ListConfig()
{
    return true;
}
