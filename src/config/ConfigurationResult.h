#pragma once

/** Result codes of the readers, the lists and the load; 0 is success. */
enum eConfigurationResult
{
    RC_CONFIG_NO_HELPER = 15,   ///< ConfigurationMgr has no helper
    RC_CONFIG_MISSING = 20,     ///< known to the service; no load returns it
    RC_CONFIG_INVALID = 101,    ///< a value is invalid
    RC_CONFIG_BAD_CHARS = 102,  ///< a text holds a forbidden character or sequence
    RC_CONFIG_NOT_DEFINED = 103 ///< the key is not defined
};
