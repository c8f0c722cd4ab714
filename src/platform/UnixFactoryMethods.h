#pragma once

class CmdPath;

/** A new CmdPath, of the SUSE kind when GetOSType() is exactly 1. Never null. The caller owns it. Any thread.
 */
CmdPath* GetCmdPathInstance();
