#pragma once

class HelperFunctionInterface;
class UnixHelperFunction;

/**
 * A new helper, of the Red Hat kind when GetOSType() is 0. Nothing is cached, so each call looks at the
 * release files and at the tools again. The caller owns the object and keeps it to one thread. Any thread may
 * call.
 */
HelperFunctionInterface* GetHelperFunctionInstance();

/** The same, for callers that need the operations which only UnixHelperFunction has. */
UnixHelperFunction* GetUnixHelperFunctionInstance();
