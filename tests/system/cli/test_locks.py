"""The locks of the daemon: who holds them when, and whom a stop reaches."""
import signal
import time

import pytest

from host import product, refusing, texts

EARLIER = "999999"  # the id of a daemon that is long gone
BUSY_RUN = "Error: Another instance of run action in progressing state\n"

# The child of a fork waits for the test. So does its parent, once it has looked for it without success.
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
    """The files of which a process holds the whole as a record lock for writing."""
    form = "^lock:.* POSIX  *ADVISORY  *WRITE .* 0 EOF$"
    return set(host.shell(f"cd /proc/{pid}/fd && for one in *; do "
                          f"grep -qs '{form}' ../fdinfo/$one && readlink $one; done; :").split())


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


def stuck(host, option):
    """Starts an action that can't end, for its output is a pipe that takes nothing more."""
    host.shell("mkfifo /full")
    return host.spawn("/bin/dash", "-c", "exec 3<>/full; head -c 65536 /dev/zero >&3; "
                      f"exec {product.PROGRAM} {option} >&3")


def let_out(host, action):
    """Takes the output of an action that was stuck, and gives its status and that output."""
    said = host.run("/bin/cat", "/full").output.lstrip("\0")
    return host.wait(action).status, said


def test_who_finds_no_daemon_holds_its_lock_to_the_end(host):
    host.put(product.RUN_LOCK, EARLIER)
    first = stuck(host, "-uninstall")
    host.comes_to(lambda: locked_by(host, first), {product.CHILD_LOCK})
    said = texts.begun("start") + texts.ALREADY + texts.begun("start") + texts.IS_RUNNING
    assert host.run("-start") == (0, said + texts.done("start"), "")
    assert host.get(product.RUN_LOCK) == EARLIER
    assert let_out(host, first) == (0, texts.begun("uninstall") + texts.done("uninstall"))
    host.start()


def test_a_stop_that_finds_no_daemon_holds_both_locks_to_the_end(host):
    host.put(product.RUN_LOCK, EARLIER)
    first = stuck(host, "-terminate")
    host.comes_to(lambda: locked_by(host, first), {product.RUN_LOCK, product.CHILD_LOCK})
    assert host.run("-start") == (8, texts.begun("start") + BUSY_RUN + texts.failed("start"), "")
    assert let_out(host, first) == (9, texts.begun("stop") + texts.NO_DAEMON + texts.failed("stop"))
    host.start()


@pytest.mark.parametrize("option, label, said", [
    ("-terminate", "stop", ""), ("-uninstall", "uninstall", "Info: stopped the daemon process\n")])
def test_a_stop_beside_a_daemon_holds_the_run_lock_alone_to_the_end(host, option, label, said):
    host.start()
    first = stuck(host, option)
    host.log_says(texts.STOPPED)
    assert locked_by(host, first) == {product.RUN_LOCK}
    assert host.run("-start") == (8, texts.begun("start") + BUSY_RUN + texts.failed("start"), "")
    assert let_out(host, first) == (0, texts.begun(label) + said + texts.done(label))


def test_a_start_holds_the_run_lock_to_its_end_and_the_daemon_the_other_one_as_long_as_it_runs(make_host):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    starter = host.spawn(product.PROGRAM, "-start")
    host.log_says(texts.MONITORING)
    assert locked_by(host, starter) == {product.RUN_LOCK}
    assert host.wait(starter).status == 0
    assert locked_by(host, host.daemon_pid()) == {product.CHILD_LOCK}


@pytest.mark.parametrize("closed", ["<&-", ">&-", "2>&-", "<&- >&- 2>&-"])
def test_a_daemon_whose_starter_had_closed_streams_keeps_its_lock(make_host, closed):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    assert host.run("/bin/dash", "-c", f"exec {product.PROGRAM} -start {closed}").status == 0
    host.log_says(texts.MONITORING)
    pid = host.daemon_pid()
    assert locked_by(host, pid) == {product.CHILD_LOCK}
    assert host.run("-start").status == 0
    assert [one["pid"] for one in host.daemons()] == [pid]
    host.terminate()


@pytest.mark.parametrize("closed", [">&-", "2>&-"])
def test_complaints_of_the_first_load_come_once_where_the_starter_had_closed_streams(make_host, closed):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    host.put(product.STORE, host.get(product.STORE) + "no key and no value\n")
    assert host.run("/bin/dash", "-c", f"exec {product.PROGRAM} -start {closed}").status == 0
    host.log_says(texts.MONITORING)
    entries = host.ask("datagrams")
    assert sum(product.STORE in entry for entry in entries) == 1
    assert [entry for entry in entries if not entry.startswith("<")] == []  # none by way of a stream
    host.terminate()


def test_a_stop_beside_an_id_that_nobody_has_any_more_succeeds_and_stops_nobody(make_host):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    pid = host.start()
    host.put(product.RUN_LOCK, EARLIER)
    for option, label, said in (("-terminate", "stop", ""),
                                ("-uninstall", "uninstall", "Info: stopped the daemon process\n")):
        assert host.run(option) == (0, texts.begun(label) + said + texts.done(label), "")
    assert [one["pid"] for one in host.daemons()] == [pid]
    assert host.log()[-1] == texts.MONITORING


def test_a_stop_goes_to_the_number_that_the_run_lock_begins_with(make_host):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    pid = host.start()
    for form in ("{}", " \t\n{}\n", "{}abc", "{} 1", "+{}", "000{}"):
        other = host.spawn("/bin/sleep", "1000")
        host.put(product.RUN_LOCK, form.format(other))
        assert host.run("-terminate") == (0, texts.begun("stop") + texts.done("stop"), "")
        assert host.wait(other).status == -signal.SIGTERM, form
    assert [one["pid"] for one in host.daemons()] == [pid]


def test_a_run_lock_that_the_daemon_cannot_write_keeps_its_id_and_a_stop_goes_there(make_host, interpose):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    other = host.spawn("/bin/sleep", "1000")
    host.put(product.RUN_LOCK, str(other))
    refusing.in_child(host, "echo $PPID >/run/daemon\n"
                      f"mount -n --bind {product.RUN_LOCK} {product.RUN_LOCK}\n"
                      f"mount -n -o remount,bind,ro {product.RUN_LOCK}\n")
    host.start(environment=interpose(host, refusing.SOURCE))
    host.log_says(texts.MONITORING)
    assert host.get(product.RUN_LOCK) == str(other)
    host.shell(f"umount -n {product.RUN_LOCK}")
    assert host.run("-terminate") == (0, texts.begun("stop") + texts.done("stop"), "")
    assert host.wait(other).status == -signal.SIGTERM
    assert [one["pid"] for one in host.daemons()] == [int(host.get("/run/daemon"))]


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
    # An older unshare has what it starts ignore the signal.
    world = host.spawn("/usr/bin/unshare", "--pid", "--fork", "--mount-proc",
                       "/usr/bin/env", "--default-signal=INT,TERM", "/bin/dash", "/world")
    host.log_says(texts.STOPPED)
    host.until_gone()
    host.put("/run/go")
    said = texts.begun("stop") + texts.done("stop") + f"{int(reached_by)}\n"
    assert host.wait(world) == (0, said, "")
