"""The unit for systemd, under a real systemd that is process 1 of a host of its own."""
import os
import pathlib
import signal
import uuid

import pytest

from host import product

UNIT = product.CHECKOUT / "packaging" / "thsentinel.service"
MANAGER = "/lib/systemd/systemd"
# Of the unit only the waiting before a restart is shortened, and the host needs none of a machine's other units.
SHORTENED = """\
[Unit]
DefaultDependencies=no
[Service]
RestartSec=200ms
"""
# Where the host sees the control groups of the machine. The manager gets one of them as the root of its own, and
# that one is removed with all below it when the test ends.
GROUPS = "/tmp/groups"
OWN_GROUP = (f"mkdir {GROUPS} && mount -t cgroup2 cgroup2 {GROUPS} && "
             f"own={GROUPS}$(sed -n s/^0:://p /proc/self/cgroup)/thsentinel-test-{{name}} && mkdir $own && echo $own")
# The manager becomes process 1 of one more process namespace.
BECOME_MANAGER = (f"mount -t cgroup2 cgroup2 /sys/fs/cgroup && exec env container=test {MANAGER} --system "
                  "--unit=idle.target --show-status=no --log-target=null --default-standard-output=null "
                  "--default-standard-error=null")
START_MANAGER = ("echo $$ >{group}/cgroup.procs && exec unshare --pid --fork --mount --cgroup --mount-proc --kill-child "
                 f"/bin/dash -c '{BECOME_MANAGER}'")


def why_no_manager():
    if os.geteuid() != 0:
        return "a service manager of its own needs the superuser"
    if not pathlib.Path(MANAGER).exists():
        return f"there is no {MANAGER} (package systemd)"
    if not pathlib.Path("/sys/fs/cgroup").is_dir():
        return "there are no control groups"
    return None


class Managed:
    """A host with a running service manager that knows the unit."""

    def __init__(self, host):
        self.host = host
        host.put("/etc/systemd/system/thsentinel.service", UNIT.read_text())
        host.put("/etc/systemd/system/thsentinel.service.d/test.conf", SHORTENED)
        host.put("/etc/systemd/system/idle.target", "[Unit]\nDescription=Nothing\n")
        made = host.run("/bin/dash", "-c", OWN_GROUP.format(name=uuid.uuid4().hex))
        if made.status != 0:
            pytest.skip(f"no control groups for a service manager: {made.errors.strip()}")
        self.group = made.output.strip()
        self.starter = host.spawn("/bin/dash", "-c", START_MANAGER.format(group=self.group))
        host.until(self.answers, "the service manager answers")

    def close(self):
        """Ends all that is in the control groups and removes them from the machine."""
        self.host.kill(self.starter)
        self.host.shell(f"for list in $(find {self.group} -name cgroup.procs); do kill -9 $(cat $list); done; true")
        self.host.until(lambda: "populated 0" in self.host.get(f"{self.group}/cgroup.events"), "no process is left")
        self.host.shell(f"find {self.group} -depth -type d -exec rmdir {{}} +")

    def answers(self):
        running = self.host.process_of(self.starter)
        assert running and running["state"] != "Z", self.host.wait(self.starter)
        managers = [one for one in self.host.processes() if one["arguments"][:1] == [MANAGER]]
        if not managers:
            return False
        # It answers only to who is in its own namespace.
        self.beside_manager = ["/usr/bin/nsenter", f"--target={managers[0]['pid']}", "--pid", "--mount"]
        return self.systemctl("show", "--property=Version").status == 0

    def systemctl(self, *words):
        return self.host.run(*self.beside_manager, "/usr/bin/systemctl", *words)

    def start(self):
        return self.systemctl("start", "thsentinel")

    def state(self):
        """(active state, result, restarts) of the service."""
        names = ("ActiveState", "Result", "NRestarts")
        shown = self.show(*names)
        return tuple(shown[name] for name in names)

    def show(self, *names):
        output = self.systemctl("show", "thsentinel", *[f"--property={name}" for name in names]).output
        return dict(line.split("=", 1) for line in output.splitlines())

    def main_pid(self):
        return int(self.show("MainPID")["MainPID"])

    def reaches(self, *state):
        self.host.until(lambda: self.state() == state, f"the service is {state}, not {self.state()}")

    def kill_daemon(self, number):
        (daemon,) = self.host.daemons()
        self.host.kill(daemon["pid"], number)


@pytest.fixture
def managed(make_host, plain_build):
    reason = why_no_manager()
    if reason:
        pytest.skip(reason)
    services = []

    def make(**store):
        services.append(Managed(make_host(store=store)))
        return services[-1]

    yield make
    for one in services:
        one.close()


def test_a_started_service_is_the_daemon_of_the_run_lock_file(managed):
    service = managed()
    assert service.start().status == 0
    assert service.state() == ("active", "success", "0")
    assert service.main_pid() == service.host.daemon_pid() > 0
    service.host.after_pass(1)


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


def test_settings_that_are_bad_at_the_start_end_after_a_few_attempts(managed):
    service = managed(THHS_POLL_INTERVAL="0")
    assert service.start().status != 0
    service.host.until(lambda: service.state()[:2] == ("failed", "exit-code") and service.state()[2] == "5",
                       "the attempts end")
    assert service.show("SubState") == {"SubState": "failed"}
    # The foreground says why, and nothing else was started.
    assert service.host.daemons() == []


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
