#pragma once

#include <functional>

/** The load of the settings, ConfigurationMgr::ReadConfigurationFile: a test can answer in its place. */
struct ConfigurationSeam
{
    std::function<int()> mRead;
};

ConfigurationSeam& GetConfigurationSeam();
