#include "cli/StopUnderWay.h"

#include <csignal>

namespace
{
volatile sig_atomic_t gStopIsUnderWay = 0;
}

void NoteStop()
{
    gStopIsUnderWay = 1;
}

bool IsStopUnderWay()
{
    return gStopIsUnderWay != 0;
}
