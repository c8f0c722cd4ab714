#pragma once

class UnixHelperFunction;

/** A new helper, of the Red Hat kind when the type is eOSRedHat. On every platform that this program is built
 * for there is one, so the result is never null. The caller owns it. Any thread.
 */
UnixHelperFunction* MakeUnixHelper(int osType);
