#pragma once

#include <pthread.h>

/** The main thread's id, which is never joined. The daemon's main thread is the one that forked it. Any
 * thread.
 */
pthread_t GetMainThreadId();
