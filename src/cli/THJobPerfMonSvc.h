#pragma once

#include <cstdint>

/** The service: what the daemon does from its start to its stop. */

/** Shared by the daemon's main thread, on whose stack it lies, and the worker. */
struct ServiceThreadStatus
{
    std::int32_t mResult; ///< result of the reading of the configuration that ended the service
    std::int32_t mAlive;  ///< 1, and 0 once the worker has stopped the service by itself
};

/**
 * Sets the flag that the worker runs by, which starts set; the argument is ignored. Nothing calls it.
 * Always 0.
 */
int THJobPerfMonSvc(const char* name);

/** Brings the service up on the daemon's main thread. @return 0 or the result of reading the configuration */
int StartMonitoringActivity();

/** Body of the worker: pass after pass, until the service is stopped. @param arg  a ServiceThreadStatus */
void* ServiceWorkerThread(void* arg);

/** Tears the service down; may run twice, and repeats its lines then. Main thread or worker. Always 0. */
int StopMonitoringActivity();
