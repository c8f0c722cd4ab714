#include "store/LoadPrediction.h"

#include <strings.h>

#include "config/KeyTable.h"

namespace ctl
{

bool Settings::IsMemoryAbsolute() const
{
    return strcasecmp(memoryUnit.c_str(), MEMORY_UNIT_ABSOLUTE) == 0;
}

} // namespace ctl
