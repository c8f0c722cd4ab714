#pragma once

#include <cstdint>

/** The monitoring service: its start, its worker and its stop. */

/** Shared by the daemon's main thread, on whose stack it lies, and the worker. */
struct ServiceThreadStatus
{
    std::int32_t mResult; ///< result of the reading of the configuration that ended the service
    std::int32_t mAlive;  ///< 1, and 0 once the worker has stopped the service by itself
};

/**
 * Sets the flag that keeps the worker running; it is set from the start. The argument is ignored. Nothing
 * calls this. Always 0.
 */
int THJobPerfMonSvc(const char* name);

/** Starts the service, on the daemon's main thread. @return 0 or the result of reading the configuration */
int StartMonitoringActivity();

/** Body of the worker: pass after pass, until the service is stopped. @param arg  a ServiceThreadStatus */
void* ServiceWorkerThread(void* arg);

/**
 * Stops the service. A second call repeats everything, its lines too. Intentional: after a reload that
 * failed, worker and main thread both call it, and operators know such an end by the lines that come twice.
 * Main thread or worker. Always 0.
 */
int StopMonitoringActivity();
