"""How the daemon comes, lives through reloads and signals, and goes."""
import signal

import pytest

from host import Process, product, texts

LONG = {"THHS_POLL_INTERVAL": 600}
FAILED_STOP = texts.STOPPING * 2  # once by the worker, once by the main thread that sees it gone


def begin(host, option="-start"):
    """Starts the daemon, waits for its first pass to begin, and gives its process id."""
    before = host.log().count(texts.MONITORING)
    pid = host.start(option)
    host.log_says(texts.MONITORING, times=before + 1)
    return pid


SYSTEM_LOG_OF_START = [texts.ENTRY, texts.UP]


def test_a_start_loads_twice_and_begins_its_first_pass_at_once(make_host):
    host = make_host(store=LONG)
    begin(host)
    assert host.log() == host.log_of_start()
    assert host.system_log() == SYSTEM_LOG_OF_START


def test_a_terminated_daemon_logs_its_stop_once_and_ends_with_255(make_host):
    host = make_host(store=LONG)
    host.adopt_orphans()
    pid = begin(host)
    host.terminate()
    assert host.status_of(pid) == 255
    assert host.log() == host.log_of_start() + texts.STOPPING
    assert host.system_log() == [*SYSTEM_LOG_OF_START, texts.DOWN]


# A log configuration tool that hangs in the restore until it is released.
HANGING_RESTORE = """#!/bin/sh
case $* in
    *' -l') printf 'DebugLevel = 1\\nDiagnosticLevel = 1\\n' ;;
    *DebugLevel=6*) echo set ;;
    *) : >/run/restoring; until [ -e /run/go ]; do sleep 0.05; done ;;
esac
"""


def hanging_host(make_host):
    """A host whose daemon raises log levels in its first pass, and hangs where a stop restores them."""
    host = make_host(store={**LONG, "THHS_MONITOR_CPU": "exampled:80", "THHS_INCREASE_LOG_LEVEL": 1,
                            "THHS_CAPTURE_WITHOUT_THRESHOLD": 1},
                     processes=[Process(999999, "/opt/exampled", cpu=90)])
    host.put(f"{product.BASE}/tarnhaven/bin/txlogcfg", HANGING_RESTORE, 0o755)
    host.adopt_orphans()
    return host


def stop_until_it_hangs(host, pid):
    host.until(lambda: any("DebugLevel=6" in line for line in host.shell_lines()), "the levels are raised")
    host.kill(pid, signal.SIGTERM)
    host.until(lambda: host.exists("/run/restoring"), "the restore hangs")


def test_a_second_stop_signal_during_a_stop_begins_no_further_pass(make_host):
    host = hanging_host(make_host)
    pid = begin(host)
    stop_until_it_hangs(host, pid)
    log = host.log()
    for _ in range(3):
        host.kill(pid, signal.SIGTERM)  # the main thread is busy, so the worker gets it
    host.put("/run/go")
    assert host.status_of(pid) == 255
    assert host.log() == [*log, texts.STOPPING[-1]]


HELD_GSTACK = """#!/bin/sh
: >/run/capturing
until [ -e /run/capture-goes-on ]; do sleep 0.05; done
echo stacks
"""


def test_a_stop_closes_no_thread_of_a_capture(make_host):
    """A capture does what it has still to do while the stop is past the closing of threads."""
    host = hanging_host(make_host)
    host.put("/usr/bin/gstack", HELD_GSTACK, 0o755)
    pid = begin(host)
    host.until(lambda: host.exists("/run/capturing"), "a capture waits for its tool")
    stop_until_it_hangs(host, pid)
    assert host.log()[-2:] == texts.STOPPING[:-1]
    host.put("/run/capture-goes-on")
    expected = (texts.section("/usr/bin/cat /proc/999999/smaps", "")
                + texts.section("/usr/bin/cat /proc/999999/status", "")
                + texts.section("/usr/bin/gstack 999999", "stacks\n")
                + texts.section("/usr/bin/pmap 999999", "pmap says: 999999\n"))
    path = "exampled/999999/Evidence1/999999_<time>_CPU.ProcessData"
    host.comes_to(lambda: host.evidence().get(path), expected)
    host.put("/run/go")
    assert host.status_of(pid) == 255
    assert host.log()[-3:] == texts.STOPPING


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_both_stop_signals_stop_the_daemon_in_order(make_host, number):
    host = make_host(store=LONG)
    host.adopt_orphans()
    pid = begin(host)
    host.kill(pid, number)
    assert host.status_of(pid) == 255
    assert host.log() == host.log_of_start() + texts.STOPPING


def test_a_hangup_is_survived_silently(make_host):
    host = make_host(store=LONG)
    pid = begin(host)
    host.kill(pid, signal.SIGHUP)
    host.kill(pid, signal.SIGHUP)
    assert host.run("-uninstall").status == 0  # it still answers to its stop
    host.until_gone()
    assert host.log() == host.log_of_start() + texts.STOPPING


@pytest.mark.parametrize("number", [signal.SIGCHLD, signal.SIGTSTP, signal.SIGTTIN, signal.SIGTTOU])
def test_a_blocked_signal_does_not_reach_the_daemon(host, number):
    pid = begin(host)
    host.kill(pid, number)
    host.after_pass(host.passes() + 1)
    assert host.process_of(pid)["state"] != "T"


def test_a_stop_signal_to_the_starting_process_leaves_the_daemon_alone(make_host):
    host = make_host(store=LONG)
    first = host.spawn(product.PROGRAM, "-start")
    host.log_says(texts.MONITORING)
    host.kill(first, signal.SIGTERM)
    result = host.wait(first)
    assert result.status == 255
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()]
    assert host.log() == host.log_of_start()  # no stop was logged


def test_a_killed_daemon_leaves_its_id_and_a_later_start_works(make_host):
    host = make_host(store=LONG)
    first = begin(host)
    host.kill(first)
    host.until_gone()
    expected = texts.begun("stop") + texts.NO_DAEMON + texts.failed("stop")
    assert host.run("-terminate") == (9, expected, "")
    assert host.daemon_pid() == first
    second = begin(host)
    assert second != first
    assert [one["pid"] for one in host.daemons()] == [second]
    host.terminate()
    assert host.log() == host.log_of_start() * 2 + texts.STOPPING


def test_a_terminated_daemon_can_be_started_again(host):
    first = begin(host)
    host.terminate()
    second = begin(host)
    assert second != first
    host.after_pass(1)
    assert host.system_log().count(SYSTEM_LOG_OF_START[1]) == 2


def test_a_start_beside_a_daemon_leaves_it_and_its_id_alone(make_host):
    host = make_host(store=LONG)
    pid = begin(host)
    assert host.run("-start").status == 0
    assert host.daemon_pid() == pid
    assert host.log() == host.log_of_start() + texts.load(host.store)  # the foreground of the second start


def test_the_lock_files_are_private_and_stay(host):
    begin(host)
    host.terminate()
    found = {f"{product.BASE}/tmp/{one[0]}": one[1:3] for one in host.ask("tree", product.BASE + "/tmp")}
    assert found == {product.CHILD_LOCK: ["file", 0o600], product.RUN_LOCK: ["file", 0o600]}
    assert host.get(product.CHILD_LOCK) == ""


def test_the_daemon_can_read_and_write_none_of_its_standard_streams(make_host):
    """What fills their places, if anything, is open for neither."""
    host = make_host(store=LONG)
    pid = begin(host)
    lines = [line.split() for line in host.shell(f"ls -l /proc/{pid}/fd").splitlines() if " -> " in line]
    usable = {int(words[-3]): words[-1] for words in lines if "r" in words[0] or "w" in words[0]}
    assert not usable.keys() & {0, 1, 2}
    kept = [target for target in usable.values() if not target.startswith("socket:")]  # to the system log
    assert sorted(kept) == sorted([product.CHILD_LOCK, product.RUN_LOCK])


def test_every_pass_reads_the_store_again(make_host):
    host = make_host()
    begin(host)
    host.after_pass(3)
    load = texts.load(host.store)
    expected = host.log_of_start() + (load + [texts.MONITORING]) * 3
    assert host.log()[:len(expected) - 1] == expected[:-1]


def test_a_new_interval_applies_after_the_sleep_in_progress(make_host):
    host = make_host(store={"THHS_POLL_INTERVAL": 8})
    begin(host)
    host.configure(THHS_POLL_INTERVAL=1)
    host.after_pass(3)
    begun = host.times_of(texts.MONITORING)
    gaps = [later - earlier for earlier, later in zip(begun, begun[1:])]
    assert gaps[0] % 86400 >= 8 - 2  # a second for each stamp
    assert gaps[1] % 86400 < 8 - 2
    announced = [entry for entry in host.log() if entry.startswith("Processes will be monitored")]
    assert [entry.split()[6] for entry in announced[:4]] == ["8", "8", "1", "1"]


def test_a_setting_changed_under_the_daemon_applies_at_the_next_pass(make_host):
    host = make_host()
    begin(host)
    host.after_pass(1)
    host.configure(THHS_MONITOR_CPU="tbrd : 75, thwmc:90", THHS_MONITOR_DEADLOCK="tbrd")
    host.log_says("Process tbrd requested monitoring for Deadlock conditions.")
    log = host.log()
    place = log.index("Process tbrd requested monitoring of CPU threshold of 75 ABSOLUTE.")
    assert log[place - 1:place + 3] == [
        texts.READING, "Process tbrd requested monitoring of CPU threshold of 75 ABSOLUTE.",
        "Process java requested monitoring of CPU threshold of 90 ABSOLUTE.",
        "Process tbrd requested monitoring for Deadlock conditions."]


RELOADS_THAT_FAIL = {
    "an interval of 0": (
        {"THHS_POLL_INTERVAL": 0},
        [texts.READING, "Invalid value for THHS_POLL_INTERVAL : 0. Value should be greater than 0."],
        texts.INVALID_STOPS),
    "a limit above 100 percent": (
        {"THHS_MONITOR_CPU": "a:10,b:101"},
        [texts.READING, "Process a requested monitoring of CPU threshold of 10 ABSOLUTE.",
         "Invalid Value for CPU threshold. Process b requested threshold of 101 percent. Use a value less "
         "than 100."],
        texts.INVALID_STOPS),
    "no evidence path": (
        {"THHS_EVIDENCE_PATH": None},
        [texts.READING, texts.JDK_NOT_SET,
         "THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the file "
         "system, that has sufficient space to store logs."],
        texts.INVALID_STOPS),
    "a list with a character that is not allowed": (
        {"THHS_MONITOR_MEMORY": "a;b:10"},
        [texts.READING, "There are non alpha numeric characters in the input ';'. Returning Error.",
         "There are invalid characters in the input for THHS_MONITOR_MEMORY."],
        texts.BAD_CHARACTERS_STOP),
    "an evidence path that climbs": (
        {"THHS_EVIDENCE_PATH": "/evidence/../etc"},
        [texts.READING, texts.JDK_NOT_SET,
         "There are unauthorized characters detected in the input. Returning Error.",
         "There are invalid characters in the input for THHS_EVIDENCE_PATH."],
        texts.BAD_CHARACTERS_STOP),
}


@pytest.mark.parametrize("changes, complaint, reason", RELOADS_THAT_FAIL.values(),
                         ids=RELOADS_THAT_FAIL.keys())
@pytest.mark.parametrize("option, status", [("-start", 8), (None, 10)])
def test_a_reload_that_fails_ends_the_daemon_with_every_line(make_host, option, status, changes, complaint,
                                                             reason):
    host = make_host(store={"THHS_POLL_INTERVAL": 8})
    host.adopt_orphans()
    before = host.log_of_start()
    pid = begin(host, option)
    assert host.log() == before
    host.configure(changes)
    assert host.status_of(pid) == status
    stop = [f"Error:{reason}", texts.STOPPED, *FAILED_STOP]
    assert host.log() == before + complaint + stop
    assert host.system_log() == [*SYSTEM_LOG_OF_START, ("error", reason), texts.DOWN, texts.DOWN,
                                 texts.EXIT]


def test_a_daemon_ended_by_its_store_starts_again_once_the_store_is_mended(make_host):
    host = make_host()
    begin(host)
    host.configure(THHS_POLL_INTERVAL=0)
    host.until_gone()
    host.configure(THHS_POLL_INTERVAL=1)
    begin(host)
    host.after_pass(2)
