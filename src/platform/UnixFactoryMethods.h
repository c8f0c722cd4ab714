#pragma once

class CmdPath;

/** MakeCmdPath for this machine. */
CmdPath* GetCmdPathInstance();

/** A new CmdPath, of the SUSE kind when the type is eOSSuse. Never null. The caller owns it. Any thread. */
CmdPath* MakeCmdPath(int osType);
