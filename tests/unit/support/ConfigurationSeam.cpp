#include "support/ConfigurationSeam.h"

class ConfigurationMgr;

ConfigurationSeam& GetConfigurationSeam()
{
    static auto* const seam = new ConfigurationSeam; // outlives every thread
    return *seam;
}

extern "C" {

int __real__ZN16ConfigurationMgr21ReadConfigurationFileEv(ConfigurationMgr* config);
int __wrap__ZN16ConfigurationMgr21ReadConfigurationFileEv(ConfigurationMgr* config)
{
    return GetConfigurationSeam().mRead ? GetConfigurationSeam().mRead()
                                        : __real__ZN16ConfigurationMgr21ReadConfigurationFileEv(config);
}

} // extern "C"
