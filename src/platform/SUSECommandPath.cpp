#include "platform/SUSECommandPath.h"

SuseCmdPath::SuseCmdPath()
{
    // Intentional: without a test, and over a netstat that was found elsewhere. On SUSE this one is
    // installed.
    mNetstat = SUSE_NETSTAT_PATH;
}

SuseCmdPath::~SuseCmdPath() = default;
