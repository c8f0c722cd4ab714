#pragma once

#include <chrono>
#include <functional>

#include "processes/DaemonLock.h"

namespace ctl
{

/**
 * Asks ten times a second until the daemon runs, or doesn't, as `wantsRunning` says, or until the time is
 * over. An unknown state is asked for again like a wrong one: the right to look may still come, or the file.
 * Returns the last answer.
 */
DaemonLock WaitForDaemon(bool wantsRunning, std::chrono::duration<double> limit,
                         const std::function<DaemonLock()>& ask);

/** True if the answer is the state that was waited for. */
bool IsReached(const DaemonLock& lock, bool wantsRunning);

} // namespace ctl
