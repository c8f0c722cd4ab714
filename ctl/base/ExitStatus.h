#pragma once

namespace ctl
{

/** How the program ends: every verb but `status`. */
enum ExitStatus : int
{
    EXIT_GOOD = 0,       ///< nothing to say against it
    EXIT_WARNINGS = 1,   ///< works, and somebody should look at it
    EXIT_ERRORS = 2,     ///< doesn't work, or isn't whole
    EXIT_CANT_TELL = 3,  ///< something can't be read, written or found: no answer, or nothing done
    EXIT_WRONG_USE = 64, ///< the command line is wrong; nothing was done
};

/** How `status` ends: the numbers that service scripts use. */
enum ServiceStatus : int
{
    SERVICE_RUNNING = 0,
    SERVICE_DEAD_WITH_ID = 1, ///< not running, and the run lock file names a process
    SERVICE_STOPPED = 3,      ///< not running
    SERVICE_UNKNOWN = 4,      ///< can't be told
};

} // namespace ctl
