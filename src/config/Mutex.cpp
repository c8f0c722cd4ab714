#include "config/Mutex.h"

mutex::mutex() : mMutex(), mInitialized(false)
{
    mInitialized = pthread_mutex_init(&mMutex, nullptr) == 0;
}

mutex::mutex(const char* /*name*/) : mMutex(), mInitialized(false) {}

mutex::~mutex()
{
    if (mInitialized) {
        // A thread may still hold it at exit; there is nobody left to be told.
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
