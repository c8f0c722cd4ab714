"""The end of the process: it comes whatever captures and tools do just then."""
import signal

import pytest

from host import Process, product, texts

NAME, PID = "exampled", 4321
AT_ONCE = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 1}
HOLD = """#!/bin/dash
: >/run/held
until [ -e /run/go ]; do sleep 0.05; done
"""
SOON = 20  # seconds; a tool that is held is held until the test ends

# Newer C libraries take the lock of every open stream when the process ends.
STREAM_LOCKS = """
#define _GNU_SOURCE
#include <stdio.h>

extern FILE* _IO_list_all;
void _IO_list_lock(void);
void _IO_list_unlock(void);

static void TakeStreamLocks(void)
{
    _IO_list_lock();
    for (FILE* stream = _IO_list_all; stream; stream = stream->_chain) {
        flockfile(stream);
        funlockfile(stream);
    }
    _IO_list_unlock();
}

int atexit(void (*)(void));
__attribute__((constructor)) static void TakeStreamLocksAtExit(void) { atexit(TakeStreamLocks); }
"""

# Notes what the program itself registers to be taken down at the end of the process.
REGISTRATIONS = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

int __cxa_atexit(void (*take_down)(void*), void* object, void* owner)
{
    int (*real)(void (*)(void*), void*, void*) = dlsym(RTLD_NEXT, "__cxa_atexit");
    Dl_info found;
    if (owner && dladdr(owner, &found) && strstr(found.dli_fname, "bin/thsentinel")) {
        int file = open("/run/registered", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (write(file, "1\\n", 2) != 2)
            _exit(127);
        close(file);
    }
    return real(take_down, object, owner);
}
"""


@pytest.mark.parametrize("end", ["signal", "settings"])
def test_the_end_waits_for_no_capture_that_reads_from_a_tool(make_host, interpose, end):
    host = make_host(store={**AT_ONCE, "THHS_CAPTURE_PROCESS_DUMP": 1},
                     processes=[Process(PID, f"/opt/{NAME}", cpu=90)])
    host.put("/usr/bin/gcore", HOLD, 0o755)
    host.adopt_orphans()
    pid = host.start(environment=interpose(host, STREAM_LOCKS))
    host.until(lambda: host.exists("/run/held"), "the tool hangs")
    if end == "signal":
        host.kill(pid, signal.SIGTERM)
    else:
        host.configure(THHS_MEMORY_UNIT="KB")
    assert host.status_of(pid, limit=SOON) == (255 if end == "signal" else 8)
    # A pass in progress may still write lines of its own in the second of a stop.
    assert [entry for entry in host.log() if entry in texts.STOPPING] == (
        texts.STOPPING if end == "signal" else texts.STOPPING[-1:] + texts.STOPPING * 2)
    assert any("/usr/bin/gcore" in one["arguments"] for one in host.processes())


def test_what_threads_may_use_to_the_last_is_not_taken_down_at_the_end(make_host, interpose, plain_build):
    """But for the lock under which the one object of all settings is built, and which is never taken later."""
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    host.start(environment=interpose(host, REGISTRATIONS))
    host.log_says(texts.MONITORING)
    host.terminate()
    assert host.get("/run/registered").count("\n") == 1


# ----------------------------------------------------------------------------------------------------------
# Before there is a worker
# ----------------------------------------------------------------------------------------------------------

def spawn_until_held(host, path, kept=""):
    """Starts a daemon that hangs in this tool as it looks at its machine, and gives starter and daemon."""
    host.put(path, HOLD + kept, 0o755)
    host.adopt_orphans()
    starter = host.spawn(product.PROGRAM, "-start")
    host.until(lambda: host.exists("/run/held"), "the tool hangs")
    return starter, host.daemon_pid()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_stop_ends_a_daemon_at_once_that_hangs_in_a_tool_of_its_start(make_host, number):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    starter, pid = spawn_until_held(host, "/usr/bin/cat")
    log = host.log()
    host.kill(pid, number)
    host.until(lambda: host.process_of(pid)["state"] == "Z", "the daemon ends", SOON)
    host.put("/run/go")
    assert host.wait(starter) == (8, texts.begun("start") * 2 + texts.NOT_STARTED + texts.failed("start"), "")
    assert host.status_of(pid) == 255
    assert host.log() == log == host.log_of_start()[:len(log)]
    assert host.system_log() == [texts.ENTRY]
