"""What the captures bring home from under the unit, with the real tools: its confinement must not cost any."""
import re

import pytest

from host import java, missing_tools, texts

NAME = "exampled"
BUSY = "standalone/busyloop"
THREADS = 3
EVERYTHING = {"THHS_VERBOSE": 1, "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_DUMP_COUNT": 1,
              "THHS_JDK_HOME": java.JDK}
REAL = {"real_tools": True, "cpus": None}


@pytest.fixture(name="needs_tools", autouse=True)
def _needs_tools():
    missing = missing_tools(["gcore", "gdb", "iostat", "mpstat", "netstat"])
    if missing:
        pytest.skip(f"not installed: {', '.join(missing)}")


def evidence(host, name, suffix):
    """The path of the one evidence file of a process that ends so, once it has something in it."""
    path = f"/evidence/thsentinel/{name}/*/Evidence1/*_Memory.{suffix}"
    host.until(lambda: host.run("/bin/dash", "-c", f"test -s {path}").status == 0, f"evidence {suffix}")
    return host.shell(f"ls {path}").strip()


def sections(host, path):
    """Command to output of an evidence file."""
    parts = host.get(path).split(texts.RULE)
    return {command.strip().removeprefix("Command: "): output
            for command, output in zip(parts[1::2], parts[2::2])}


# The confinement gives the daemon a view of the mounts that differs from that of the process.
def test_a_core_from_under_the_unit_holds_memory_and_threads(managed):
    service = managed(description=REAL, THHS_MONITOR_MEMORY=f"{NAME}:0", **EVERYTHING)
    host = service.host
    host.shell(f"cp {host.product.build / BUSY} /opt/{NAME}")
    host.shell("rm -f /usr/bin/gstack")  # of the same set: it may trace the process when gcore wants to
    service.spawn(f"/opt/{NAME}", str(THREADS), "600")
    assert service.start().status == 0
    host.until(lambda: any("Dump has generated" in entry for entry in host.log()), "a core is there")
    core = evidence(host, NAME, "[0-9]*")
    seen = host.shell(f"gdb -nx -batch -ex 'info threads' -ex \"x/s &'(anonymous namespace)::gMarker'\""
                      f" /opt/{NAME} {core} 2>/dev/null")
    assert len(re.findall(r"^\*?\s+\d+\s+Thread .*\(LWP \d+\)", seen, re.MULTILINE)) == THREADS + 1
    assert re.search(r'gMarker.*:\s*"Marker of the busy process"', seen)


def test_no_unfiltered_section_of_the_statistics_from_under_the_unit_is_empty(managed):
    service = managed(description=REAL, THHS_MONITOR_MEMORY=f"{NAME}:0", **EVERYTHING)
    host = service.host
    host.shell(f"cp {host.product.build / BUSY} /opt/{NAME}")
    service.spawn(f"/opt/{NAME}", str(THREADS), "600")
    assert service.start().status == 0
    for topic in ("Memory Performance", "Network Performance", "Disk Performance", "Process specific"):
        host.log_says(f"{topic} data collected successfully.")
    for suffix in ("MemoryPerf", "Netstat", "DiskPerf_iostat", "DiskPerf_mpstat", "ProcessData"):
        shown = sections(host, evidence(host, NAME, suffix))
        # A filter may leave nothing: the process has no socket, and whether its digits occur elsewhere in a line of
        # netstat is luck. Debian has no gstack.
        empty = [command for command, output in shown.items()
                 if not output.strip() and "grep" not in command and "gstack" not in command]
        assert shown and empty == [], suffix


def test_java_dumps_from_under_the_unit_are_whole_and_their_owners(managed, tmp_path):
    service = managed(description=REAL, THHS_MONITOR_MEMORY="adminconsole:0", **EVERYTHING)
    host = service.host
    java.put_programs(host, java.compile_programs(tmp_path))
    service.spawn(*java.program(host, "adminconsole"))
    assert service.start().status == 0
    host.log_says("ThreadJavaProcessDump executed successfully.")
    assert '"planted thread of the console" #' in host.get(evidence(host, "adminconsole", "ThreadDump"))
    assert host.get(evidence(host, "adminconsole", "hprof")).startswith("JAVA PROFILE 1.0.2\0")
    owner = int(host.shell(f"id -u {java.USER}"))
    modes = {path.rpartition(".")[2]: (mode, user) for path, _, mode, user, _ in host.ask("tree", "/evidence")}
    assert modes["hprof"] == (0o600, owner)
    # The shell of su writes this one, and su may set the umask of the owner's sessions: his own group then reads it too.
    assert modes["ThreadDump"] in [(0o600, owner), (0o660, owner)]
