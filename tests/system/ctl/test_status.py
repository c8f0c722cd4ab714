"""`status` and `wait`: what they know of a service, and that they never touch it."""
import os
import re

import pytest

from host import companion, product, texts

LOCKS = [product.RUN_LOCK, product.CHILD_LOCK]


def status(host, **options):
    return companion.run_on(host, "status", "--json", **options)


def test_a_host_without_the_service_is_left_as_it_was(host):
    before = host.shell("find /usr/tarnv /evidence -printf '%p %T@ %m\\n'")
    done = status(host)
    assert (done.status, done.document["running"], done.document["pid"]) == (3, False, None)
    assert done.document["counters"] == [] and done.document["lastPass"] is None
    assert companion.run_on(host, "wait", "--running", "0").status == 2
    assert host.shell("find /usr/tarnv /evidence -printf '%p %T@ %m\\n'") == before


def test_an_answer_that_cant_be_written_is_no_answer(host):
    said = host.shell(f"{companion.program()} status 2>&1 >/dev/full; echo $?").splitlines()
    assert said == ["thsentinelctl: standard output can't be written", "4"]


def test_counters_show_readings_windows_and_sets(watching):
    daemon, sleeper = watching(THHS_MONITOR_MEMORY="sleep:1000")
    host = daemon.host
    done = status(host)
    assert done.status == 0
    document = done.document
    assert document["schema"] == "thsentinelctl.status/1"
    assert (document["running"], document["pid"], document["staleId"]) == (True, host.daemon_pid(), None)
    stamp = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d"
    assert all(re.fullmatch(stamp, document[key]) for key in ("time", "since", "lastPass", "nextPass"))
    assert document["unmatched"] == ["absent"]
    assert (document["stuck"], document["settingsValid"], document["levelsRaised"]) == (False, True, [])
    cpu, memory = document["counters"]
    assert {**cpu, "reading": 0} == {
        "process": "sleep", "pid": sleeper, "resource": "cpu", "reading": 0, "limit": 80, "unit": "Percent",
        "window": 1, "setsTaken": 0, "setsAllowed": 3}
    assert {**memory, "reading": 0} == {
        "process": "sleep", "pid": sleeper, "resource": "memory", "reading": 0, "limit": 1000, "unit": "MB",
        "window": 1, "setsTaken": 0, "setsAllowed": 3}
    assert 0 < memory["reading"] < 100
    for window in (2, 3, 4, 5, 6, 1):
        daemon.next_pass()
        assert [one["window"] for one in status(host).document["counters"]] == [window, window]


def test_sets_count_for_the_counter_that_breached(watching):
    daemon, _ = watching(THHS_CAPTURE_WITHOUT_THRESHOLD=1, THHS_DUMP_COUNT=2)
    for taken in (1, 2, 2):
        [counter] = status(daemon.host).document["counters"]
        assert (counter["setsTaken"], counter["setsAllowed"]) == (taken, 2)
        daemon.next_pass()


def test_settings_that_changed_are_said_to_be_unread_until_the_next_pass(watching):
    daemon, _ = watching()
    host = daemon.host
    assert status(host).document["settingsChanged"] is False

    def change():
        host.configure(THHS_DUMP_COUNT=5)
        return status(host).document["settingsChanged"]

    host.until(change, "the change is seen")
    assert "changed on disk and not read yet" in companion.run_on(host, "status").output
    daemon.next_pass()
    host.until(lambda: not status(host).document["settingsChanged"] or daemon.next_pass() is None, "it is read")


def test_an_end_without_a_stop_is_told_from_a_stop(host):
    pid = host.start()
    assert status(host).status == 0
    host.kill(pid)
    host.until_gone()
    killed = status(host)
    assert (killed.status, killed.document["running"], killed.document["staleId"]) == (1, False, pid)
    assert f"process id {pid} in the run lock file is stale" in companion.run_on(host, "status").output
    host.start()
    host.terminate()
    stopped = status(host)
    assert (stopped.status, stopped.document["running"]) == (3, False)


def test_a_stop_of_long_ago_is_told_from_an_end_without_one(host):
    """The daemon never removes the id, and nothing is written while it doesn't run."""
    head, started = "2026-01-02 02:07:28:045 - ", texts.STARTED
    log = "/usr/tarnv/tarnhaven/logs/thsentinel/root.010226_00001.log"
    host.put(product.RUN_LOCK, "4194300\n")
    host.put(product.CHILD_LOCK)
    unknown = companion.run_on(host, "status")
    assert unknown.status == 4
    assert "is left from a service that doesn't run; it is not known how it ended\n" in unknown.output
    assert f"\nlog        can't be read: {product.LOGS}: No such file or directory\n" in unknown.output
    host.put(log, f"{head}{started}\n")
    dead = companion.run_on(host, "status")
    assert dead.status == 1 and "is left from a service that ended without a stop\n" in dead.output
    host.put(log, f"{head}{started}\n{head}{texts.STOPPED}\n")
    stopped = companion.run_on(host, "status")
    assert stopped.status == 3 and "is stale: the last service left it there, which is normal\n" in stopped.output
    assert "\n  it was stopped at 2026-01-02 02:07:28\n" in stopped.output


def test_levels_left_raised_by_an_end_without_a_stop_are_named(host):
    head = "2026-01-02 02:07:28:045 - "
    host.put(product.RUN_LOCK, "4194300\n")
    host.put(product.CHILD_LOCK)
    host.put("/usr/tarnv/tarnhaven/logs/thsentinel/root.010226_00001.log", "".join(f"{head}{text}\n" for text in (
        texts.STARTED, "Tarnhaven Health Sentinel Service is monitoring the resources.",
        "mDiagnosticLevel and  DebugLevel for the process 119 set to 6.",
        "mDiagnosticLevel and  DebugLevel for the process 128 set to 6.")))
    said = companion.run_on(host, "status").output
    assert "  it ended without a stop, after its pass of 2026-01-02 02:07:28\n" in said
    assert "\nlevels     left raised for 119 128 by a service that ended without a stop; see operations.md\n" in said
    assert status(host).document["levelsLeftRaised"] == ["119", "128"]


def test_why_a_service_ended_by_itself_is_said(host):
    host.start()
    host.configure(THHS_MONITOR_CPU="tbrd")
    host.until_gone()
    said = companion.run_on(host, "status").output
    assert re.search(r"\n  it ended by itself at \d{4}-\d\d-\d\d \d\d:\d\d:\d\d: Tarnhaven configuration has invalid "
                     r"values\. Check thsentinel log for details\. Stopping Tarnhaven Health Sentinel "
                     r"Service/Daemon\.\n", said)
    assert "\nsettings   those on disk keep it from starting; see thsentinelctl check\n" in said
    document = status(host).document
    assert document["endFailure"].startswith("Tarnhaven configuration has invalid values.")
    assert document["ended"] and document["levelsLeftRaised"] == []


def test_watching_says_when_it_looked(host):
    done = host.run("/bin/dash", "-c", f"timeout 60 {companion.program()} status --watch --interval 0.1 | head -1")
    assert re.fullmatch(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d, every 0\.1 s\n", done.output)


def test_a_store_that_may_not_be_read_is_neither_valid_nor_invalid(host):
    host.start()
    host.shell(f"chmod 600 {product.STORE}")

    def look(*arguments):
        return host.run("/bin/dash", "-c", f"exec setpriv --reuid=65534 --clear-groups {companion.program()} {' '.join(arguments)}")

    assert status(host).document["settingsValid"] is True
    assert companion.Outcome(*look("status", "--json")).document["settingsValid"] is None
    unread = companion.Outcome(*look("status", "--json")).document
    assert (unread["counters"], unread["unmatched"]) == (None, None)
    said = look("status").output
    assert "; those on disk can't be read\n" in said and "stop the service" not in said
    assert "thsentinel_settings_valid" not in look("metrics").output
    assert "thsentinel_settings_valid 1\n" in companion.run_on(host, "metrics").output


def test_asking_never_stands_in_the_way_of_a_start(host):
    asker = host.spawn("/bin/dash", "-c", f"while :; do {companion.program()} status >/dev/null; "
                                          f"{companion.program()} wait --stopped 0; done")
    for _ in range(2):
        host.start()
        assert companion.run_on(host, "wait", "--running", "20").status == 0
        host.terminate()
        assert companion.run_on(host, "wait", "--stopped", "20").status == 0
    host.kill(asker)


def test_an_ordinary_user_learns_whether_it_runs(host):
    pid = host.start()
    done = companion.run_on(host, "status", "--json")
    assert done.document["pid"] == pid
    line = f"exec setpriv --reuid=65534 --clear-groups {companion.program()} status --json"
    result = host.run("/bin/dash", "-c", line)
    seen = companion.Outcome(*result)
    assert (seen.status, seen.document["running"]) == (0, True)


@pytest.mark.parametrize("content", ["", "not a number", "99999999999999999999", "-1", "\x1b[2J", "7" * 100000])
def test_a_run_lock_that_holds_anything_is_met_safely(host, content):
    host.put(product.RUN_LOCK, content)
    host.put(product.CHILD_LOCK)
    done = status(host)
    assert done.document["running"] is False
    assert done.status in (1, 3) and "\x1b" not in companion.run_on(host, "status").output


def test_lock_files_that_are_no_files_are_met_safely(host):
    for path in LOCKS:
        host.shell(f"mkfifo {path}")
    assert status(host, limit=20).status in (3, 4)
    host.shell(f"rm {product.CHILD_LOCK} && ln -s /dev/zero {product.CHILD_LOCK}")
    assert status(host, limit=20).status in (3, 4)


def test_what_the_program_calls_takes_no_lock_and_sends_no_signal(host, plain_build):
    if not os.path.exists("/usr/bin/strace"):
        pytest.skip("strace is missing")
    host.start()
    for verb in (["status"], ["check"], ["metrics"], ["wait", "--running", "1"]):
        host.shell(f"strace -f -o /run/trace -e trace=fcntl,flock,kill,tkill,tgkill,mkdir,mkdirat,openat "
                   f"{companion.program()} {' '.join(verb)} >/dev/null; :")
        trace = host.get("/run/trace")
        assert "openat" in trace
        assert not re.search(r"F_SETLK|F_SETLKW|F_OFD_SETLK|flock\(|kill\(|mkdir|O_CREAT|O_RDWR|O_WRONLY", trace), trace
    assert texts.STARTED in host.log()
