#include "runner/NeedOfHost.h"

#include <unistd.h>

namespace
{
bool gHasAsked = false; // of this process, which runs one test
}

bool IsOnIsolatedHost()
{
    return access("/run/thsentinel-isolated-host", F_OK) == 0;
}

void AskForHost()
{
    gHasAsked = true;
}

bool HasAskedForHost()
{
    return gHasAsked;
}
