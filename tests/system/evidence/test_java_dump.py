"""Heap and thread dumps of Java processes, taken by a real JDK from real processes of a user of their own."""
import pytest

from host import java, product
from host.java import JDK, USER, WEB_TEMP, as_user

PLANTED = '"planted thread of the console"'
TEMP = "/usr/tarnv/tmp"
STORE = {"THHS_MONITOR_MEMORY": "adminconsole:0", "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_DUMP_COUNT": 1,
         "THHS_JDK_HOME": JDK, "THHS_VERBOSE": 1}
SUCCESS = "ThreadJavaProcessDump executed successfully."
FAILED = "ThreadJavaProcessDump failed to execute : "
STATISTICS = ["MemoryPerf", "Netstat", "DiskPerf_iostat", "DiskPerf_mpstat", "ProcessData"]

# Walks over the records of a heap dump: says its header, how its last record is tagged, and whether that ends
# the file.
WALK = r"""
import struct, sys
with open(sys.argv[1], "rb") as file:
    data = file.read()
place = data.index(b"\0") + 1 + 4 + 8
while place < len(data):
    tag, _, length = struct.unpack_from(">BII", data, place)
    place += 9 + length
print(data[:data.index(b"\0")].decode(), hex(tag), place == len(data))
"""

# Each thread dump waits for the other, so that both write before either is moved.
SIMULTANEOUS = f"""
[ "$2" = Thread.print ] && {{
    {JDK}/bin/jcmd "$@" || exit
    >/run/printed/$1
    until [ $(ls /run/printed | wc -l) = 2 ]; do sleep 0.1; done
    exit
}}"""


@pytest.fixture(name="classes", scope="session")
def _classes(tmp_path_factory):
    """The compiled Java programs: name to bytes as text."""
    return java.compile_programs(tmp_path_factory.mktemp("classes"))


@pytest.fixture(name="make_java_host")
def _make_java_host(make_host, classes):
    """Makes hosts with the real tools, the Java programs and a user for them."""

    def make(**store):
        host = make_host(real_tools=True, cpus=None, store={**STORE, **store})
        java.put_programs(host, classes)
        return host

    return make


def a_java_process(host, name="adminconsole", user=USER):
    """Starts one of the two Java programs as a user, waits until it answers, and gives its process id."""
    pid = host.spawn(*java.program(host, name, user))
    ready = [*as_user(host, user, f"{JDK}/bin/jcmd"), str(pid), "Thread.print"]
    host.until(lambda: PLANTED in host.run(*ready).output, f"the Java process {pid} runs")
    return pid


def stem(name, pid):
    return f"{name}/{pid}/Evidence1/{pid}_<time>_Memory."


def whole_set(name, pid, *dumps):
    return sorted([name, f"{name}/{pid}", f"{name}/{pid}/Evidence1", f"{name}/{pid}/evidence.lock",
                   *(stem(name, pid) + suffix for suffix in [*STATISTICS, *dumps])])


def real_path(host, name, pid, suffix):
    return host.shell(f"ls /evidence/thsentinel/{name}/{pid}/Evidence1/{pid}_*_Memory.{suffix}").strip()


def failures(host):
    """The lines that the log calls failed, in order."""
    return [entry.removeprefix(FAILED) for entry in host.log() if entry.startswith(FAILED)]


def replace_jcmd(host, before):
    """Puts a JDK into the store whose jcmd does something first; $1 is the process id, $2 the request."""
    host.put("/opt/jdk/bin/jcmd", f'#!/bin/sh\n{before}\nexec {JDK}/bin/jcmd "$@"\n', 0o755)
    host.configure(THHS_JDK_HOME="/opt/jdk")


def assert_heap_dump_is_whole(host, path):
    assert host.run("/usr/bin/python3", "-c", WALK, path).output == "JAVA PROFILE 1.0.2 0x2c True\n"


@pytest.mark.parametrize("user, temp", [(USER, WEB_TEMP), ("root", TEMP)])
def test_a_breach_leaves_both_dumps_among_exactly_these_files(make_java_host, user, temp):
    host = make_java_host()
    pid = a_java_process(host, user=user)
    host.start()
    host.log_says(SUCCESS)
    host.comes_to(host.evidence_paths, whole_set("adminconsole", pid, "hprof", "ThreadDump"))
    heap = real_path(host, "adminconsole", pid, "hprof")
    threads = real_path(host, "adminconsole", pid, "ThreadDump")
    assert_heap_dump_is_whole(host, heap)
    assert f"{PLANTED} #" in host.get(threads)
    owners = {one[0].rpartition(".")[2]: one[3] for one in host.ask("tree", "/evidence")}
    number = int(host.shell(f"id -u {user}"))
    assert (owners["hprof"], owners["ThreadDump"], owners["MemoryPerf"]) == (number, number, 0)
    assert [line for line in host.shell_lines() if line.startswith(("su ", "mv "))] == [
        f'su {user} -c "{JDK}/bin/jcmd {pid} GC.heap_dump {temp}/{pid}dump.hprof"',
        f'mv -f {temp}/{pid}dump.hprof "{heap}"',
        f'su {user} -c "{JDK}/bin/jcmd {pid} Thread.print > {temp}/Thread_dump.log"',
        f'mv -f {temp}/Thread_dump.log "{threads}"']
    assert failures(host) == []
    assert not [one for one in host.ask("tree", temp) if "dump" in one[0]], "both were moved"
    assert host.process_of(pid), "it goes on"


def test_a_daemon_that_is_not_root_takes_the_dumps_itself(make_java_host):
    host = make_java_host()
    pid = a_java_process(host)
    host.shell(f"chown -R {USER} /usr/tarnv/tmp /usr/tarnv/tarnhaven/logs /evidence")
    assert host.run(*as_user(host, USER, product.PROGRAM, "-start")).status == 0
    host.log_says(SUCCESS)
    assert_heap_dump_is_whole(host, real_path(host, "adminconsole", pid, "hprof"))
    assert PLANTED in host.get(real_path(host, "adminconsole", pid, "ThreadDump"))
    assert not [line for line in host.shell_lines() if line.startswith("su ")]
    assert len([line for line in host.shell_lines() if " -eo pid,user " in line]) == 1, "not for the folder"
    assert f"{JDK}/bin/jcmd {pid} GC.heap_dump {TEMP}/{pid}dump.hprof" in host.shell_lines()
    assert f"{JDK}/bin/jcmd {pid} Thread.print > {TEMP}/Thread_dump.log" in host.shell_lines()


@pytest.mark.parametrize("home", [None, "/no/such"])
def test_without_a_jdk_only_the_statistics_come(make_java_host, home):
    host = make_java_host(THHS_JDK_HOME=home)
    host.remove("/usr/bin/jcmd")  # where a line without a home would look
    pid = a_java_process(host)
    host.start()
    host.until(lambda: len(failures(host)) == 2, "both dumps failed")
    assert failures(host) == [
        f'su {USER} -c "{home or ""}/bin/jcmd {pid} GC.heap_dump {WEB_TEMP}/{pid}dump.hprof"',
        f'su {USER} -c "{home or ""}/bin/jcmd {pid} Thread.print > {WEB_TEMP}/Thread_dump.log"']
    host.comes_to(host.evidence_paths, whole_set("adminconsole", pid))
    host.after_pass(6)
    assert SUCCESS not in host.log()


def test_a_heap_dump_that_fails_does_not_hold_up_a_good_thread_dump(make_java_host):
    host = make_java_host()
    replace_jcmd(host, '[ "$2" = GC.heap_dump ] && exit 1')
    pid = a_java_process(host)
    host.start()
    host.log_says(SUCCESS)
    assert failures(host) == [
        f'su {USER} -c "/opt/jdk/bin/jcmd {pid} GC.heap_dump {WEB_TEMP}/{pid}dump.hprof"']
    assert PLANTED in host.get(real_path(host, "adminconsole", pid, "ThreadDump"))
    host.comes_to(host.evidence_paths, whole_set("adminconsole", pid, "ThreadDump"))


def test_a_dump_that_cant_be_moved_stays_in_the_temporary_folder(make_java_host):
    host = make_java_host()
    # The destination goes while the dump is taken; what comes after makes it anew.
    replace_jcmd(host, '[ "$2" = GC.heap_dump ] && rm -rf /evidence/thsentinel/adminconsole/*')
    pid = a_java_process(host, user="root")
    host.start()
    host.log_says(SUCCESS)
    heap = f"{TEMP}/{pid}dump.hprof"
    assert len(failures(host)) == 1 and failures(host)[0].startswith(f'mv -f {heap} "/evidence/thsentinel/')
    assert_heap_dump_is_whole(host, heap)
    assert PLANTED in host.get(real_path(host, "adminconsole", pid, "ThreadDump"))


def test_a_line_longer_than_its_buffer_is_cut_and_fails(make_java_host):
    home = "/opt" + "/long" * 100
    host = make_java_host(THHS_JDK_HOME=home)
    pid = a_java_process(host)
    host.start()
    host.until(lambda: len(failures(host)) == 2, "both dumps failed")
    assert failures(host) == [f'su {USER} -c "{home}/bin/jcmd {pid} {rest}'[:511]
                              for rest in ("GC.heap_dump ", "Thread.print >")]
    assert {len(line) for line in failures(host)} == {511}
    assert SUCCESS not in host.log()


def test_two_java_processes_of_one_user_share_the_temporary_thread_dump(make_java_host):
    host = make_java_host(THHS_MONITOR_MEMORY="adminconsole:0,thwmc:0")
    host.folder("/run/printed", 0o777)
    replace_jcmd(host, SIMULTANEOUS)
    pids = {name: a_java_process(host, name) for name in java.CLASSES}
    host.start()
    host.log_says(SUCCESS, times=2)
    for name, pid in pids.items():
        assert_heap_dump_is_whole(host, real_path(host, name, pid, "hprof"))
    host.until(lambda: failures(host), "one of the moves came too late")
    assert len(failures(host)) == 1 and failures(host)[0].startswith(f'mv -f {WEB_TEMP}/Thread_dump.log "')
    assert len([path for path in host.evidence_paths() if path.endswith(".ThreadDump")]) == 1
