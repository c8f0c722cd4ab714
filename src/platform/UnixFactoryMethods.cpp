#include "platform/UnixFactoryMethods.h"

#include "platform/CommandPath.h"
#include "platform/SUSECommandPath.h"
#include "platform/THOSVersion.h"

CmdPath* GetCmdPathInstance()
{
    return MakeCmdPath(GetOSType());
}

CmdPath* MakeCmdPath(int osType)
{
    if (osType == eOSSuse) {
        return new SuseCmdPath();
    }
    return new CmdPath();
}
