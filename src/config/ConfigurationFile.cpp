#include "config/ConfigurationLoad.h"
#include "config/ConfigurationMgr.h"

// In a file of its own, so that a test program can answer in its place.
int ConfigurationMgr::ReadConfigurationFile()
{
    return LoadConfiguration(*this);
}
