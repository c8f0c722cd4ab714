#include "platform/THUEnv.h"

#include "base/ProductPlaces.h"

// In a file of its own, so that a test program can put a folder of its own in its place.
std::string GetTHLogPath()
{
    return AppendPaths(GetTHPath(), PRODUCT_LOGS);
}
