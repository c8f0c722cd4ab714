"""The locks of the daemon: who holds them when, and whom a stop reaches behind them."""
import signal
import time

import pytest

from host import product, texts

EARLIER = "999999"  # the id of a daemon that is long gone

# The child of a fork waits for the test. So does its parent, once it has looked for it in vain.
LATE_CHILD = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <unistd.h>

static void WaitFor(const char* path)
{
    while (access(path, F_OK) != 0)
        usleep(3000);
}

pid_t fork(void)
{
    pid_t (*real)(void) = dlsym(RTLD_NEXT, "fork");
    const pid_t child = real();
    if (child == 0)
        WaitFor("/run/child-goes-on");
    return child;
}

unsigned int sleep(unsigned int seconds)
{
    unsigned int (*real)(unsigned int) = dlsym(RTLD_NEXT, "sleep");
    if (seconds > 1)
        return real(seconds);
    WaitFor("/run/parent-goes-on");
    return 0;
}
"""


def locked_by(host, pid):
    """The files on which a process holds a lock."""
    return set(host.shell(f"cd /proc/{pid}/fd && for one in *; do "
                          "grep -qs ^lock: ../fdinfo/$one && readlink $one; done; :").split())


def test_a_parent_that_looks_for_its_child_too_early_takes_its_lock(host, interpose):
    """It waits two seconds before that, which is far more than a child needs that isn't held."""
    host.put(product.RUN_LOCK, EARLIER)
    begun = time.monotonic()
    parent = host.spawn(product.PROGRAM, "-start", environment=interpose(host, LATE_CHILD))
    host.comes_to(lambda: locked_by(host, parent), {product.RUN_LOCK, product.CHILD_LOCK})
    assert time.monotonic() - begun >= 2
    host.put("/run/child-goes-on")
    host.comes_to(lambda: [one["pid"] for one in host.daemons()], [parent])
    host.put("/run/parent-goes-on")
    said = texts.begun("start") + texts.ALREADY + texts.begun("start") + texts.NOT_STARTED
    assert host.wait(parent) == (8, said + texts.failed("start"), "")
    assert host.get(product.RUN_LOCK) == EARLIER


def test_who_finds_no_daemon_holds_its_lock_to_the_end(host):
    """The uninstallation can't end, for its output is a pipe that takes nothing more."""
    host.put(product.RUN_LOCK, EARLIER)
    host.shell("mkfifo /full")
    first = host.spawn("/bin/dash", "-c", "exec 3<>/full; head -c 65536 /dev/zero >&3; "
                       f"exec {product.PROGRAM} -uninstall >&3")
    host.comes_to(lambda: locked_by(host, first), {product.CHILD_LOCK})
    said = texts.begun("start") + texts.ALREADY + texts.begun("start") + texts.IS_RUNNING + texts.done("start")
    assert host.run("-start") == (0, said, "")
    assert host.get(product.RUN_LOCK) == EARLIER
    said = host.run("/bin/cat", "/full").output.lstrip("\0")
    assert said == texts.begun("uninstall") + texts.done("uninstall")
    assert host.wait(first).status == 0
    host.start()


# A small world with processes of its own: process 1, which no signal reaches, a bystander, and the daemon.
WORLD = f"""
/bin/sleep 100000 &
bystander=$!
({product.PROGRAM} -start; :) >/started
[ -e /run-lock ] && cp /run-lock {product.RUN_LOCK}
{product.PROGRAM} -terminate
until [ -e /run/go ]; do sleep 0.1; done
exec 2>/dev/null
kill -KILL $bystander
wait $bystander
echo $(($? - 128))
"""


@pytest.mark.parametrize("content, reached_by", [
    ("nobody\n", signal.SIGTERM), ("x 7", signal.SIGTERM), (None, signal.SIGKILL)],
    ids=["a word", "a word before a number", "the id of the daemon"])
def test_a_stop_reaches_every_process_where_the_run_lock_has_no_number(make_host, content, reached_by):
    """The bystander is ended by the stop, or lives until the world itself ends it."""
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    host.put("/world", WORLD)
    if content:
        host.put("/run-lock", content)
    world = host.spawn("/usr/bin/unshare", "--pid", "--fork", "--mount-proc", "/bin/dash", "/world")
    host.log_says(texts.STOPPED)
    host.until_gone()
    host.put("/run/go")
    said = texts.begun("stop") + texts.done("stop") + f"{int(reached_by)}\n"
    assert host.wait(world) == (0, said, "")
