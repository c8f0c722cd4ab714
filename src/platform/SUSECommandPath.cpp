#include "platform/SUSECommandPath.h"

SuseCmdPath::SuseCmdPath()
{
    // Without a test, and over a netstat that was found elsewhere: that is meant.
    mNetstat = "/bin/netstat";
}

SuseCmdPath::~SuseCmdPath() = default;
