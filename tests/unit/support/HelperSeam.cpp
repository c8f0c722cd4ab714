#include "support/HelperSeam.h"

#include "platform/HelperKinds.h"
#include "platform/THOSVersion.h"
#include "platform/UnixHelperFactoryMethod.h"
#include "platform/UnixHelperFunction.h"

HelperSeam& GetHelperSeam()
{
    static auto* const seam = new HelperSeam; // outlives every thread
    return *seam;
}

// Both in place of the program's own.
HelperFunctionInterface* GetHelperFunctionInstance()
{
    return GetUnixHelperFunctionInstance();
}

UnixHelperFunction* GetUnixHelperFunctionInstance()
{
    return GetHelperSeam().mMake ? GetHelperSeam().mMake() : MakeUnixHelper(GetOSType());
}
