#include "platform/UnixHelperFactoryMethod.h"

#include "platform/HelperKinds.h"
#include "platform/THOSVersion.h"
#include "platform/UnixHelperFunction.h"

// In a file of their own, so that a test program can make helpers of its own.
HelperFunctionInterface* GetHelperFunctionInstance()
{
    return GetUnixHelperFunctionInstance();
}

UnixHelperFunction* GetUnixHelperFunctionInstance()
{
    return MakeUnixHelper(GetOSType());
}
