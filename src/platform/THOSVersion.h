#pragma once

#include <string>

/** Results of GetOSType. */
enum eOSType
{
    eOSRedHat = 0, ///< Red Hat or Oracle
    eOSSuse = 1,
    eOSOther = 2
};

/** True when `stat` on the path succeeds. Any thread. */
bool IsFileExists(std::string path);

/**
 * The kind of distribution, by which release file exists. The contents of the files aren't read.
 *
 * @return an eOSType value, found out anew at every call. Any thread.
 */
int GetOSType();
