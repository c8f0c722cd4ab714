#pragma once

/** How often this process has taken, dropped or asked for a lock on a file so far, in whatever way. */
long CountFileLocks();
