"""The lines that the program gives to a shell: how their paths are put together and what comes of them."""
import pytest

from host import Process, Tool, paced, product, texts

NAME, PID = "exampled", 4321
# A breach in the first pass, and one alone.
AT_ONCE = {"THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 1}


def breached(make_host, pace, processes, name=NAME, prepare=None, **description):
    """A host after a first pass with a breach and all its captures; prepare: what is done to it before."""
    store = {"THHS_MONITOR_CPU": f"{name}:80", **AT_ONCE, **description.pop("store", {})}
    host = make_host(store=store, processes=processes, **description)
    if prepare:
        prepare(host)
    daemon = paced.Paced(host, pace)
    assert daemon.start().status == 0
    daemon.captures_end()
    return host


def lines_of(host, tool):
    """The lines for a tool in a capture, the times in the names of files left out."""
    return [texts.without_file_times(line) for line in host.shell_lines()
            if line.startswith(f"/usr/bin/{tool} ") and " >> " in line]


# ----------------------------------------------------------------------------------------------------------
# The filter of a capture
# ----------------------------------------------------------------------------------------------------------

TEN, SEVEN = "tcp a:10 b:2 ESTABLISHED -\n", "tcp a:27 b:3 ESTABLISHED -\n"


@pytest.mark.parametrize("pid, end, kept", [
    (-1, "", TEN + SEVEN), (0, " | /usr/bin/grep 0", TEN), (7, " | /usr/bin/grep 7", SEVEN),
    (-2, " | /usr/bin/grep -2", "")])
def test_only_minus_one_stands_for_no_filter_and_zero_filters_by_its_digit(make_host, pace, pid, end, kept):
    """Most of these are ids that no process has, but that a listing may show."""
    host = breached(make_host, pace, [Process(pid, f"/opt/{NAME}")],
                    tools={"netstat": Tool(output=TEN + SEVEN)})
    path = f"{NAME}/{pid}/Evidence1/{pid}_<time>_CPU.Netstat"
    commands = [f"/usr/bin/netstat {options}{end}" for options in ("-op", "-nop", "-anop", "-tanoxp")]
    assert lines_of(host, "netstat")[-4:] == [f"{one} >> /evidence/thsentinel/{path}" for one in commands]
    sections = host.evidence()[path].split(texts.section("/usr/bin/netstat -nalp", TEN + SEVEN))
    assert sections[1:] == ["".join(texts.section(one, kept) for one in commands)]


# ----------------------------------------------------------------------------------------------------------
# Paths
# ----------------------------------------------------------------------------------------------------------

def test_a_path_that_ends_in_a_slash_gets_another_one_when_it_is_continued(make_host, pace):
    """Such a path comes of a process whose name is a slash, and of a setting that ends in one."""
    host = breached(make_host, pace, [Process(PID, "/ -d")], name="/",
                    store={"THHS_EVIDENCE_PATH": "/evidence/"})
    assert ("THHS_EVIDENCE_PATH is set to /evidence//thsentinel. Check the folder for collected logs."
            in host.log())
    path = f"/evidence//thsentinel///{PID}/Evidence1/{PID}_<time>_CPU"
    assert lines_of(host, "top") == [f"/usr/bin/top -b -n 1 >> {path}.MemoryPerf"]
    assert sorted(host.evidence()) == [f"{PID}/Evidence1/{PID}_<time>_CPU.{kind}" for kind in (
        "DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData")]


OF_PROCESS = f"/evidence/thsentinel/{NAME}/{PID}"

# What bears the name of a folder; where the output of a tool goes then, and what each capture complains of.
IN_THE_WAY = {
    "of the breach": (f"{OF_PROCESS}/Evidence1", f"{OF_PROCESS}/Evidence1/{PID}_<time>_CPU.MemoryPerf", []),
    "of the process": (OF_PROCESS, "", [f"Error: Failed to create touch file {OF_PROCESS}/evidence.lock"]),
    "of the name": (f"/evidence/thsentinel/{NAME}", "", []),
    "of the program": ("/evidence/thsentinel", "", []),
}


@pytest.mark.parametrize("path, target, complaint", IN_THE_WAY.values(), ids=IN_THE_WAY.keys())
def test_a_folder_counts_as_made_when_a_file_bears_its_name(make_host, pace, path, target, complaint):
    """Nobody complains of the file: the load goes on, and a capture does up to the first step below it."""
    host = breached(make_host, pace, [Process(PID, f"/opt/{NAME}")],
                    prepare=lambda host: host.put(path, "in the way\n"))
    assert lines_of(host, "top") == [f"/usr/bin/top -b -n 1 >> {target}"]
    complaints = [entry for entry in host.log() if entry.startswith(("Error", "Invalid"))]
    assert complaints == complaint * 5  # the disk capture names two files
    assert texts.taking(1, NAME, PID) in host.log()
    assert host.get(path) == "in the way\n"


# What the evidence path names, and what a start says of it. A socket's kind includes that of a folder.
NO_FOLDER = "Specified folder does not exist."
KINDS = {
    "a socket": ("/dev/log", "/dev/log/thsentinel. Failed to create the evidences folder."),
    "a device": ("/dev/null", f"/dev/null. {NO_FOLDER}"),
    "a pipe": ("/run/pipe", f"/run/pipe. {NO_FOLDER}"),
    "a link to a file": ("/run/link", f"/run/link. {NO_FOLDER}"),
}


@pytest.mark.parametrize("path, complaint", KINDS.values(), ids=KINDS.keys())
def test_a_socket_counts_as_a_folder_and_nothing_else_does(make_host, path, complaint):
    host = make_host(store={"THHS_EVIDENCE_PATH": path})
    host.shell("mkfifo /run/pipe && ln -s /etc/passwd /run/link")
    said = f"Invalid value for THHS_EVIDENCE_PATH : {complaint} thsentinel will not start."
    assert host.run("-start") == (8, f"{texts.begun('start')}{said}\n{texts.failed('start')}", "")
    assert host.log() == [texts.READING, texts.JDK_NOT_SET, said]


JCMD = """#!/bin/dash
case $2 in
    GC.heap_dump) echo "heap of $1" >"$3" ;;
    Thread.print) echo "threads of $1" ;;
esac
"""


def test_a_blank_is_safe_in_the_name_that_a_dump_is_moved_to_and_in_no_other(make_host, pace):
    """The outputs of tools fall apart at the blank, the heads above them don't."""
    host = breached(make_host, pace, [Process(PID, "/opt/jre/bin/java tarn.thx.AdminConsole")],
                    name="adminconsole", evidence="/my evidence",
                    store={"THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_JDK_HOME": "/opt/jdk"},
                    prepare=lambda host: host.put("/opt/jdk/bin/jcmd", JCMD, 0o755))
    stem = f"adminconsole/{PID}/Evidence1/{PID}_<time>_CPU."
    temp = f"{product.BASE}/tmp"
    assert [texts.without_file_times(line) for line in host.shell_lines() if line.startswith("mv ")] == [
        f'mv -f {temp}/{PID}dump.hprof "/my evidence/thsentinel/{stem}hprof"',
        f'mv -f {temp}/Thread_dump.log "/my evidence/thsentinel/{stem}ThreadDump"']
    evidence = host.evidence()
    assert evidence[stem + "hprof"] == f"heap of {PID}\n"
    assert evidence[stem + "ThreadDump"] == f"threads of {PID}\n"
    assert evidence[stem + "DiskPerf_iostat"] == texts.section("/usr/bin/iostat -xt 1 1", "")
    fallen_apart = [line for line in host.get("/my").splitlines() if line.startswith("iostat")]
    assert [texts.without_file_times(line) for line in fallen_apart] == [
        f"iostat says: -xt 1 1 evidence/thsentinel/{stem}DiskPerf_iostat"]


# ----------------------------------------------------------------------------------------------------------
# What becomes of a command
# ----------------------------------------------------------------------------------------------------------

# A shell that one kind of line kills; all others go their way.
# Newer C libraries put "--" before the line.
DEADLY = """#!/bin/dash
case $* in
    *'{words}'*) kill -{signal} $$ ;;
esac
exec /bin/dash "$@"
"""
PURGE = "rm -f /evidence/thsentinel"
PURGED = "Successfully purged older evidences collected during last runs."

# What stands at the place of rm, and what the trace of its line is.
OUTCOMES = {
    "a silent success": (("/usr/bin/rm", "#!/bin/dash\n"), ["Output:", "ReturnCode:0", PURGED]),
    "a success that speaks": (
        ("/usr/bin/rm", "#!/bin/dash\necho one\necho two\n"), ["Output:one\ntwo\n", "ReturnCode:0"]),
    "no end of line": (("/usr/bin/rm", "#!/bin/dash\nprintf one\n"), ["Output:one", "ReturnCode:0"]),
    "an exit of 3": (("/usr/bin/rm", "#!/bin/dash\nexit 3\n"), ["Output:", "ReturnCode:3", PURGED]),
    "an exit of 255 that speaks": (
        ("/usr/bin/rm", "#!/bin/dash\necho one\nexit 255\n"), ["Output:one\n", "ReturnCode:255"]),
    "a complaint on standard error": (
        ("/usr/bin/rm", "#!/bin/dash\necho one >&2\nexit 0\n"), ["Output:", "ReturnCode:0", PURGED]),
    "a folder, which the real one refuses": (None, ["Output:", "ReturnCode:1", PURGED]),
    "a shell that is killed": (
        ("/usr/bin/sh", DEADLY.format(words=PURGE, signal="KILL")), ["Output:", PURGED]),
    "a shell that is asked to end": (
        ("/usr/bin/sh", DEADLY.format(words=PURGE, signal="TERM")), ["Output:", PURGED]),
}


@pytest.mark.parametrize("tool, trace", OUTCOMES.values(), ids=OUTCOMES.keys())
def test_a_command_is_traced_with_its_output_and_its_exit_but_not_with_a_signal(make_host, pace, tool, trace):
    host = make_host(store={"THHS_PURGE_OLD_EVIDENCE": 1, "THHS_VERBOSE": 1})
    if tool:
        host.put(*tool, 0o755)
    assert paced.Paced(host, pace).start().status == 0
    log = host.log()
    place = log.index(f"Trying to clean up older evidences. Command : {PURGE}")
    following = '/usr/bin/ps -eo pid,command | /usr/bin/egrep "/usr/tarnv"'
    assert log[place + 1:log.index(f"Cmd:{following}")] == [f"Cmd:{PURGE}", *trace]


def test_a_capture_traces_the_raw_status_of_each_of_its_lines(make_host, pace):
    """A silent success, an exit of 3, one of 255, a tool that is missing, and a shell that a signal ends."""
    host = breached(make_host, pace, [Process(PID, f"/opt/{NAME}")], store={"THHS_VERBOSE": 1},
                    tools={"top": Tool(output=""), "free": Tool(status=3), "gstack": Tool(status=255)},
                    without=["pmap"],
                    prepare=lambda host: host.put("/usr/bin/sh", DEADLY.format(words="vmstat", signal="KILL"),
                                                  0o755))
    begin, path = "CollectCommandData : ", f"/evidence/thsentinel/{NAME}/{PID}/Evidence1/{PID}_<time>_CPU"
    said = [texts.without_file_times(entry).removeprefix(begin) for entry in host.log()
            if entry.startswith(begin)]
    for command, kind, status in (
            ("/usr/bin/top -b -n 1", "MemoryPerf", 0), ("/usr/bin/free ", "MemoryPerf", 768),
            ("/usr/bin/vmstat ", "MemoryPerf", 9), (f"/usr/bin/gstack {PID}", "ProcessData", 65280),
            (f"/bin/pmap {PID}", "ProcessData", 32512)):
        line = f"{command} >> {path}.{kind}"
        assert said.count(f"Command to execute : {line}") == 1
        assert [one for one in said if one.startswith(f"command {line} ")] == [
            f"command {line} return the {status}"]
