#include "platform/SUSECommandPath.h"

SuseCmdPath::SuseCmdPath()
{
    // Intentional: SUSE always uses /bin/netstat, present or not, also where one was found elsewhere.
    mNetstat = SUSE_NETSTAT_PATH;
}

SuseCmdPath::~SuseCmdPath() = default;
