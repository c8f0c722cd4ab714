#include "platform/HelperKinds.h"

#include "platform/RhelHelperFunction.h"
#include "platform/THOSVersion.h"

UnixHelperFunction* MakeUnixHelper(int osType)
{
    if (osType == eOSRedHat) {
        return new RhelHelperFunction();
    }
    return new UnixHelperFunction();
}
