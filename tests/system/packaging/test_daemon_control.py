"""The helper of the unit, the init script and the packages, on a host with the daemon."""
import signal

import pytest

from host import product

CONTROL = "/usr/lib/thsentinel/daemon-control"


@pytest.fixture(name="control")
def _control(host):
    host.put(CONTROL, (product.CHECKOUT / "packaging/lib/daemon-control").read_text(), 0o755)
    return lambda *words: host.run(CONTROL, *words)


def test_the_holder_is_the_daemon_as_long_as_it_runs(host, control):
    assert control("holder") == (3, "", "")
    pid = host.start()
    assert control("holder") == (0, f"{pid}\n", "")
    host.kill(pid)
    host.until_gone()
    assert control("holder") == (3, "", "")


def test_a_process_that_only_has_the_lock_file_open_is_no_holder(host, control):
    host.shell(f": >>{product.CHILD_LOCK}")
    host.spawn("/bin/dash", "-c", f"exec 3<{product.CHILD_LOCK}; sleep 600")
    assert control("holder").status == 3


def test_asking_for_the_holder_hinders_no_start(host, control):
    asking = host.spawn("/bin/dash", "-c", f"until {CONTROL} holder; do :; done >/dev/null")
    host.start()
    assert host.wait(asking).status == 0


def test_an_end_waits_until_the_daemon_is_gone(host, control):
    host.start()
    assert control("end", "30") == (0, "", "")
    assert host.daemons() == []


def test_an_end_without_a_daemon_has_nothing_to_do(control):
    assert control("end", "0") == (0, "", "")


def test_an_end_that_takes_too_long_says_who_and_what_to_do(host, control):
    pid = host.start()
    host.kill(pid, signal.SIGSTOP)
    said = control("end", "1")
    assert said == (1, "", (
        f"thsentinel: the daemon, process {pid}, has not ended within 1 s of being asked to.\n"
        f"thsentinel: Look at what it waits for; 'kill -KILL {pid}' ends it, but log levels that it raised stay "
        "raised.\n"))
    host.kill(pid, signal.SIGCONT)
    host.until_gone()


def test_a_damaged_file_of_the_process_id_harms_nobody_at_an_end(host, control):
    host.start()
    bystander = host.spawn("/usr/bin/sleep", "600")
    host.put(product.RUN_LOCK, "no number")
    assert control("end", "30").status == 0
    assert host.process_of(bystander)["state"] == "S"


def test_a_start_that_fails_says_why(host, control):
    host.configure(THHS_POLL_INTERVAL="0")
    said = control("start")
    assert (said.status, said.output) == (4, "")
    assert "Invalid value for THHS_POLL_INTERVAL : 0. Value should be greater than 0." in said.errors
    assert said.errors.endswith(
        f"thsentinel: the daemon was not started: {product.PROGRAM} -start ended with status 8.\n")


def test_a_refresh_leaves_a_daemon_with_the_present_library_alone(host, control):
    pid = host.start()
    assert control("refresh", "30").status == 0
    assert host.daemon_pid() == pid


@pytest.mark.parametrize("restarts, seconds", [
    ("0", 0), ("1", 0), ("2", 10), ("3", 30), ("4", 70), ("5", 70), ("4000", 70), ("", None), ("[not set]", None)])
def test_the_wait_before_a_restart_grows_with_the_restarts_in_a_row(host, control, restarts, seconds):
    host.put("/usr/local/bin/systemctl", f"#!/bin/sh\n[ \"$*\" = 'show --property=NRestarts --value "
                                         f"thsentinel.service' ] && echo '{restarts}'\n", 0o755)
    host.put("/usr/local/bin/sleep", "#!/bin/sh\necho slept $1\n", 0o755)
    said = host.shell(f"PATH=/usr/local/bin:$PATH {CONTROL} back-off 10")
    assert said == ("" if seconds is None else f"slept {seconds}\n")


@pytest.mark.parametrize("words", [(), ("end",), ("end", "soon"), ("holder", "1"), ("back-off",), ("nonsense",)])
def test_a_wrong_usage_is_refused_with_the_right_one(control, words):
    said = control(*words)
    assert (said.status, said.output) == (2, "")
    assert said.errors.startswith("usage: daemon-control holder ")
