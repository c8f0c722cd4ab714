#include "platform/UnixHelperFactoryMethod.h"

#include "platform/RhelHelperFunction.h"
#include "platform/THOSVersion.h"
#include "platform/UnixHelperFunction.h"

HelperFunctionInterface* GetHelperFunctionInstance()
{
    return GetUnixHelperFunctionInstance();
}

UnixHelperFunction* GetUnixHelperFunctionInstance()
{
    if (GetOSType() == eOSRedHat) {
        return new RhelHelperFunction();
    }
    return new UnixHelperFunction();
}
