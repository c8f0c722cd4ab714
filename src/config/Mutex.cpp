#include "config/Mutex.h"

mutex::mutex() : mMutex(), mInitialized(false)
{
    mInitialized = pthread_mutex_init(&mMutex, nullptr) == 0;
}

mutex::mutex(const char* /*name*/) : mMutex(), mInitialized(false) {}

mutex::~mutex()
{
    if (mInitialized) {
        // Fails when a thread still holds it at exit, and nothing can be done about that.
        (void)pthread_mutex_destroy(&mMutex);
        mInitialized = false;
    }
}

void mutex::lock()
{
    (void)pthread_mutex_lock(&mMutex); // unchecked, see the class
}

void mutex::unlock()
{
    (void)pthread_mutex_unlock(&mMutex); // unchecked, see the class
}
