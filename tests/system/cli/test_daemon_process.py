"""The daemon as a process: what it keeps of its starter, its signals, its sleeps, and what it has open."""
import re
import signal

import pytest

from host import product, refusing, texts

LONG = {"THHS_POLL_INTERVAL": 600}
BLOCKED = {signal.SIGCHLD, signal.SIGTSTP, signal.SIGTTIN, signal.SIGTTOU}
CAUGHT = {signal.SIGHUP, signal.SIGINT, signal.SIGTERM}
REAL_TIME = 32  # signals from here on are those of the thread library


def start_from(host, folder, mask):
    """Starts the daemon from a shell in that folder with that mask, and gives the shell's line of /proc."""
    host.folder(folder)
    host.run("/bin/dash", "-c", f"umask {mask}; read -r line </proc/$$/stat; echo \"$line\" >/run/starter; "
             f"exec {product.PROGRAM} -start", folder=folder)
    return host.get("/run/starter")


# Says how wide its lines are to be.
WIDTH_OF_PS = """#!/bin/dash
echo "${COLUMNS-unset} ${LINES-unset} ${OTHER-unset}" >>/run/widths
"""


def test_the_tools_of_the_daemon_know_no_width_of_the_terminal_of_its_starter(make_host):
    host = make_host(store=LONG)
    host.put("/usr/bin/ps", WIDTH_OF_PS, 0o755)
    host.start(environment={"COLUMNS": "40", "LINES": "10", "OTHER": "kept"})
    host.log_says(texts.MONITORING)
    assert set(host.get("/run/widths").splitlines()) == {"unset unset kept"}


def test_a_daemon_starts_where_addresses_are_few(make_host, plain_build):
    host = make_host(store=LONG)
    result = host.run("/bin/dash", "-c", f"ulimit -v 70000; {product.PROGRAM} -start; exit $?")
    assert result == (0, texts.begun("start") * 2 + texts.IS_RUNNING + texts.done("start"), "")
    host.log_says(texts.MONITORING)


def test_a_daemon_outlives_a_reader_of_the_banner_that_has_gone(make_host):
    """The starter itself may not: it has something left to say at its end."""
    host = make_host(store=LONG)
    host.run("/bin/dash", "-c", "mkfifo /run/pipe; exec 3<>/run/pipe 4>/run/pipe 3<&-; "
             f"{product.PROGRAM} -start >&4 4>&-; exit 0")
    host.log_says(texts.MONITORING)
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()]


def group_and_session(line):
    return line.rpartition(")")[2].split()[2:4]


def test_the_daemon_keeps_group_session_folder_and_mask_of_its_starter(make_host):
    host = make_host(store=LONG)
    line = start_from(host, "/srv/here", "027")
    pid = host.daemon_pid()
    assert host.get(product.RUN_LOCK) == str(pid)
    assert group_and_session(host.get(f"/proc/{pid}/stat")) == group_and_session(line)
    assert host.shell(f"readlink /proc/{pid}/cwd") == "/srv/here\n"
    assert "\nUmask:\t0027\n" in host.get(f"/proc/{pid}/status")
    host.log_says(texts.MONITORING)
    assert [one[:3] for one in host.ask("tree", "/evidence")] == [["thsentinel", "folder", 0o750]]
    logs = [one[1:3] for one in host.ask("tree", product.HOME + "/logs")]
    assert logs == [["folder", 0o750], ["file", 0o640]]


def signals(host, pid, field):
    """The signals that /proc names in that field, a set a thread."""
    masks = re.findall(rf"^{field}:\t(\w+)$", host.shell(f"cat /proc/{pid}/task/*/status"), re.MULTILINE)
    return [{number for number in range(1, REAL_TIME) if int(mask, 16) >> (number - 1) & 1} for mask in masks]


def test_starter_and_daemon_block_four_signals_in_all_threads_and_catch_three(make_host, plain_build):
    host = make_host(store=LONG)
    starter = host.spawn(product.PROGRAM, "-start")
    host.log_says(texts.MONITORING)
    pid = host.daemon_pid()
    for process, threads in ((starter, 1), (pid, 2)):
        assert signals(host, process, "SigBlk") == [BLOCKED] * threads
        assert [one & CAUGHT for one in signals(host, process, "SigIgn")] == [set()] * threads
        assert signals(host, process, "SigCgt") == [CAUGHT] * threads
    assert host.wait(starter).status == 0


def test_the_daemon_listens_to_nobody(make_host):
    """Its one socket leads to the system log."""
    host = make_host(store=LONG)
    pid = host.start()
    host.log_says(texts.MONITORING)
    sockets = re.findall(r"socket:\[(\d+)\]", host.shell(f"ls -l /proc/{pid}/fd"))
    local = {line.split()[6] for line in host.get("/proc/net/unix").splitlines()[1:]}
    assert len(sockets) == 1
    assert set(sockets) <= local


def signal_thread(host, pid, thread, number):
    host.run("/usr/bin/python3", "-I", "-c",
             f"import ctypes; ctypes.CDLL(None).tgkill({pid}, {thread}, {int(number)})")


def worker_of(host, pid):
    return next(int(one) for one in host.shell(f"ls /proc/{pid}/task").split() if int(one) != pid)


@pytest.mark.usefixtures("no_thread_sanitizer")
@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_stop_that_meets_the_worker_is_the_same_stop(make_host, number):
    host = make_host(store=LONG)
    host.adopt_orphans()
    pid = host.start()
    host.log_says(texts.MONITORING)
    signal_thread(host, pid, worker_of(host, pid), number)
    assert host.status_of(pid) == 255
    assert host.log() == host.log_of_start() + texts.STOPPING
    assert host.system_log()[-1] == texts.DOWN


@pytest.mark.usefixtures("no_thread_sanitizer")
def test_a_hangup_that_meets_the_worker_begins_the_next_pass_at_once(make_host):
    host = make_host(store=LONG)
    pid = host.start()
    host.log_says(texts.MONITORING)
    worker = worker_of(host, pid)

    def passes():
        signal_thread(host, pid, worker, signal.SIGHUP)
        return host.log().count(texts.MONITORING)

    host.until(lambda: passes() > 1, "a second pass, which comes only when the sleep is cut short")
    expected = [*host.log_of_start(), *texts.load(host.store), texts.MONITORING]
    assert host.log()[:len(expected)] == expected
    assert texts.STOPPED not in host.log()
    assert [one["pid"] for one in host.daemons()] == [pid]


# Notes who sleeps how long: the process, whether it is its main thread, the seconds. A test may hold the
# sleepers, or keep them awake.
SLEEPS = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <unistd.h>

unsigned int sleep(unsigned int seconds)
{
    unsigned int (*real)(unsigned int) = dlsym(RTLD_NEXT, "sleep");
    FILE* file = fopen("/run/sleeps", "a");
    if (file) {
        fprintf(file, "%d %d %u\\n", getpid(), gettid() == getpid(), seconds);
        fclose(file);
    }
    while (access("/run/held", F_OK) == 0 && access("/run/holding", F_OK) != 0) {
        file = fopen("/run/holding", "w");
        if (file)
            fclose(file);
    }
    while (access("/run/held", F_OK) == 0)
        usleep(3000);
    return access("/run/awake", F_OK) == 0 ? 0 : real(seconds);
}
"""


def sleeps_of(host, pid, is_main=True):
    lines = [[int(word) for word in line.split()] for line in host.get("/run/sleeps").splitlines()]
    return [seconds for process, main, seconds in lines if (process, main) == (pid, int(is_main))]


def test_a_start_sleeps_two_seconds_the_worker_once_a_pass_and_the_main_thread_a_second_at_a_time(
        make_host, interpose):
    host = make_host(store=LONG)
    starter = host.spawn(product.PROGRAM, "-start", environment=interpose(host, SLEEPS))
    assert host.wait(starter).status == 0
    pid = host.daemon_pid()
    host.until(lambda: len(sleeps_of(host, pid)) > 2, "the main thread has woken up")
    assert sleeps_of(host, starter) == [2]
    assert sleeps_of(host, pid, is_main=False) == [600]
    assert set(sleeps_of(host, pid)) == {1}


def test_a_failed_start_sleeps_a_second_after_each_of_its_three_checks(make_host, interpose):
    host = make_host(store=LONG)
    refusing.in_child(host, "until [ -e /run/go ]; do sleep 0.05; done\n")
    host.put("/run/awake")
    starter = host.spawn(product.PROGRAM, "-start", environment=interpose(host, SLEEPS + refusing.SOURCE))
    host.until(lambda: host.process_of(starter)["state"] == "Z", "the starter has given up")
    assert sleeps_of(host, starter) == [2, 1, 1, 1]
    host.remove("/run/awake")
    host.put("/run/go")
    assert host.wait(starter).status == 8


# The wait of a starter, which a hang-up alone ends in the time of a test.
LONG_WAIT = """
#define _GNU_SOURCE
#include <dlfcn.h>

unsigned int sleep(unsigned int seconds)
{
    unsigned int (*real)(unsigned int) = dlsym(RTLD_NEXT, "sleep");
    return real(seconds == 2 ? 600 : seconds);
}
"""


def test_a_hangup_ends_the_wait_of_a_starter(make_host, interpose):
    host = make_host(store=LONG)
    starter = host.spawn(product.PROGRAM, "-start", environment=interpose(host, LONG_WAIT))
    host.log_says(texts.MONITORING)
    assert host.process_of(starter)["state"] == "S"

    def ended():
        host.kill(starter, signal.SIGHUP)
        return host.process_of(starter)["state"] == "Z"

    host.until(ended, "the starter has looked for its daemon")
    assert host.wait(starter) == (
        0, texts.begun("start") * 2 + texts.IS_RUNNING + texts.done("start"), "")
    assert host.log() == host.log_of_start()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_stopped_daemon_sleeps_a_second_after_its_last_line_and_ends(make_host, interpose, number):
    host = make_host(store=LONG)
    host.adopt_orphans()
    pid = host.start(environment=interpose(host, SLEEPS))
    host.log_says(texts.MONITORING)
    host.put("/run/held")
    host.until(lambda: host.exists("/run/holding"), "the main thread is held in its sleep")
    before = len(sleeps_of(host, pid))
    host.kill(pid, number)
    host.comes_to(lambda: sleeps_of(host, pid)[before:], [1])
    assert host.log()[-1] == texts.STOPPED
    host.remove("/run/held")
    assert host.status_of(pid) == 255
    assert len(sleeps_of(host, pid)) == before + 1


# Notes the calls by which the daemon leaves its terminal and by which it reaches the system log.
CALLS = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

static void Note(const char* call, const char* of)
{
    char line[64];
    int length = snprintf(line, sizeof line, "%s %s\\n", call, of);
    int file = open("/run/calls", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (write(file, line, length) != length)
        _exit(127);
    close(file);
}

int fclose(FILE* stream)
{
    int (*real)(FILE*) = dlsym(RTLD_NEXT, "fclose");
    if (stream == stdin || stream == stdout || stream == stderr)
        Note("close", stream == stdin ? "stdin" : stream == stdout ? "stdout" : "stderr");
    return real(stream);
}

int setlogmask(int mask)
{
    int (*real)(int) = dlsym(RTLD_NEXT, "setlogmask");
    Note("setlogmask", mask == 0x7f ? "up to info" : "other");
    return real(mask);
}

void openlog(const char* identity, int options, int facility)
{
    void (*real)(const char*, int, int) = dlsym(RTLD_NEXT, "openlog");
    Note("openlog", identity);
    real(identity, options, facility);
}

void closelog(void)
{
    void (*real)(void) = dlsym(RTLD_NEXT, "closelog");
    Note("closelog", "");
    real();
}
"""


def test_the_streams_are_closed_in_order_before_the_system_log_is_set_up_which_is_closed_last(make_host, interpose):
    """The daemon ends by its settings, as a stop leaves the system log open."""
    host = make_host()
    host.start(environment=interpose(host, CALLS))
    host.configure(THHS_POLL_INTERVAL=0)
    host.until_gone()
    assert host.get("/run/calls").splitlines() == [
        "close stdin", "close stdout", "close stderr", "setlogmask up to info", "openlog thsentinel", "closelog "]
    assert host.system_log()[-1] == texts.EXIT
