#pragma once

#include "platform/CommandPath.h"

/** The tool paths of SUSE, where netstat is always taken from /bin. */
class SuseCmdPath : public CmdPath
{
public:
    SuseCmdPath();
    ~SuseCmdPath() override;
};
