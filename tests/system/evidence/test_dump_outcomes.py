"""What decides on a dump: the ends of its commands, each with its lines in the log, verbose and not."""
import re

import pytest

from host import Process, paced, product, texts

NAME, PID = "exampled", 4321
ROOT = "/evidence/thsentinel"
ONE_BREACH = {"THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 1, "THHS_CAPTURE_PROCESS_DUMP": 1,
              "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0}


def dumped(make_host, pace, name, command, *prepared, **store):
    """A host after a breach of one process; prepared: what is done to it before the start."""
    host = make_host(store={**ONE_BREACH, "THHS_MONITOR_CPU": f"{name}:80", **store},
                     processes=[Process(PID, command, cpu=7)])
    for prepare in prepared:
        prepare(host)
    daemon = paced.Paced(host, pace)
    assert daemon.start().status == 0
    daemon.captures_end()
    return host


# ----------------------------------------------------------------------------------------------------------
# Core images
# ----------------------------------------------------------------------------------------------------------

BELOW_THE_LOG = f"{product.LOGS}/{NAME}/{PID}"
CLEANED_UP = f"Cleaned up folders that are not required {BELOW_THE_LOG} (PID : {PID})"
OF_CORE = ("Thread (TID : <id>) created to take a process", "TakeMemorySnapshotAndDump", "Cleaned up ")
FAILED_CORE = f"TakeMemorySnapshotAndDump (TID : <id>) Error: Failed to generate the dump for pid {PID}"
GENERATED = f"TakeMemorySnapshotAndDump (TID: <id>) Dump has generated for pid {PID}"
LINE = f"/usr/bin/gcore -o {ROOT}/{NAME}/{PID}/Evidence1/{PID}_<time>_CPU {PID}"


def a_gcore(script, mode=0o755):
    return lambda host: host.put("/usr/bin/gcore", f"#!/bin/dash\n{script}\n", mode)


def no_gcore_but_a_folder(host):
    host.remove("/usr/bin/gcore")
    host.folder("/usr/bin/gcore")


# What lies at the place of gcore; the trace of its line, and whether the core counts as generated.
CORES = {
    "a success without a file": (a_gcore("exit 0"), ["Output:", "ReturnCode:0"], True),
    "a success that speaks": (
        a_gcore("echo Error: no core"), ["Output:Error: no core\n", "ReturnCode:0"], True),
    "a complaint on standard error": (a_gcore("echo no >&2; exit 0"), ["Output:", "ReturnCode:0"], True),
    "a failure with a file": (
        a_gcore('echo core >"$2.$3"; echo done; exit 1'), ["Output:done\n", "ReturnCode:1"], False),
    "a file that can't be run": (a_gcore("exit 0", 0o644), ["Output:", "ReturnCode:126"], False),
    "a folder": (no_gcore_but_a_folder, ["Output:", "ReturnCode:126"], False),
}


def of_core(host):
    """What is said of the core, and of its command; all ids of threads there are one."""
    ids, found = set(), []
    for entry in host.log():
        said = texts.without_file_times(re.sub(r"(\(TID ?: )\d+", r"\1<id>", entry))
        if said == f"Cmd:{LINE}" or said.startswith(OF_CORE):
            ids.update(re.findall(r"\(TID ?: (\d+)", entry))
            found.append(said)
    assert len(ids) == 1, "who takes the core is who was started"
    return found


@pytest.mark.parametrize("prepare, trace, is_generated", CORES.values(), ids=CORES.keys())
def test_a_core_is_decided_by_the_status_of_its_command_alone(make_host, pace, prepare, trace, is_generated):
    host = dumped(make_host, pace, NAME, f"/opt/{NAME}", prepare, THHS_VERBOSE=1)
    assert sorted(of_core(host)) == sorted([
        f"Thread (TID : <id>) created to take a process snapshot for {NAME} (PID : {PID})", f"Cmd:{LINE}",
        *([GENERATED] if is_generated else [FAILED_CORE, CLEANED_UP])])
    log = [texts.without_file_times(entry) for entry in host.log()]
    assert all(entry in log[log.index(f"Cmd:{LINE}"):] for entry in trace)
    assert len([line for line in host.shell_lines() if "gcore" in line]) == 1


# The folders below the log, where the cleaning after a failed core looks; what stays, and what is said.
BELOW = {
    "an empty folder": ([""], 1, False, []),
    "a folder that holds something": (["/other"], 1, True, [CLEANED_UP]),
    "a folder that holds something, not verbose": (["/other"], 0, True, []),
}


@pytest.mark.parametrize("paths, verbose, stays, said", BELOW.values(), ids=BELOW.keys())
def test_after_a_failed_core_an_empty_folder_below_the_log_is_removed_silently(make_host, pace, paths,
                                                                               verbose, stays, said):
    def fill(host):
        for path in paths:
            host.folder(BELOW_THE_LOG + path)

    host = dumped(make_host, pace, NAME, f"/opt/{NAME}", a_gcore("exit 1"), fill, THHS_VERBOSE=verbose)
    assert host.exists(BELOW_THE_LOG) == stays
    assert [entry for entry in host.log() if entry.startswith("Cleaned up")] == said
    assert f"{NAME}/{PID}/Evidence1" in host.evidence_paths()


# ----------------------------------------------------------------------------------------------------------
# Java dumps
# ----------------------------------------------------------------------------------------------------------

JAVA = "/opt/jre/bin/java tarn.thx.AdminConsole"
TEMP = f"{product.BASE}/tmp"
STEM = f"adminconsole/{PID}/Evidence1/{PID}_<time>_CPU."
LINES = {
    "heap": f'su root -c "/opt/jdk/bin/jcmd {PID} GC.heap_dump {TEMP}/{PID}dump.hprof"',
    "move of heap": f'mv -f {TEMP}/{PID}dump.hprof "{ROOT}/{STEM}hprof"',
    "threads": f'su root -c "/opt/jdk/bin/jcmd {PID} Thread.print > {TEMP}/Thread_dump.log"',
    "move of threads": f'mv -f {TEMP}/Thread_dump.log "{ROOT}/{STEM}ThreadDump"',
}
BEGUN = {"heap": f"Starting to gather GC.heap_dump for PID : {PID}",
         "threads": f"Starting to gather Thread Dump for PID : {PID}"}
SUCCESS = "ThreadJavaProcessDump executed successfully."
# Each command fails when there is a file of its name.
JCMD = """#!/bin/dash
[ "$2" = Thread.print ] && echo "threads of $1" || echo "heap of $1" >"$3"
[ "$2" = Thread.print ] && name=threads || name=heap
[ ! -e "/run/fails/$name" ]
"""
MOVE = """#!/bin/dash
case $2 in *hprof) name=heap ;; *) name=threads ;; esac
[ ! -e "/run/fails/move of $name" ] && exec /usr/bin/real-mv "$@"
exit 1
"""
# What fails; what is in the evidence, and whether the dumps count as a success.
FAILURES = {
    "nothing": ([], ["ThreadDump", "hprof"]),
    "the heap dump": (["heap"], ["ThreadDump"]),
    "its move": (["move of heap"], ["ThreadDump"]),
    "the thread dump": (["threads"], ["hprof"]),
    "the move of that": (["move of threads"], ["hprof"]),
    "both dumps": (["heap", "threads"], []),
    "both moves": (["move of heap", "move of threads"], []),
}


def ready(*failing):
    def prepare(host):
        host.put("/opt/jdk/bin/jcmd", JCMD, 0o755)
        host.shell("mv /usr/bin/mv /usr/bin/real-mv")
        host.put("/usr/bin/mv", MOVE, 0o755)
        for name in failing:
            host.put(f"/run/fails/{name}")
    return prepare


def lines_sent(failing):
    """A move follows a dump that didn't fail; the threads follow in any case."""
    for name in ("heap", "threads"):
        yield BEGUN[name]
        for step in (name, f"move of {name}"):
            yield f"Cmd:{LINES[step]}"
            if step in failing:
                yield f"ThreadJavaProcessDump failed to execute : {LINES[step]}"
                break


@pytest.mark.parametrize("case, verbose", [*((case, 1) for case in FAILURES), ("nothing", 0),
                                           ("both dumps", 0)])
def test_one_of_two_java_dumps_in_the_evidence_is_a_success(make_host, pace, case, verbose):
    failing, evidence = FAILURES[case]
    host = dumped(make_host, pace, "adminconsole", JAVA, ready(*failing), THHS_JDK_HOME="/opt/jdk",
                  THHS_VERBOSE=verbose)
    said = [texts.without_file_times(entry) for entry in host.log() if entry.startswith(
        ("ThreadJava", "Starting to gather", "Cmd:su ", "Cmd:mv "))]
    success = [SUCCESS] if evidence else []
    assert said == ([*lines_sent(failing), *success] if verbose else [])
    found = host.evidence()
    assert sorted(path.rpartition(".")[2] for path in found if "Dump" in path or "hprof" in path) == evidence
    whole = {f"{STEM}hprof": f"heap of {PID}\n", f"{STEM}ThreadDump": f"threads of {PID}\n"}
    assert all(found[path] == text for path, text in whole.items() if path in found)
    left = {f"{TEMP}/{PID}dump.hprof": {"heap", "move of heap"},
            f"{TEMP}/Thread_dump.log": {"threads", "move of threads"}}
    assert {path: host.exists(path) for path in left} == {
        path: bool(causes & set(failing)) for path, causes in left.items()}
