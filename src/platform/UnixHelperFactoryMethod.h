#pragma once

class HelperFunctionInterface;
class UnixHelperFunction;

/**
 * A new helper, of the Red Hat kind when GetOSType() is 0. Nothing is cached: each call looks at the release
 * files and the tools again. The caller owns the object and uses it on one thread. Any thread may call.
 * @return null when there is no helper for the platform. Every caller checks it. The helper of
 * ConfigurationMgr is checked by each load, which fails without one, so that nothing after a load checks it
 * again.
 */
HelperFunctionInterface* GetHelperFunctionInstance();

/** The same, for callers that need the operations which only UnixHelperFunction has. */
UnixHelperFunction* GetUnixHelperFunctionInstance();
