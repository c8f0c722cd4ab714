"""A daemon whose passes a test lets go one at a time, so that no pass waits for the clock.

A small library, built with the machine's C compiler and loaded into the daemon alone, stands in for the
sleep between two passes: the worker notes how long it was to sleep and waits until the test lets it go on.
Captures don't wait between their readings, and the daemon looks ten times a second whether its worker has
ended. Everything else is the installed program.
"""
import shutil
import subprocess

from . import product, scripted

FOLDER = scripted.SCENARIO + "/pace"
LIBRARY = FOLDER + "/pace.so"

# Lets the programs that the daemon starts go without the library.
SPARE_CHILDREN = """
#include <stdlib.h>
__attribute__((constructor)) static void SpareChildren(void) { unsetenv("LD_PRELOAD"); }
"""

# The main thread starts no thread but the worker; the worker starts those of the captures.
SOURCE = f"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <unistd.h>

struct Body {{ void* (*run)(void*); void* argument; }};

static _Thread_local int isWorker;
static volatile int hasWorker;

{SPARE_CHILDREN}
static void* RunWorker(void* given)
{{
    struct Body body = *(struct Body*)given;
    free(given);
    isWorker = 1;
    return body.run(body.argument);
}}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument)
{{
    int (*real)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) =
        dlsym(RTLD_NEXT, "pthread_create");
    if (gettid() != getpid())
        return real(thread, attributes, run, argument);
    struct Body* body = malloc(sizeof *body);
    body->run = run;
    body->argument = argument;
    hasWorker = 1;
    return real(thread, attributes, RunWorker, body);
}}

static int Allowed(void)
{{
    int number = 0;
    FILE* file = fopen("{FOLDER}/allowed", "r");
    if (file) {{
        if (fscanf(file, "%d", &number) != 1)
            number = 0;
        fclose(file);
    }}
    return number;
}}

unsigned int sleep(unsigned int seconds)
{{
    static int sleeps;
    if (gettid() == getpid()) {{
        unsigned int (*real)(unsigned int) = dlsym(RTLD_NEXT, "sleep");
        return hasWorker ? (unsigned int)usleep(100000) : real(seconds);
    }}
    if (!isWorker)
        return 0;
    FILE* file = fopen("{FOLDER}/sleeps", "a");
    if (file) {{
        fprintf(file, "%u\\n", seconds);
        fclose(file);
    }}
    for (++sleeps; Allowed() < sleeps;)
        usleep(3000);
    return 0;
}}
"""


def compiler():
    """The C compiler of this machine, or None."""
    return shutil.which("cc") or shutil.which("gcc") or shutil.which("clang")


def build(folder, text=SOURCE):
    """Builds the library, or one of a test's own source, and gives its bytes as a text for Host.put()."""
    source = folder / "pace.c"
    source.write_text(text)
    library = folder / "pace.so"
    subprocess.run([compiler(), "-O1", "-shared", "-fPIC", "-o", library, source, "-ldl"], check=True)
    return library.read_bytes().decode("utf-8", "surrogateescape")


class Paced:
    """The daemon of a host, held in the sleep of each pass until step() lets it go on."""

    def __init__(self, host, library, preloaded=(), **environment):
        """library: what build() gave; preloaded: paths of more libraries, with their environment."""
        self.host = host
        self.environment = {**environment, "LD_PRELOAD": ":".join([LIBRARY, *preloaded])}
        self.passed = self.logged = 0
        host.put(LIBRARY, library, 0o755)

    def start(self, option="-start"):
        """Starts the program and gives what that said; a daemon is then in the sleep of its first pass."""
        self.passed = 0
        self.host.remove(f"{FOLDER}/sleeps")
        self.host.put(f"{FOLDER}/allowed", "0\n")
        self.host.rewind()
        arguments = [product.PROGRAM, *([option] if option else [])]
        result = self.host.run(*arguments, environment=self.environment)
        if result.status == 0:
            self._comes_to_sleep()
        return result

    def next_pass(self, **changes):
        """Changes settings, continues to the sleep of the next pass, and gives what was said from then on."""
        self.says()
        self.host.configure(changes)
        if not self.step():
            raise AssertionError(self.host.report("the daemon is gone"))
        return self.says()

    def says(self):
        """What the log says since this was asked last, once the captures of the pass have ended."""
        self.captures_end()
        log = self.host.log()
        fresh, self.logged = log[self.logged:], len(log)
        return fresh

    def sleeps(self):
        """The seconds of every sleep that the worker has begun."""
        return [int(line) for line in (self.host.get(f"{FOLDER}/sleeps") or "").splitlines()]

    def step(self):
        """Ends the sleep of this pass; true when the next pass has come to its own, false for a stop."""
        self.passed += 1
        self.host.put(f"{FOLDER}/allowed", f"{self.passed}\n")
        return self._comes_to_sleep()

    def _comes_to_sleep(self):
        self.host.until(lambda: len(self.sleeps()) > self.passed or not self.host.daemons(),
                        f"the sleep of pass {self.passed + 1}, or the end")
        return len(self.sleeps()) > self.passed

    def captures_end(self):
        """Waits until the daemon has no thread but its main thread and its worker."""
        self.host.until(lambda: [one["threads"] for one in self.host.daemons()] == [2], "all captures end")
