"""A machine that refuses: calls that fail for the program, and for it alone, while a test says so.

    environment = interpose(host, refusing.SOURCE)
    refusing.refuse(host, "fork")

What can be refused
  "fork"                  no process can be made: the start fails
  "thread of THREAD"      this thread ("main", "worker", "capture") can start none
  "thread of THREAD N"    of those that it tries to start, counted from 1, only this one fails
  "system", "popen"       no shell can be started
  "memory"                there is none for an object of a hundred bytes and more that may be missing
  "store KEY"             the base library delivers the text of this key with a code of its own, or fails
                          with that code where a number is asked for

`in_child` gives the child of a fork a script to run before it goes on.
"""
from . import scripted

FOLDER = scripted.SCENARIO + "/refusing"
REFUSED = FOLDER + "/refused"
IN_CHILD = FOLDER + "/in-child"

SOURCE = f"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum {{ DEPTHS = 3, SMALL = 100, UNUSUAL = 999 }};

struct Body {{ void* (*run)(void*); void* argument; int depth; }};

static const char* const NAMES[DEPTHS] = {{"main", "worker", "capture"}};
static _Thread_local int depth;
static int tries[DEPTHS];

static int IsRefused(const char* wish)
{{
    char line[256];
    int found = 0;
    FILE* file = fopen("{REFUSED}", "r");
    if (!file)
        return 0;
    while (!found && fgets(line, sizeof line, file)) {{
        line[strcspn(line, "\\n")] = 0;
        found = strcmp(line, wish) == 0;
    }}
    fclose(file);
    return found;
}}

static int IsThreadRefused(void)
{{
    char every[64], one[64];
    snprintf(every, sizeof every, "thread of %s", NAMES[depth]);
    snprintf(one, sizeof one, "%s %d", every, __atomic_add_fetch(&tries[depth], 1, __ATOMIC_SEQ_CST));
    return IsRefused(every) || IsRefused(one);
}}

static void* RunBody(void* given)
{{
    struct Body body = *(struct Body*)given;
    free(given);
    depth = body.depth < DEPTHS ? body.depth : DEPTHS - 1;
    return body.run(body.argument);
}}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument)
{{
    int (*real)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) =
        dlsym(RTLD_NEXT, "pthread_create");
    if (IsThreadRefused())
        return EAGAIN;
    struct Body* body = malloc(sizeof *body);
    *body = (struct Body){{run, argument, depth + 1}};
    return real(thread, attributes, RunBody, body);
}}

static void RunInChild(pid_t (*fork)(void))
{{
    if (access("{IN_CHILD}", F_OK) != 0)
        return;
    const pid_t script = fork();
    if (script == 0) {{
        execl("/bin/dash", "dash", "{IN_CHILD}", (char*)NULL);
        _exit(127);
    }}
    waitpid(script, NULL, 0);
}}

pid_t fork(void)
{{
    pid_t (*real)(void) = dlsym(RTLD_NEXT, "fork");
    if (IsRefused("fork")) {{
        errno = EAGAIN;
        return -1;
    }}
    const pid_t child = real();
    if (child == 0)
        RunInChild(real);
    return child;
}}

int system(const char* line)
{{
    int (*real)(const char*) = dlsym(RTLD_NEXT, "system");
    return IsRefused("system") ? -1 : real(line);
}}

FILE* popen(const char* line, const char* mode)
{{
    FILE* (*real)(const char*, const char*) = dlsym(RTLD_NEXT, "popen");
    if (!IsRefused("popen"))
        return real(line, mode);
    errno = EMFILE;
    return NULL;
}}

/* The form of new that may give nothing. */
void* _ZnwmRKSt9nothrow_t(size_t size, const void* tag)
{{
    void* (*real)(size_t, const void*) = dlsym(RTLD_NEXT, "_ZnwmRKSt9nothrow_t");
    return size >= SMALL && IsRefused("memory") ? NULL : real(size, tag);
}}

static int IsKeyRefused(const char* key)
{{
    char wish[64];
    snprintf(wish, sizeof wish, "store %s", key);
    return IsRefused(wish);
}}

int thconfGetKeyValPair(void* handle, const char* key, char** value)
{{
    int (*real)(void*, const char*, char**) = dlsym(RTLD_NEXT, "thconfGetKeyValPair");
    const int code = real(handle, key, value);
    return IsKeyRefused(key) ? UNUSUAL : code;
}}

int thconfGetKeyValPairAsInt(void* handle, const char* key, int* value)
{{
    int (*real)(void*, const char*, int*) = dlsym(RTLD_NEXT, "thconfGetKeyValPairAsInt");
    return IsKeyRefused(key) ? UNUSUAL : real(handle, key, value);
}}
"""


def refuse(host, *calls):
    """From now on these calls are refused, and no others."""
    host.put(REFUSED, "".join(f"{call}\n" for call in calls))


def in_child(host, script):
    """The child of the next fork runs this script of the shell first."""
    host.put(IN_CHILD, script)
