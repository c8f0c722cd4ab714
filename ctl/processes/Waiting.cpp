#include "processes/Waiting.h"

#include <thread>

namespace ctl
{

namespace
{

constexpr std::chrono::milliseconds BETWEEN(100);

} // namespace

DaemonLock WaitForDaemon(bool wantsRunning, std::chrono::duration<double> limit,
                         const std::function<DaemonLock()>& ask)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (true) {
        const bool isLast = std::chrono::steady_clock::now() >= end;
        const DaemonLock lock = ask();
        if (isLast || IsReached(lock, wantsRunning)) {
            return lock;
        }
        std::this_thread::sleep_for(BETWEEN);
    }
}

bool IsReached(const DaemonLock& lock, bool wantsRunning)
{
    return lock.state == (wantsRunning ? DaemonLock::State::Running : DaemonLock::State::Stopped);
}

} // namespace ctl
