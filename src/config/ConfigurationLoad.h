#pragma once

class ConfigurationMgr;

/** Does the work of ConfigurationMgr::ReadConfigurationFile, with its results. */
int LoadConfiguration(ConfigurationMgr& config);
