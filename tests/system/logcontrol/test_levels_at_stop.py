"""Stops that meet the raise of a log level: no level stays raised, and nothing hangs."""
import random
import signal
import time

import pytest

from host import NIGHTLY, Process, product, texts

TOOL = f"{product.HOME}/bin/txlogcfg"
LEVELS = f"{product.HOME}/txlogcfg.levels"
ON = {"THHS_INCREASE_LOG_LEVEL": 1, "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_POLL_INTERVAL": 600,
      "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0, "THHS_MONITOR_CPU": "tbrd:80"}
BEFORE = ["119 2 3", "128 4 5"]
SOON = 20  # seconds

# The tool, whose call that matches a pattern hangs until it is released.
HANGING = """#!/bin/dash
case $* in {pattern})
    : >/run/hangs
    until [ -e /run/go ]; do sleep 0.02; done ;;
esac
exec /run/txlogcfg "$@"
"""

# The last restore of a stop lets the raise go on, and ends when the worker has gone on after it.
RELEASING = """#!/bin/dash
case $* in
    *' 119 '*DebugLevel=6*)
        : >/run/hangs
        until [ -e /run/go ]; do sleep 0.02; done ;;
    *' 119 '*DebugLevel=2*)
        if [ -e /run/restored ]; then
            : >/run/go
            until [ -e /run/worker-sleeps ]; do sleep 0.02; done
        fi
        : >/run/restored ;;
esac
exec /run/txlogcfg "$@"
"""

# The second that a stop gives its worker ends when the test says so.
LONG_SECOND = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

enum { INTERVAL = 600 };

unsigned int sleep(unsigned int seconds)
{
    unsigned int (*real)(unsigned int) = dlsym(RTLD_NEXT, "sleep");
    if (seconds == INTERVAL)
        close(open("/run/worker-sleeps", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (gettid() != getpid() || access("/run/stops", F_OK) != 0)
        return real(seconds);
    while (access("/run/second-is-over", F_OK) != 0)
        usleep(10000);
    return 0;
}
"""


def restored(target, debug, diagnostic):
    return f'"{TOOL}" -a -p TH -o {target} -s DebugLevel={debug} -s DiagnosticLevel={diagnostic}'


def levels(host):
    """What the tool has stored, a target a line."""
    return sorted((host.get(LEVELS) or "").splitlines())


def changes(host):
    """The lines that raise or restore a level."""
    return [line for line in host.shell_lines() if " -s " in line]


@pytest.fixture(name="stopped_amid")
def _stopped_amid(make_host, interpose):
    """A daemon that has done all of a stop but its second, while a call of the tool hangs."""
    def begin(pattern, tool=HANGING):
        host = make_host(store=ON, processes=[Process(100, "/opt/tbrd", cpu=90)])
        host.put(LEVELS, "".join(f"{line}\n" for line in BEFORE))
        host.shell(f"mv {TOOL} /run/txlogcfg")
        host.put(TOOL, tool.replace("{pattern}", pattern), 0o755)
        host.adopt_orphans()
        pid = host.start(environment=interpose(host, LONG_SECOND))
        host.until(lambda: host.exists("/run/hangs"), "the tool hangs")
        host.put("/run/stops")
        host.kill(pid, signal.SIGTERM)
        host.log_says(texts.STOPPED, limit=SOON)
        return host, pid

    return begin


def test_nothing_more_is_raised_once_a_stop_has_begun(stopped_amid):
    """The stop comes while the worker reads the level of the first target."""
    host, pid = stopped_amid("*' 119 -l'")
    host.put("/run/go")
    host.until(lambda: host.exists("/run/worker-sleeps"), "the worker has gone on to its sleep", SOON)
    host.put("/run/second-is-over")
    assert host.status_of(pid, limit=SOON) == 255
    assert changes(host) == []
    assert levels(host) == BEFORE


def test_a_raise_that_a_stop_meets_is_restored_before_the_end(stopped_amid):
    host, pid = stopped_amid("*' 119 '*DebugLevel=6*")
    host.put("/run/go")
    host.until(lambda: "119 6 6" in levels(host), "the raise comes after its restore", SOON)
    host.put("/run/second-is-over")
    assert host.status_of(pid, limit=SOON) == 255
    assert changes(host)[1:] == [restored("119", 2, 3)] * 2
    assert levels(host) == BEFORE


def test_a_raise_that_ends_during_its_last_restore_is_restored_after_that(stopped_amid):
    """Its tool may write after the restore has."""
    host, pid = stopped_amid("", RELEASING)
    host.put("/run/second-is-over")
    assert host.status_of(pid, limit=SOON) == 255
    assert changes(host)[1:] == [restored("119", 2, 3)] * 3
    assert levels(host) == BEFORE


def test_a_raise_that_hangs_does_not_hold_up_a_stop(stopped_amid):
    host, pid = stopped_amid("*' 119 '*DebugLevel=6*")
    host.put("/run/second-is-over")
    assert host.status_of(pid, limit=SOON) == 255
    assert levels(host) == BEFORE


ROUNDS = 50 if NIGHTLY else 10
NAMES = ["exampled", "otherd", "tbrd", "thirdd"]


@pytest.mark.parametrize("seed", range(20 if NIGHTLY else 5))
def test_a_stop_at_any_moment_leaves_no_level_raised(make_host, seed):
    """The starter is killed as soon as its daemon is at work, so that no round waits for it."""
    chance = random.Random(seed)
    host = make_host(store={**ON, "THHS_MONITOR_CPU": ",".join(f"{name}:80" for name in NAMES)},
                     processes=[Process(100 + place, f"/opt/{name}", cpu=90)
                                for place, name in enumerate(NAMES)])
    host.adopt_orphans()
    for number in range(1, ROUNDS + 1):
        starter = host.spawn(product.PROGRAM, "-start")
        host.log_says(texts.MONITORING, number)
        pid = host.daemon_pid()
        host.kill(starter)
        host.wait(starter)
        moment = chance.uniform(0, 0.4)
        time.sleep(moment)  # the moment of the stop; nothing is awaited here
        host.kill(pid, signal.SIGTERM)
        assert host.status_of(pid, limit=SOON) == 255
        raised = [line for line in levels(host) if line.endswith(" 6 6")]
        assert not raised, f"round {number}, {moment:.3f} s"
