"""The unit for systemd, under a real systemd that is process 1 of a host of its own."""
import re
import signal
import subprocess
import time

import pytest

from host import Process, manager, missing_tools, product


def test_a_started_service_is_the_daemon_of_the_run_lock_file(managed):
    service = managed()
    assert service.start().status == 0
    assert service.state() == ("active", "success", "0")
    assert service.main_pid() == service.host.daemon_pid() > 0
    service.host.after_pass(1)


def test_the_service_has_the_language_of_bytes_and_no_width_of_lines(managed):
    service = managed()
    assert service.systemctl("set-environment", "COLUMNS=40", "LINES=5", "LC_ALL=de_DE.UTF-8").status == 0
    assert service.start().status == 0
    shown = service.run("/usr/bin/cat", f"/proc/{service.main_pid()}/environ").output
    variables = dict(one.partition("=")[::2] for one in shown.split("\0"))
    assert variables["LC_ALL"] == "C" and variables.keys().isdisjoint(["COLUMNS", "LINES"])


def test_a_stop_restores_what_a_termination_restores_and_counts_as_a_good_end(managed):
    service = managed(THHS_POLL_INTERVAL="600")
    service.start()
    assert service.systemctl("stop", "thsentinel").status == 0
    assert service.state() == ("inactive", "success", "0")
    assert service.host.daemons() == []
    assert "Resetting the original log levels for the processes." in service.host.log()


def test_an_operators_termination_is_no_failure_and_nothing_is_restarted(managed):
    service = managed()
    service.start()
    service.kill_daemon(signal.SIGTERM)  # what -terminate sends
    service.reaches("inactive", "success", "0")


@pytest.mark.parametrize("number", [signal.SIGABRT, signal.SIGKILL, signal.SIGSEGV])
def test_a_crashed_daemon_is_brought_back(managed, number):
    service = managed()
    service.start()
    before = service.main_pid()
    service.kill_daemon(number)
    service.reaches("active", "success", "1")
    assert service.main_pid() == service.host.daemon_pid() != before
    assert len(service.host.daemons()) == 1


def test_settings_that_turn_bad_end_the_service_for_good(managed):
    service = managed()
    service.start()
    service.host.configure(THHS_POLL_INTERVAL="0")
    service.reaches("failed", "exit-code", "0")
    assert service.show("ExecMainStatus") == {"ExecMainStatus": "8"}
    assert service.host.daemons() == []


def test_settings_that_are_bad_at_the_start_are_not_tried_again(managed):
    service = managed(THHS_POLL_INTERVAL="0")
    assert service.start().status != 0
    assert service.state() == ("failed", "exit-code", "0")
    assert service.host.daemons() == []


def test_a_daemon_that_keeps_crashing_is_given_up_after_five_starts(managed):
    service = managed()
    service.start()
    for restarts in range(1, 5):
        service.kill_daemon(signal.SIGABRT)
        service.reaches("active", "success", str(restarts))
    service.kill_daemon(signal.SIGABRT)
    # The result is that of the crash or that of the limit, by the release of the manager.
    service.host.until(lambda: service.state()[::2] == ("failed", "5"), "the service is given up")
    assert service.state()[1] in ("signal", "core-dump", "start-limit-hit")
    assert service.show("SubState") == {"SubState": "failed"}
    assert service.host.daemons() == []


def test_a_later_restart_waits_longer_and_a_stop_ends_the_wait(managed):
    service = managed()
    service.host.put("/etc/systemd/system/thsentinel.service.d/wait.conf",
                     f"[Service]\nExecStartPre=\nExecStartPre=-/usr/lib/thsentinel/daemon-control back-off 60\n")
    assert service.systemctl("daemon-reload").status == 0
    assert service.start().status == 0
    service.kill_daemon(signal.SIGABRT)
    service.reaches("active", "success", "1")
    service.kill_daemon(signal.SIGABRT)
    service.host.until(lambda: waits(service.host, 60), "the second restart waits")
    assert service.systemctl("stop", "thsentinel").status == 0
    assert not waits(service.host, 60)
    assert service.host.daemons() == []


def waits(host, seconds):
    return [one for one in host.processes() if one["arguments"] == ["sleep", str(seconds)]] != []


def test_a_restart_leaves_another_daemon_running(managed):
    service = managed()
    service.start()
    before = service.main_pid()
    assert service.systemctl("restart", "thsentinel").status == 0
    assert service.state() == ("active", "success", "0")
    assert service.main_pid() == service.host.daemon_pid() != before
    assert len(service.host.daemons()) == 1


def test_a_stop_that_is_slow_to_restore_levels_is_waited_for(managed):
    slow = "#!/bin/dash\nsleep 3\nprintf 'DebugLevel = 1\\nDiagnosticLevel = 1\\n'\n"
    service = managed(description={"processes": [Process(4321, "/opt/exampled", rss=90 * 1024)]},
                      THHS_INCREASE_LOG_LEVEL="1", THHS_CAPTURE_WITHOUT_THRESHOLD="1",
                      THHS_MONITOR_MEMORY="exampled:1")
    service.host.put("/usr/tarnv/tarnhaven/bin/txlogcfg", slow, 0o755)
    service.start()
    service.host.after_pass(1)
    begun = time.monotonic()
    assert service.systemctl("stop", "thsentinel").status == 0
    assert time.monotonic() - begun > 3
    assert service.state() == ("inactive", "success", "0")
    assert service.host.daemons() == []


def test_logs_and_evidence_of_the_service_are_for_root_alone(managed):
    service = managed(description={"processes": [Process(4321, "/opt/exampled", rss=90 * 1024)]},
                      THHS_CAPTURE_WITHOUT_THRESHOLD="1", THHS_MONITOR_MEMORY="exampled:1")
    service.start()
    service.host.after_pass(2)
    tree = [*service.host.ask("tree", "/evidence/thsentinel"), *service.host.ask("tree", product.LOGS)]
    assert len(tree) > 5
    assert [one for one in tree if one[2] & 0o077] == []


def test_the_unit_lets_evidence_lie_anywhere_but_among_the_systems_own_files(managed):
    service = managed()
    service.start()
    for folder in ("/home/someone/evidence", "/tmp/evidence", "/var/tmp/evidence", "/srv/evidence", "/opt/evidence",
                   "/usr/local/evidence", "/usr/tarnv/evidence", "/new/evidence"):
        service.host.folder(folder)
        service.host.configure(THHS_EVIDENCE_PATH=folder)
        service.host.log_says(f"THHS_EVIDENCE_PATH is set to {folder}/thsentinel. Check the folder for collected logs.")
    assert service.state() == ("active", "success", "0")


@pytest.mark.parametrize("unit", ["thsentinel.service", "ctl/thsentinel-prune.service.in", "ctl/thsentinel-prune.timer"])
def test_the_manager_understands_every_line_of_a_unit(unit, tmp_path):
    if missing_tools(["systemd-analyze"]):
        pytest.skip("not installed: systemd-analyze")
    def complaints(path):
        said = subprocess.run(["systemd-analyze", "verify", "--man=no", path], capture_output=True, text=True,
                              check=False).stderr
        # What they run lies where packages put it.
        return [line for line in said.splitlines() if "thsentinel" in line
                and not re.search("(daemon-control|thsentinelctl) is not executable", line)]

    path = tmp_path / unit.removeprefix("ctl/").removesuffix(".in")
    text = (product.CHECKOUT / "packaging" / unit).read_text()
    path.write_text(text.replace("@THSENTINELCTL@", "/usr/bin/thsentinelctl"))
    assert complaints(path) == []
    spoilt = tmp_path / "spoilt" / path.name
    spoilt.parent.mkdir()
    spoilt.write_text(path.read_text() + "NoSuchWord=1\n")
    assert any("NoSuchWord" in line for line in complaints(spoilt))


def test_the_unit_leaves_little_exposed():
    if missing_tools(["systemd-analyze"]):
        pytest.skip("not installed: systemd-analyze")
    version = subprocess.run(["systemd-analyze", "--version"], capture_output=True, text=True, check=True).stdout
    if int(version.split()[1]) < 250:
        pytest.skip("systemd-analyze is so old that it looks only at units that are installed")
    verdict = subprocess.run(["systemd-analyze", "security", "--offline=yes", "--threshold=40", manager.UNIT],
                             capture_output=True, text=True, check=False)
    assert verdict.returncode == 0, verdict.stdout[-200:]


def sleepers(host):
    return [one for one in host.processes() if one["arguments"] == ["/usr/bin/sleep", "1000"]]


def test_captures_under_way_outlive_a_stop(managed):
    service = managed(THHS_POLL_INTERVAL="600")
    service.start()
    # Stands for a capture: a process of the service that is not the daemon.
    group = service.show("ControlGroup")["ControlGroup"]
    service.host.spawn(*service.beside_manager, "/bin/dash", "-c",
                       f"echo $$ >/sys/fs/cgroup{group}/cgroup.procs && exec /usr/bin/sleep 1000")
    service.host.until(lambda: len(sleepers(service.host)) == 1, "the capture runs")
    assert service.systemctl("stop", "thsentinel").status == 0
    assert service.host.daemons() == []
    assert [one["state"] for one in sleepers(service.host)] == ["S"]
