"""A real systemd as process 1 of a namespace of its own on a host, which knows the unit of the daemon."""
import os
import pathlib
import uuid

import pytest

from . import product

UNIT = product.CHECKOUT / "packaging" / "thsentinel.service"
CONTROL = product.CHECKOUT / "packaging" / "lib" / "daemon-control"
MANAGER = "/lib/systemd/systemd"
# Of the unit only the waits before a restart are shortened, and the host needs none of a machine's other units.
SHORTENED = """\
[Unit]
DefaultDependencies=no
[Service]
RestartSec=200ms
ExecStartPre=
ExecStartPre=-/usr/lib/thsentinel/daemon-control back-off 0
"""
# The units by which a machine sets its kernel up and makes and cleans folders: they would reach beyond the host.
MASKED = ["systemd-sysctl.service", "systemd-tmpfiles-setup.service", "systemd-tmpfiles-setup-dev.service",
          "systemd-tmpfiles-clean.service", "systemd-tmpfiles-clean.timer"]
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

    def __init__(self, host, packaged=False):
        """packaged: the unit and what it runs are there already, or come later."""
        self.host = host
        if not packaged:
            host.put("/etc/systemd/system/thsentinel.service", UNIT.read_text())
            host.put("/usr/lib/thsentinel/daemon-control", CONTROL.read_text(), 0o755)
        host.put("/etc/systemd/system/thsentinel.service.d/test.conf", SHORTENED)
        for unit in MASKED:
            host.shell(f"ln -sf /dev/null /etc/systemd/system/{unit}")
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

    def run(self, *arguments):
        """Runs a program to its end where the manager sees it."""
        return self.host.run(*self.beside_manager, *arguments)

    def systemctl(self, *words):
        return self.run("/usr/bin/systemctl", *words)

    def spawn(self, *arguments):
        """Starts a program where the daemon sees it."""
        return self.host.spawn(*self.beside_manager, *arguments)

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
        self.host.comes_to(self.state, state)

    def kill_daemon(self, number):
        (daemon,) = self.host.daemons()
        self.host.kill(daemon["pid"], number)
