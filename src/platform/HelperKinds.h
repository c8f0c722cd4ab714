#pragma once

class UnixHelperFunction;

/** A new helper, of the Red Hat kind when the type is eOSRedHat. Never null. The caller owns it. Any thread.
 */
UnixHelperFunction* MakeUnixHelper(int osType);
