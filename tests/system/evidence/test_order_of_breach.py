"""The order of what breaches set off: the worker's own lines whole, and those of each capture by itself."""
import re

import pytest

from host import Process, product, texts

EXAMPLED = Process(100, "/opt/exampled -d", cpu=90, rss=92160)
CONSOLE = Process(200, "/opt/jre/bin/java tarn.thx.AdminConsole", cpu=95, rss=5120)
BOTH = {"THHS_MONITOR_CPU": "exampled:80,adminconsole:70",
        "THHS_MONITOR_MEMORY": "exampled:60,adminconsole:50"}
EVERYTHING = {"THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_INCREASE_LOG_LEVEL": 1, "THHS_JDK_HOME": "/opt/jdk",
              "THHS_VERBOSE": 1}
JCMD = """#!/bin/dash
[ "$2" = Thread.print ] && echo threads || echo heap >"$3"
"""
TOOL = f"{product.HOME}/bin/txlogcfg"
TEMP = f"{product.BASE}/tmp"
ROOT = "/evidence/thsentinel"
# Folder and label of the evidence of each breach, in the order of the breaches.
STEMS = {(100, "CPU"): f"{ROOT}/exampled/100/Evidence1/100_<time>_CPU",
         (200, "CPU"): f"{ROOT}/adminconsole/200/Evidence1/200_<time>_CPU",
         (100, "Memory"): f"{ROOT}/exampled/100/Evidence1/100_<time>_Memory"}


def fifth_pass(live, *processes, **store):
    """The host, and the shell lines and the log of the pass of the breaches, after its load."""
    daemon = live(store={**EVERYTHING, **store}, processes=processes)
    daemon.host.put("/opt/jdk/bin/jcmd", JCMD, 0o755)
    for _ in range(3):
        assert daemon.step()
    before = len(daemon.host.shell_lines())
    said = daemon.next_pass()
    return daemon.host, daemon.host.shell_lines()[before:], said[said.index(texts.READ) + 2:]


# ----------------------------------------------------------------------------------------------------------
# The lines for a shell
# ----------------------------------------------------------------------------------------------------------

def destination(line):
    """The file or the tool that shows which capture sent a line; None for one of the worker."""
    command, redirected, path = line.partition(" >> ")
    if redirected:
        return path
    words = command.split()
    return words[2] if words[0] == "/usr/bin/gcore" else words[0] if words[0] in ("su", "mv") else None


def raising(target):
    listed = f"{TOOL} -p TH -o {target} -l | grep"
    return [f'{listed} "Debug"', f'{listed} "Diag"',
            f"{TOOL} -a -p TH -o {target} -s DebugLevel=6 -s DiagnosticLevel=6"]


def capture_commands(stem, pid):
    """File to the commands that are run into it, in order."""
    netstat, filtered = "/usr/bin/netstat", f" | /usr/bin/grep {pid}"
    return {
        f"{stem}.MemoryPerf": ["/usr/bin/top -b -n 1",
                               "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
                               "/usr/bin/free ", "/usr/bin/vmstat ", "/usr/bin/cat /proc/meminfo"],
        f"{stem}.Netstat": [f"{netstat} -p --tcp | grep CLOSE_WAIT", f"{netstat} -na | grep CLOSE_WAIT",
                            *(f"{netstat} {options}" for options in ("-e", "-s", "-nalp")),
                            *(f"{netstat} {options}{filtered}" for options in (
                                "-op", "-nop", "-anop", "-tanoxp"))],
        f"{stem}.DiskPerf_iostat": ["/usr/bin/iostat -xt 1 1"],
        f"{stem}.DiskPerf_mpstat": ["/usr/bin/mpstat 1 1"],
        f"{stem}.ProcessData": [f"/usr/bin/cat /proc/{pid}/smaps", f"/usr/bin/cat /proc/{pid}/status",
                                f"/usr/bin/gstack {pid}", f"/usr/bin/pmap {pid}"]}


def test_a_pass_with_breaches_sends_the_lines_of_its_own_thread_in_this_order(live):
    _, lines, _ = fifth_pass(live, EXAMPLED, CONSOLE, **BOTH)
    names = "exampled|java"
    owner = '/usr/bin/ps -eo pid,user | /usr/bin/grep "^[[:space:]]*\\<200\\>"'
    assert [line for line in lines if destination(line) is None] == [
        *[texts.listing_line(names)] * 2,
        texts.probe_line("%cpu", names, 100), *raising("exampled"),
        texts.probe_line("%cpu", names, 200), owner, owner, *raising("adminconsole"),
        texts.probe_line("rss", names, 100), texts.probe_line("rss", names, 200)]


def test_each_capture_sends_its_lines_in_order_whatever_the_others_do(live):
    _, lines, _ = fifth_pass(live, EXAMPLED, CONSOLE, **BOTH)
    sent = {}
    for line in map(texts.without_file_times, lines):
        if destination(line) is not None:
            sent.setdefault(destination(line), []).append(line.partition(" >> ")[0])
    java = STEMS[200, "CPU"]
    dumps = [f'su root -c "/opt/jdk/bin/jcmd 200 GC.heap_dump {TEMP}/200dump.hprof"',
             f'mv -f {TEMP}/200dump.hprof "{java}.hprof"',
             f'su root -c "/opt/jdk/bin/jcmd 200 Thread.print > {TEMP}/Thread_dump.log"',
             f'mv -f {TEMP}/Thread_dump.log "{java}.ThreadDump"']
    expected = {"su": dumps[::2], "mv": dumps[1::2]}
    for (pid, _), stem in STEMS.items():
        expected.update(capture_commands(stem, pid))
        if pid == 100:
            expected[stem] = [f"/usr/bin/gcore -o {stem} 100"]
    assert sent == expected
    assert [texts.without_file_times(line) for line in lines if line.startswith(("su ", "mv "))] == dumps


# ----------------------------------------------------------------------------------------------------------
# The log
# ----------------------------------------------------------------------------------------------------------

# How the lines begin that captures write; and those of commands, which come from captures and worker alike.
OF_CAPTURES = ("CollectCommandData", "TakeMemorySnapshotAndDump", "ThreadJavaProcessDump",
               "Starting to gather", "Thread (TID : <id>) created to run the ", "Memory Performance",
               "Network Performance", "Disk Performance", "Process specific")
OF_COMMANDS = ("Cmd:", "Output:", "ReturnCode:")


def without_ids(entry):
    return re.sub(r"TID : \d+", "TID : <id>", entry)


def of_the_worker(said):
    return [entry for entry in map(without_ids, said) if not entry.startswith(OF_CAPTURES + OF_COMMANDS)]


def pass_up_to_the_readings():
    """The lines of both tables, and of both managers that find their counters."""
    for table in ("processNameAndIDMap", "processIDAndNameMap"):
        for name, pid in (("exampled", 100), ("java", 200)):
            yield f"{name}({pid}) process is running with basename"
            yield f"Inserting in to multimap {table} <{name} : {pid}> "
    for label in ("CPU", "Memory"):
        for name, pid in (("java", 200), ("exampled", 100)):  # adminconsole comes first in the list
            yield f"Inside CounterMgr::AddCounterHelper() for {label} processes."
            yield f"GetProcessNameAndProcessIDMap.count({name}) : 1 "
            yield f"<100(For {label}) : exampled (index : 100) >"
            yield f"<200(For {label}) : java (index : 200) >"
            yield f"Finding process id {pid} inside mProcessIDAndCouterMap and Found."
            yield (f"{label} counter already added for process {name} with PID - {pid} with index : {pid} : "
                   f"{name}#{pid}")
    yield texts.MONITORING


def reading(label, pid, name, listed_as, value, limit):
    """A fifth reading; a Java process has its configured name but in the first and the last line."""
    unit = "Percent" if label == "CPU" else "MB"
    if label == "CPU":
        yield (f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process {listed_as} (Pid {pid}) "
               f"{value}.000000.")
    else:
        yield (f"MemoryCounterMgr::ReadCounterIndexValue Memory Usage : {value}.00 MB for process "
               f"{listed_as} .")
    yield f"{label} usage for process {name}({pid}) : {value}.00 {unit}"
    yield f"{label} threshold for process {name}({pid}) : {limit} {unit}"
    yield (f"Sum : {value * 5} {unit}, Reading# : 5, Running Average : {value} {unit} for {label} for "
           f"process {name}({pid})")
    yield f"Running Average : {value} for {label} for process {listed_as}({pid})"


def captures(dump, name, pid):
    """Each capture starts when the one before has its thread."""
    yield f"Thread (TID : <id>) created to take {dump}"
    for topic in ("memory performance", "network performance", "disk io performance", "process specific"):
        yield (f"Thread (TID : <id>) created to collect {topic} data for threshold event generated by {name} "
               f"(PID : {pid})")


def raised(target):
    return [f"Original DebugLevel for process {target} is : 1.",
            f"Original DiagnosticLevel for process {target} is : 1.",
            f"mDiagnosticLevel and  DebugLevel for the process {target} set to 6."]


CORE = "a process snapshot for exampled (PID : 100)"
HEAP = "a java process snapshot for PID : 200"


def test_a_pass_with_breaches_logs_each_with_its_captures_and_its_levels_before_the_next_reading(live):
    host, _, said = fifth_pass(live, EXAMPLED, CONSOLE, **BOTH)
    told = [texts.exceeded("CPU", "exampled", 100, 80, 90),
            texts.exceeded("CPU", "adminconsole", 200, 70, 95),
            texts.exceeded("Memory", "exampled", 100, 60, 90, "MB")]
    assert of_the_worker(said) == [
        *pass_up_to_the_readings(), "Memory unit is ABSOLUTE.",
        *reading("CPU", 100, "exampled", "exampled", 90, 80), told[0], texts.taking(1, "exampled", 100),
        *captures(CORE, "exampled", 100), *raised("exampled"),
        *reading("CPU", 200, "adminconsole", "java", 95, 70), told[1], texts.taking(1, "java", 200),
        *captures(HEAP, "adminconsole", 200), *raised("adminconsole"), "Memory unit is ABSOLUTE.",
        *reading("Memory", 100, "exampled", "exampled", 90, 60), told[2], texts.taking(1, "exampled", 100),
        *captures(CORE, "exampled", 100),
        *reading("Memory", 200, "adminconsole", "java", 5, 50)]
    assert host.system_log()[2:] == [("warning", f"<stamp>{text}") for text in told]


@pytest.fixture(name="one_breach")
def _one_breach(live):
    """The log of a pass with one breach of an ordinary process."""
    return fifth_pass(live, EXAMPLED, THHS_MONITOR_CPU="exampled:80", THHS_NUMBER_OF_READINGS=2)[2]


def test_a_capture_logs_each_command_before_and_after_its_run_and_is_done_after_the_last(one_breach):
    stem = STEMS[100, "CPU"]
    commands = capture_commands(stem, 100)
    commands[f"{stem}.MemoryPerf"] *= 2
    commands.update({f"{stem}.DiskPerf_iostat": ["/usr/bin/iostat -xt 1 2"],
                     f"{stem}.DiskPerf_mpstat": ["/usr/bin/mpstat 1 2"]})
    done = {"MemoryPerf": "Memory Performance", "Netstat": "Network Performance",
            "ProcessData": "Process specific"}
    said = [texts.without_file_times(entry) for entry in one_breach]
    for path, lines in commands.items():
        topic = done.get(path.rpartition(".")[2])
        expected = [entry for line in lines for entry in (
            f"CollectCommandData : Command to execute : {line} >> {path}",
            f"CollectCommandData : command {line} >> {path} return the <status>")]
        end = [f"{topic} data collected successfully."] if topic else []
        seen = [re.sub(r"return the \d+$", "return the <status>", entry) for entry in said
                if entry in end or f" >> {path}" in entry]
        assert seen == expected + end


def test_the_disk_capture_is_done_when_both_its_tools_have_their_threads(one_breach):
    said = [without_ids(entry) for entry in one_breach
            if "created to run the" in entry or entry.startswith("Disk Performance")]
    assert said == ["Thread (TID : <id>) created to run the /usr/bin/iostat command ",
                    "Thread (TID : <id>) created to run the /usr/bin/mpstat command ",
                    "Disk Performance data collected successfully."]
