"""The isolated hosts themselves: what a test may rely on, and what the machine may."""
import os
import pathlib
import subprocess

import pytest

from host import product

SCRIPT = product.CHECKOUT / "script/host"
pytestmark = pytest.mark.usefixtures("hosts_possible")


def on_a_host(*command, **options):
    return subprocess.run([SCRIPT, *command], capture_output=True, text=True, check=False, timeout=120,
                          **options)


def shell_on_a_host(line, *options):
    return on_a_host(*options, "--", "sh", "-c", line)


def machine_processes(marker):
    """The command lines on this machine that hold the marker."""
    found = []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            arguments = (folder / "cmdline").read_bytes().split(b"\0")
        except OSError:
            continue
        if marker.encode() in arguments:
            found.append(arguments)
    return found


def test_the_status_and_the_streams_of_the_command_pass_through():
    result = on_a_host("--", "sh", "-c", "cat; echo out; echo err >&2; exit 7", input="given\n")
    assert (result.returncode, result.stdout, result.stderr) == (7, "given\nout\n", "err\n")


def test_a_command_that_a_signal_ends_gives_its_number_above_128():
    assert shell_on_a_host("kill -TERM $$").returncode == 143


def test_a_missing_command_gives_127_and_a_wrong_option_125():
    assert on_a_host("--", "/no/such").returncode == 127
    assert on_a_host("--wrong").returncode == 125
    assert on_a_host("--share", "/no/such", "--", "true").returncode == 125


def test_the_command_is_not_a_child_of_process_1():
    assert shell_on_a_host("echo $PPID").stdout != "1\n"


def test_an_orphan_becomes_a_child_of_process_1_and_is_reaped():
    line = """mkfifo /tmp/leave
        sh -c '{ read -r _ </tmp/leave; } & echo $! >/tmp/pid'
        read -r pid </tmp/pid
        grep PPid /proc/$pid/status
        echo now >/tmp/leave
        while [ -e /proc/$pid ]; do sleep 0.05; done
        echo reaped"""
    assert shell_on_a_host(line).stdout == "PPid:\t1\nreaped\n"


def test_what_the_command_leaves_behind_dies_with_it():
    marker = f"{os.getpid()}.123"
    assert shell_on_a_host(f"setsid sleep {marker} & nohup sleep {marker} & exit 0").returncode == 0
    assert machine_processes(marker) == []


@pytest.mark.parametrize("number", ["TERM", "INT", "HUP", "KILL"])
def test_a_signal_to_the_script_ends_the_whole_host(number):
    # The tests themselves may run where these are ignored, as below nohup, and a shell can't undo that.
    started = subprocess.Popen(["env", "--default-signal", SCRIPT, "--", "sh", "-c", "echo on; sleep 1000"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    assert started.stdout.read(3) == b"on\n"
    subprocess.run(["kill", f"-{number}", str(started.pid)], check=True)
    started.wait(20)
    assert started.stdout.read() == b""  # no process holds the other end any more
    started.stdout.close()
    assert started.returncode != 0


def test_the_fixed_paths_are_clean():
    result = shell_on_a_host("ls -A /usr/tarnv; ls /run; "
                             "ls /etc/redhat-release /etc/oracle-release /etc/SuSE-release /dev/log")
    assert result.stdout == "thsentinel-isolated-host\n"
    assert result.stderr.count("No such file or directory") == 4


def test_nothing_that_is_written_reaches_the_machine(tmp_path):
    paths = ["/usr/bin/of-a-test", "/etc/of-a-test", "/usr/tarnv/of-a-test", "/var/log/of-a-test",
             "/tmp/of-a-test", "/of-a-test", "/run/of-a-test"]
    line = "".join(f"echo new >{path} && cat {path};" for path in paths)
    assert shell_on_a_host(line + "rm /usr/bin/free && ls /usr/bin/free").stdout == "new\n" * len(paths)
    assert [path for path in paths if os.path.exists(path)] == []
    assert os.path.exists("/usr/bin/free")


def test_only_shared_folders_and_the_checkout_are_the_machines_own(tmp_path):
    assert shell_on_a_host(f"echo shared >{tmp_path}/file", "--share", str(tmp_path)).returncode == 0
    assert (tmp_path / "file").read_text() == "shared\n"
    assert shell_on_a_host(f"ls {tmp_path}/file").returncode != 0
    assert shell_on_a_host(f"cat {product.CHECKOUT}/script/host").stdout == SCRIPT.read_text()


def test_the_proc_folder_shows_the_hosts_own_processes_alone():
    assert int(shell_on_a_host("ls -d /proc/[0-9]* | wc -l").stdout) < 10


def test_the_devices_work():
    line = """echo x >/dev/null && head -c 4 /dev/zero | wc -c && head -c 4 /dev/urandom | wc -c
        echo x 2>/dev/null >/dev/full || echo full
        /usr/bin/python3 -c 'import os; os.openpty(); open("/dev/shm/file", "w")' && echo ok"""
    assert shell_on_a_host(line).stdout == "4\n4\nfull\nok\n"


def test_setup_runs_before_the_command_and_its_failure_ends_the_host(tmp_path):
    setup = tmp_path / "setup"
    setup.write_text("echo made >/usr/tarnv/file\n")
    assert shell_on_a_host("cat /usr/tarnv/file", "--setup", str(setup)).stdout == "made\n"
    setup.write_text("exit 3\n")
    result = shell_on_a_host("echo on", "--setup", str(setup))
    assert (result.returncode, result.stdout) == (125, "")
    assert result.stderr.endswith("failed with status 3\n")


def test_the_command_starts_in_the_given_folder():
    assert on_a_host("--cwd", "/usr", "--", "pwd").stdout == "/usr\n"
    assert on_a_host("--", "pwd", cwd=product.CHECKOUT / "tests").stdout == f"{product.CHECKOUT}/tests\n"


def test_a_host_can_be_made_on_a_host():
    result = shell_on_a_host(f"touch /usr/tarnv/outer; {SCRIPT} -- ls -A /usr/tarnv; ls /usr/tarnv")
    assert (result.returncode, result.stdout) == (0, "outer\n")


def test_an_ordinary_user_gets_a_host_too():
    if os.getuid() != 0:
        pytest.skip("runs as an ordinary user already")
    line = "id -u; echo new >/usr/bin/of-a-test; cat /usr/bin/of-a-test; ls -A /usr/tarnv"
    result = subprocess.run(["su", "nobody", "-s", "/bin/sh", "-c", f"cd /; {SCRIPT} -- sh -c '{line}'"],
                            capture_output=True, text=True, check=False, timeout=120)
    if result.returncode == 77:
        pytest.skip(result.stderr.strip())
    assert (result.returncode, result.stdout) == (0, "0\nnew\n")


def test_where_no_host_can_be_made_the_reason_is_given(tmp_path):
    """A machine without the means is played by an unshare that refuses."""
    (tmp_path / "unshare").write_text(
        "#!/bin/sh\necho 'unshare: unshare failed: Operation not permitted' >&2\nexit 1\n")
    (tmp_path / "unshare").chmod(0o755)
    environment = dict(os.environ, PATH=f"{tmp_path}:{os.environ['PATH']}")
    reason = ("script/host: an isolated host can't be made here: "
              "unshare: unshare failed: Operation not permitted\n")
    probe = on_a_host("--probe", env=environment)
    assert (probe.returncode, probe.stdout, probe.stderr) == (77, "", reason)
    refused = on_a_host("--", "echo", "on", env=environment)
    assert (refused.returncode, refused.stdout) == (77, "")
    assert refused.stderr.endswith(reason)


def test_the_probe_says_nothing_where_hosts_can_be_made():
    probe = on_a_host("--probe")
    assert (probe.returncode, probe.stdout, probe.stderr) == (0, "", "")
