#pragma once

#include "config/Mutex.h"

/**
 * The lock under which a source unit writes its lines of the diagnostic log. Each unit that includes this
 * header has its own: it doesn't order the lines of different units, which the append mode of the file keeps
 * whole. Include it in sources that log, never in a header. Intentional: it is never destroyed, as captures
 * write their lines to the last moment of the process.
 */
static mutex& logFileMtx = *new mutex;
