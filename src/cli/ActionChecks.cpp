#include "base/Console.h"
#include "config/ConfigurationMgr.h"
#include "config/KeyTable.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"

int UnixHelperFunction::PreCheckForAction(THPM_ACTION_TYPE type)
{
    return type == THPM_ACTION_RUN ? ConfigurationMgr::GetInstance()->ReadConfigurationFile() : 0;
}

int UnixHelperFunction::PostCheckForAction(THPM_ACTION_TYPE type)
{
    if (type == THPM_ACTION_INSTALL) {
        const std::string program = GetTHPerfMonBinName();
        ConsolePrint("Info: %s is a mandatory setting to start the %s.\n", THHS_EVIDENCE_PATH,
                     program.c_str());
        ConsolePrint("Please set the %s value in Tarnhaven configuration and perform '%s -start' to start "
                     "the process.\n",
                     THHS_EVIDENCE_PATH, program.c_str());
    }
    return 0;
}
