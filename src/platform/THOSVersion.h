#pragma once

#include <string>

/** What GetOSType tells apart. */
enum eOSType
{
    eOSRedHat = 0, ///< Red Hat or Oracle
    eOSSuse = 1,
    eOSOther = 2
};

/** True when `stat` on the path succeeds. Any thread. */
bool IsFileExists(std::string path);

/**
 * The kind of distribution, told by which release file exists; their contents aren't read.
 *
 * @return an eOSType value. Tested anew on every call, nothing is stored. Any thread.
 */
int GetOSType();
