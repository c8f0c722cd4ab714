"""Captures that can't do their work: what is said of each, and what is collected all the same."""
import re

import pytest

from host import Process, Tool, paced, refusing, scripted, texts

NAME, PID = "exampled", 4321
ROOT = "/evidence/thsentinel"
FOLDER = f"{ROOT}/{NAME}/{PID}"
# Every pass is a breach with all captures, twice.
ON = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 2,
      "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_VERBOSE": 1}
NO_CORE = f"TakeMemorySnapshotAndDump (TID : <id>) Error: Failed to generate the dump for pid {PID}"
DONE = [f"{topic} data collected successfully." for topic in (
    "Disk Performance", "Memory Performance", "Network Performance", "Process specific")]
NO_THREAD = "Error: Failed to create a thread "
NO_FOLDER = f"Error: Failed to create evidence folder {ROOT}"
RETURNED = re.compile(r"CollectCommandData : command (.*) >> (\S*) return the (-?\d+)")
NOT_REDIRECTED = str(2 << 8)  # the shell's status for a line that it can't run as it stands
NOT_FOUND = str(127 << 8)

MEMORY = ["/usr/bin/top -b -n 1", "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
          "/usr/bin/free ", "/usr/bin/vmstat ", "/usr/bin/cat /proc/meminfo"]
PROCESS = [f"/usr/bin/cat /proc/{PID}/smaps", f"/usr/bin/cat /proc/{PID}/status", f"/usr/bin/gstack {PID}",
           f"/usr/bin/pmap {PID}"]
DISK = {"DiskPerf_iostat": ["/usr/bin/iostat -xt 1 1"], "DiskPerf_mpstat": ["/usr/bin/mpstat 1 1"]}
NETWORK = ["/usr/bin/netstat -p --tcp | grep CLOSE_WAIT", "/usr/bin/netstat -na | grep CLOSE_WAIT",
           *(f"/usr/bin/netstat {options}" for options in ("-e", "-s", "-nalp")),
           *(f"/usr/bin/netstat {options} | /usr/bin/grep {PID}"
             for options in ("-op", "-nop", "-anop", "-tanoxp"))]
COMMANDS = {"MemoryPerf": MEMORY, "Netstat": NETWORK, "ProcessData": PROCESS, **DISK}
EVERY_COMMAND = sorted(command for commands in COMMANDS.values() for command in commands)


def file_of(suffix, number=1):
    return f"{NAME}/{PID}/Evidence{number}/{PID}_<time>_CPU.{suffix}"


def whole_set(number=1, without=()):
    """The files of a set but those of the suffixes."""
    return sorted(file_of(suffix, number) for suffix in [str(PID), *COMMANDS] if suffix not in without)


def without_ids(entry):
    return re.sub(r"\(TID ?: \d+\)", lambda found: re.sub(r"\d+", "<id>", found[0]), entry)


def errors_of(host):
    return sorted(without_ids(entry) for entry in host.log() if "Error" in entry)


def returned(host):
    """(command, the end of its file's name, status) of all that the captures ran, as the log shows."""
    found = [RETURNED.fullmatch(entry) for entry in host.log()]
    return [(one[1], one[2].rpartition(".")[2], one[3]) for one in found if one]


def captured(make_host, pace, preloaded=(), before=(), processes=None, **description):
    """A host where something stands in the way, and its paced daemon after the captures of a first pass."""
    store = {**ON, **description.pop("store", {})}
    host = make_host(store=store, processes=processes or [Process(PID, f"/opt/{NAME}", cpu=7)], **description)
    for prepare in before:
        prepare(host)
    daemon = paced.Paced(host, pace, preloaded=[library(host) for library in preloaded])
    assert daemon.start().status == 0
    daemon.captures_end()
    return host, daemon


@pytest.fixture(name="refused")
def _refused(make_host, pace, interpose):
    """Captures on a machine that refuses these calls."""

    def make(*calls, **description):
        def library(host):
            refusing.refuse(host, *calls)
            return interpose(host, refusing.SOURCE)["LD_PRELOAD"]

        return captured(make_host, pace, [library], **description)

    return make


# ----------------------------------------------------------------------------------------------------------
# Folders and files
# ----------------------------------------------------------------------------------------------------------

FAILING_GCORE = {"gcore": Tool(status=1)}


MARKER = f"{FOLDER}/evidence.lock"
NO_MARKER = f"Error: Failed to create touch file {MARKER}"
# What is a file where a folder should be, and the lines about it: the folder below is what can't be made.
OBSTACLES = {"the root": (ROOT, []), "the folder of the name": (f"{ROOT}/{NAME}", []),
             "the folder of the process id": (FOLDER, [NO_MARKER] * 6)}


@pytest.mark.parametrize("obstacle, lines", OBSTACLES.values(), ids=OBSTACLES.keys())
def test_a_folder_that_cannot_be_made_costs_the_set_silently(make_host, pace, obstacle, lines):
    """Only what comes of it is reported: the line of the core, and of each command how it ended, when verbose."""
    host, daemon = captured(make_host, pace, before=[lambda host: host.put(obstacle, "in the way\n")],
                            tools=FAILING_GCORE)
    assert errors_of(host) == [*lines, NO_CORE]
    assert sorted(entry for entry in host.log() if entry in DONE) == DONE
    assert sorted(returned(host)) == [(command, "", NOT_REDIRECTED) for command in EVERY_COMMAND]
    assert f"/usr/bin/gcore -o  {PID}" in host.shell_lines()
    assert [tool for tool, _ in host.calls() if tool not in ("ps", "gcore")] == []
    assert host.get(obstacle) == "in the way\n"
    host.remove(obstacle)
    assert daemon.step()
    daemon.captures_end()
    assert texts.taking(2, NAME, PID) in host.log()
    assert sorted(host.evidence()) == whole_set(2, without=[str(PID)])


def test_files_below_a_folder_that_is_none_cannot_be_opened_and_the_names_stay(make_host, pace):
    host, _ = captured(make_host, pace, tools=FAILING_GCORE, before=[
        lambda host: host.put(f"{FOLDER}/Evidence1", "in the way\n")])
    assert errors_of(host) == [NO_CORE]
    assert sorted(returned(host)) == sorted((command, suffix, NOT_REDIRECTED)
                                            for suffix, commands in COMMANDS.items() for command in commands)
    assert host.evidence() == {f"{NAME}/{PID}/Evidence1": "in the way\n"}


def test_a_marker_that_cannot_be_made_is_reported_for_each_file_and_costs_none(make_host, pace):
    host, _ = captured(make_host, pace, before=[lambda host: host.folder(MARKER)])
    assert errors_of(host) == [NO_MARKER] * 6
    assert sorted(host.evidence()) == whole_set()


def takes_the_evidence_away(host):
    """The first listing of processes moves the whole evidence path elsewhere."""
    move = "#!/bin/dash\n[ ! -e /evidence ] || mv /evidence /gone\n"
    host.put("/usr/bin/ps", scripted.PS.replace("#!/bin/dash\n", move, 1), 0o755)


def test_a_root_that_cannot_be_made_is_reported_for_each_file_and_stops_the_service_later(make_host, pace):
    host, daemon = captured(make_host, pace, before=[takes_the_evidence_away], tools=FAILING_GCORE)
    assert errors_of(host) == [NO_FOLDER] * 6 + [NO_CORE]
    assert sorted(returned(host)) == [(command, "", NOT_REDIRECTED) for command in EVERY_COMMAND]
    assert sorted(entry for entry in host.log() if entry in DONE) == DONE
    assert host.ask("files", "/gone") == {}
    before = len(host.log())
    assert not daemon.step()
    assert [entry for entry in host.log()[before:] if entry.startswith(("Invalid", "Error"))] == [
        "Invalid value for THHS_EVIDENCE_PATH : /evidence. Specified folder does not exist. thsentinel will "
        "not start.", f"Error:{texts.INVALID_STOPS}"]


def test_a_file_that_cannot_be_opened_shows_in_the_verbose_lines_alone(make_host, pace):
    """Its folder goes away under the first of its commands."""
    top = f"#!/bin/dash\nmv {FOLDER}/Evidence1 /gone\necho seen\n"
    host, _ = captured(make_host, pace, before=[lambda host: host.put("/usr/bin/top", top, 0o755)], store={
        "THHS_CAPTURE_PROCESS_DUMP": 0, "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0})
    assert [one for one in returned(host) if one[1] == "MemoryPerf"] == [
        (MEMORY[0], "MemoryPerf", "0"), *((command, "MemoryPerf", NOT_REDIRECTED) for command in MEMORY[1:])]
    kept = {path.rpartition(".")[2]: text for path, text in host.ask("files", "/gone").items()}
    assert kept["MemoryPerf"] == texts.section(MEMORY[0], "seen\n")
    assert errors_of(host) == []


# ----------------------------------------------------------------------------------------------------------
# Tools and shells
# ----------------------------------------------------------------------------------------------------------

def test_tools_that_are_missing_end_with_the_status_of_the_shell_and_are_not_reported_otherwise(make_host, pace):
    host, _ = captured(make_host, pace, without=["free", "gstack", "mpstat"])
    told = {command: status for command, _, status in returned(host)}
    assert {command: status for command, status in told.items() if status == NOT_FOUND} == {
        "/bin/free ": NOT_FOUND, f"/bin/gstack {PID}": NOT_FOUND, "/bin/mpstat 1 1": NOT_FOUND}
    assert len(told) == len(EVERY_COMMAND)
    assert errors_of(host) == []
    assert host.evidence()[file_of("DiskPerf_mpstat")] == texts.section("/bin/mpstat 1 1", "")


def test_without_a_shell_the_heads_stand_alone_and_the_lines_return_minus_one(refused):
    host, daemon = refused("system")
    assert sorted(returned(host)) == sorted((command, suffix, "-1") for suffix, commands in COMMANDS.items()
                                            for command in commands)
    heads = {file_of(suffix): "".join(texts.section(command, "") for command in commands)
             for suffix, commands in COMMANDS.items()}
    assert host.evidence() == {**heads, file_of(PID): f"core of {PID}\n"}
    assert errors_of(host) == []
    assert daemon.step()


# ----------------------------------------------------------------------------------------------------------
# Threads
# ----------------------------------------------------------------------------------------------------------

OF_PROCESS = f"{NAME} (PID : {PID})"
THREADS = {
    "1": (f"{NO_THREAD}to take a process snapshot for {OF_PROCESS}", [str(PID)]),
    "2": (f"{NO_THREAD}for memory performance data collection for {OF_PROCESS}", ["MemoryPerf"]),
    "3": (f"{NO_THREAD}for network performance data collection for {OF_PROCESS}", ["Netstat"]),
    "4": (f"{NO_THREAD}for disk io performance data collection for {OF_PROCESS}", list(DISK)),
    "5": (f"{NO_THREAD}for process specific data collection for {OF_PROCESS}", ["ProcessData"]),
}
QUIET = {"THHS_VERBOSE": 0}


@pytest.mark.usefixtures("no_thread_sanitizer")
@pytest.mark.parametrize("number", THREADS)
def test_a_capture_without_a_thread_is_reported_and_the_others_continue(refused, number):
    line, missing = THREADS[number]
    host, daemon = refused(f"thread of worker {number}", store=QUIET)
    assert errors_of(host) == [line]
    assert sorted(host.evidence()) == whole_set(without=missing)
    assert daemon.step()
    daemon.captures_end()
    assert errors_of(host) == [line]
    assert sorted(host.evidence()) == whole_set(without=missing) + whole_set(2)


@pytest.mark.usefixtures("no_thread_sanitizer")
def test_without_any_thread_each_capture_has_its_line_in_order_and_the_set_is_counted(refused):
    host, daemon = refused("thread of worker", store=QUIET)
    said = (f"CPU Capturing evidence for process {NAME} ({PID}) without threshold , Threshold : 80 Percent , "
            "Usage : 7.00 Percent")
    lines = [line for line, _ in THREADS.values()]
    log = host.log()
    assert log[log.index(texts.MONITORING):] == [texts.MONITORING, said, texts.taking(1, NAME, PID), *lines]
    assert daemon.step()
    log = host.log()
    assert log[-7:] == [said, texts.taking(2, NAME, PID), *lines]
    assert daemon.step()
    assert host.log()[-2:] == [said, f"Dump count reached max allowed for process {NAME} : 2"]
    assert host.evidence_paths() == []


@pytest.mark.usefixtures("no_thread_sanitizer")
@pytest.mark.parametrize("number, tool", [("1", "iostat"), ("2", "mpstat")])
def test_a_disk_tool_without_a_thread_is_reported_and_the_other_one_runs(refused, number, tool):
    """The threads of a capture are those of the disk alone."""
    host, _ = refused(f"thread of capture {number}", store=QUIET)
    assert errors_of(host) == [f"{NO_THREAD}to run the /usr/bin/{tool} command "]
    assert sorted(host.evidence()) == whole_set(without=[f"DiskPerf_{tool}"])


def test_a_process_with_the_id_0_has_no_core_and_no_line_about_one(make_host, pace):
    host, _ = captured(make_host, pace, processes=[Process(0, f"/opt/{NAME}", cpu=7)])
    assert texts.taking(1, NAME, 0) in host.log()
    assert host.calls("gcore") == []
    assert not [entry for entry in host.log() if "TakeMemorySnapshotAndDump" in entry]
    assert sorted(host.evidence()) == sorted(f"{NAME}/0/Evidence1/0_<time>_CPU.{one}" for one in COMMANDS)
