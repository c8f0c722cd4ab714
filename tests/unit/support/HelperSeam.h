#pragma once

#include <functional>

class UnixHelperFunction;

/**
 * The factory of helpers that a test can replace: both GetHelperFunctionInstance and
 * GetUnixHelperFunctionInstance, as the program's other sources call them, ask `mMake` when it is set. It may
 * return null.
 */
struct HelperSeam
{
    std::function<UnixHelperFunction*()> mMake;
};

HelperSeam& GetHelperSeam();
