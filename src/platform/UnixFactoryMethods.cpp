#include "platform/UnixFactoryMethods.h"

#include "platform/CommandPath.h"
#include "platform/SUSECommandPath.h"
#include "platform/THOSVersion.h"

CmdPath* GetCmdPathInstance()
{
    if (GetOSType() == eOSSuse) {
        return new SuseCmdPath();
    }
    return new CmdPath();
}
