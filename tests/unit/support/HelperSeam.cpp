#include "support/HelperSeam.h"

#include "platform/UnixHelperFunction.h"

HelperSeam& GetHelperSeam()
{
    static auto* const seam = new HelperSeam; // outlives every thread
    return *seam;
}

extern "C" {

HelperFunctionInterface* __real__Z25GetHelperFunctionInstancev();
HelperFunctionInterface* __wrap__Z25GetHelperFunctionInstancev()
{
    return GetHelperSeam().mMake ? GetHelperSeam().mMake() : __real__Z25GetHelperFunctionInstancev();
}

UnixHelperFunction* __real__Z29GetUnixHelperFunctionInstancev();
UnixHelperFunction* __wrap__Z29GetUnixHelperFunctionInstancev()
{
    return GetHelperSeam().mMake ? GetHelperSeam().mMake() : __real__Z29GetUnixHelperFunctionInstancev();
}

} // extern "C"
