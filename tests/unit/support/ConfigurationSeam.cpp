#include "support/ConfigurationSeam.h"

#include "config/ConfigurationLoad.h"
#include "config/ConfigurationMgr.h"

ConfigurationSeam& GetConfigurationSeam()
{
    static auto* const seam = new ConfigurationSeam; // outlives every thread
    return *seam;
}

// In place of the program's own.
int ConfigurationMgr::ReadConfigurationFile()
{
    return GetConfigurationSeam().mRead ? GetConfigurationSeam().mRead() : LoadConfiguration(*this);
}
