#include "support/SystemSeams.h"

#include <atomic>
#include <cstdarg>
#include <mutex>

namespace
{
std::atomic<long> gLocks = 0;
}

long CountLocks()
{
    return gLocks;
}

SystemSeams& GetSeams()
{
    static auto* const seams = new SystemSeams; // outlives every thread
    return *seams;
}

extern "C" {

FILE* __real_fopen64(const char* path, const char* mode);
FILE* __wrap_fopen64(const char* path, const char* mode)
{
    return GetSeams().mFopen64 ? GetSeams().mFopen64(path, mode) : __real_fopen64(path, mode);
}

void __real_closelog(void);
void __wrap_closelog(void)
{
    if (GetSeams().mCloselog) {
        GetSeams().mCloselog();
    } else {
        __real_closelog();
    }
}

int __real_fclose(FILE* file);
int __wrap_fclose(FILE* file)
{
    if (GetSeams().mFclose) {
        GetSeams().mFclose(file);
    }
    return __real_fclose(file);
}

pid_t __real_fork(void);
pid_t __wrap_fork(void)
{
    return GetSeams().mFork ? GetSeams().mFork() : __real_fork();
}

pid_t __real_getppid(void);
pid_t __wrap_getppid(void)
{
    return GetSeams().mGetppid ? GetSeams().mGetppid() : __real_getppid();
}

uid_t __real_getuid(void);
uid_t __wrap_getuid(void)
{
    return GetSeams().mGetuid ? GetSeams().mGetuid() : __real_getuid();
}

int __real_gettimeofday(struct timeval* now, void* zone);
int __wrap_gettimeofday(struct timeval* now, void* zone)
{
    if (GetSeams().mGettimeofday) {
        GetSeams().mGettimeofday(now);
        return 0;
    }
    return __real_gettimeofday(now, zone);
}

int __real_kill(pid_t pid, int signal);
int __wrap_kill(pid_t pid, int signal)
{
    return GetSeams().mKill ? GetSeams().mKill(pid, signal) : __real_kill(pid, signal);
}

void __real_openlog(const char* identity, int options, int facility);
void __wrap_openlog(const char* identity, int options, int facility)
{
    if (GetSeams().mOpenlog) {
        GetSeams().mOpenlog(identity, options, facility);
    } else {
        __real_openlog(identity, options, facility);
    }
}

FILE* __real_popen(const char* command, const char* mode);
FILE* __wrap_popen(const char* command, const char* mode)
{
    return GetSeams().mPopen ? GetSeams().mPopen(command, mode) : __real_popen(command, mode);
}

int __real_pthread_cancel(pthread_t thread);
int __wrap_pthread_cancel(pthread_t thread)
{
    return GetSeams().mPthreadCancel ? GetSeams().mPthreadCancel(thread) : __real_pthread_cancel(thread);
}

int __real_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument);
int __wrap_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument)
{
    return GetSeams().mPthreadCreate ? GetSeams().mPthreadCreate(id, attributes, body, argument)
                                     : __real_pthread_create(id, attributes, body, argument);
}

int __real_pthread_detach(pthread_t thread);
int __wrap_pthread_detach(pthread_t thread)
{
    return GetSeams().mPthreadDetach ? GetSeams().mPthreadDetach(thread) : __real_pthread_detach(thread);
}

int __real_pthread_join(pthread_t thread, void** result);
int __wrap_pthread_join(pthread_t thread, void** result)
{
    return GetSeams().mPthreadJoin ? GetSeams().mPthreadJoin(thread, result)
                                   : __real_pthread_join(thread, result);
}

int __real_pthread_mutex_destroy(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex)
{
    if (GetSeams().mPthreadMutexDestroy) {
        GetSeams().mPthreadMutexDestroy(mutex);
    }
    return __real_pthread_mutex_destroy(mutex);
}

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    ++gLocks;
    return __real_pthread_mutex_lock(mutex);
}

int __real_setlogmask(int mask);
int __wrap_setlogmask(int mask)
{
    return GetSeams().mSetlogmask ? GetSeams().mSetlogmask(mask) : __real_setlogmask(mask);
}

unsigned __real_sleep(unsigned seconds);
unsigned __wrap_sleep(unsigned seconds)
{
    return GetSeams().mSleep ? GetSeams().mSleep(seconds) : __real_sleep(seconds);
}

int __real_system(const char* command);
int __wrap_system(const char* command)
{
    return GetSeams().mSystem ? GetSeams().mSystem(command) : __real_system(command);
}

void __wrap_syslog(int priority, const char* format, ...)
{
    static std::mutex guard;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (GetSeams().mSyslog) {
        GetSeams().mSyslog();
    }
    const std::lock_guard<std::mutex> hold(guard);
    GetSeams().mSystemLog.push_back({priority, text});
}

} // extern "C"
