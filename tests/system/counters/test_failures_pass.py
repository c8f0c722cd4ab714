"""Passes on which something fails: what they say, whole, and that the next one goes on."""
import pytest

from host import Process, Tool, paced, product, refusing, scripted, texts

NAME, PID = "exampled", 4321
JAVA = Process(PID, "/opt/jre/bin/java tarn.thx.AdminConsole", cpu=7)
WATCHING = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_VERBOSE": 1}
EVERY_PASS = {"THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 2}
LISTING = f'/usr/bin/ps -eo pid,command | /usr/bin/egrep "{NAME}|/usr/tarnv"'
OF_PROCESS = f"for CPU for process {NAME}({PID})"
NO_MEMORY = "Error: Failed to allocate memory for Counter object."
TOOL = f"{product.HOME}/bin/txlogcfg"
REMOVED = [f"ProcessId ({PID}) is not alive. Removing performance counter (Index : {PID}) {NAME}#{PID}",
           f"Removing from ProcessIDAndCouterMap Process {NAME} (PID : {PID}) with Counter Index : {PID} and "
           f"Counter Name {NAME}#{PID}"]
NOTHING_FOUND = ["Inside CounterMgr::AddCounterHelper() for CPU processes.",
                 f"GetProcessNameAndProcessIDMap.count({NAME}) : 0 "]
NOTHING_READ = [texts.MONITORING, "Memory unit is ABSOLUTE.", "Memory unit is ABSOLUTE."]


@pytest.fixture(name="faulty")
def _faulty(make_host, interpose, pace):
    """Makes a host whose machine refuses what it is set to refuse, and its paced daemon after its first pass."""

    def start(*refused, processes=(Process(PID, f"/opt/{NAME}", cpu=7),), **description):
        host = make_host(processes=processes, **description)
        library = interpose(host, refusing.SOURCE)["LD_PRELOAD"]
        refusing.refuse(host, *refused)
        daemon = paced.Paced(host, pace, [library])
        assert daemon.start().status == 0
        return daemon

    return start


def a_pass(daemon):
    """Ends the sleep, and gives what the next pass says after its load."""
    said = daemon.next_pass()
    return said[said.index(texts.end_of_load(daemon.host.store)[-1]) + 1:]


def first_reading_of(said):
    """How far a window is: 1 when it was begun anew."""
    return [entry.split("Reading# : ")[1].split(",")[0] for entry in said if entry.startswith("Sum : ")]


# ----------------------------------------------------------------------------------------------------------
# Listings and probes
# ----------------------------------------------------------------------------------------------------------

def test_a_listing_that_fails_once_ends_every_counter_and_the_next_pass_begins_anew(faulty):
    daemon = faulty(store=WATCHING)
    daemon.host.put("/usr/bin/ps", "#!/bin/dash\nexit 1\n", 0o755)
    failed = [f"Cmd:{LISTING}", "Output:", "ReturnCode:1"]
    assert a_pass(daemon) == failed * 2 + REMOVED + NOTHING_FOUND + NOTHING_READ
    daemon.host.script_tools({}, [Process(PID, f"/opt/{NAME}", cpu=7)])
    said = a_pass(daemon)
    assert texts.added("CPU", Process(PID, ""), NAME)[1] in said
    assert first_reading_of(said) == ["1"]


def test_a_pass_without_a_pipe_shows_its_commands_alone_and_reads_nothing(faulty):
    daemon = faulty(store=WATCHING)
    refusing.refuse(daemon.host, "popen")
    before = daemon.host.shell_lines()
    assert a_pass(daemon) == [f"Cmd:{LISTING}"] * 2 + REMOVED + NOTHING_FOUND + NOTHING_READ
    assert daemon.host.shell_lines() == before
    refusing.refuse(daemon.host)
    assert first_reading_of(a_pass(daemon)) == ["1"]


def test_a_probe_that_fails_once_counts_as_a_reading_of_zero(faulty):
    """The process is listed all the while, so its window goes on."""
    daemon = faulty(store=WATCHING)
    assert first_reading_of(a_pass(daemon)) == ["2"]
    daemon.host.put(scripted.answer_of_ps("cpu"), "")
    said = a_pass(daemon)
    assert said[-7:-1] == [
        "ReturnCode:1",
        f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process {NAME} (Pid {PID}) 0.000000.",
        f"CPU usage for process {NAME}({PID}) : 0.00 Percent",
        f"CPU threshold for process {NAME}({PID}) : 80 Percent",
        f"Sum : 14 Percent, Reading# : 3, Running Average : 4 Percent {OF_PROCESS}",
        f"Running Average : 4 {OF_PROCESS}"]


# Some awks end with 2 where standard error is closed, as it is for the tools of the daemon.
@pytest.mark.parametrize("status", [0, 2])
def test_a_machine_that_shows_nothing_of_itself_has_no_processors_and_no_memory(make_host, pace, status):
    host = make_host(store=WATCHING, cpus=0, processes=[Process(PID, f"/opt/{NAME}", cpu=7)],
                     tools={"awk": Tool(output="", status=status)})
    host.ask("cover", "/proc/meminfo", "")
    assert paced.Paced(host, pace).start().status == 0
    log = host.log()
    place = log.index("Number of CPUs = 0")
    assert log[place + 1:place + 5] == [
        "Cmd:/usr/bin/cat /proc/meminfo | /usr/bin/grep \"^MemTotal\" |/usr/bin/awk '{ print $2 }' ",
        "Output:", f"ReturnCode:{status}", "Total size of Memory = 0"]
    assert f"CPU usage for process {NAME}({PID}) : 7.00 Percent" in log


# ----------------------------------------------------------------------------------------------------------
# Counters
# ----------------------------------------------------------------------------------------------------------

def test_without_memory_for_a_counter_the_rest_of_its_name_waits_for_the_next_pass(faulty):
    rows = [Process(pid, f"/opt/{NAME}", cpu=7) for pid in (100, 200)] + [Process(300, "/opt/otherd", cpu=7)]
    daemon = faulty("memory", processes=rows, store={
        "THHS_MONITOR_CPU": f"{NAME}:80,otherd:80", "THHS_MONITOR_MEMORY": f"{NAME}:80"})
    assert daemon.says()[-4:] == [NO_MEMORY] * 3 + [texts.MONITORING]  # for each name of each list
    refusing.refuse(daemon.host)
    assert a_pass(daemon) == [line for label, row, name in (
        ("CPU", rows[0], NAME), ("CPU", rows[1], NAME), ("CPU", rows[2], "otherd"), ("Memory", rows[0], NAME),
        ("Memory", rows[1], NAME)) for line in texts.added(label, row, name)] + [texts.MONITORING]


# ----------------------------------------------------------------------------------------------------------
# Java dumps
# ----------------------------------------------------------------------------------------------------------

ON_JAVA = {"THHS_MONITOR_CPU": "adminconsole:80", "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_JDK_HOME": "/opt/jdk",
           "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0, **EVERY_PASS}
OF_JAVA = f"adminconsole (PID : {PID})"


@pytest.mark.usefixtures("no_thread_sanitizer")
def test_a_java_process_without_threads_has_each_capture_logged_under_its_configured_name(faulty):
    daemon = faulty("thread of worker", processes=[JAVA], store={
        **ON_JAVA, "THHS_CAPTURE_NETWORK_STAT": 1, "THHS_CAPTURE_DISK_IO": 1})
    assert daemon.says()[-6:] == [
        texts.taking(1, "java", PID),
        f"Error: Failed to create a thread to take a java process snapshot for PID : {PID}",
        f"Error: Failed to create a thread for memory performance data collection for {OF_JAVA}",
        f"Error: Failed to create a thread for network performance data collection for {OF_JAVA}",
        f"Error: Failed to create a thread for disk io performance data collection for {OF_JAVA}",
        f"Error: Failed to create a thread for process specific data collection for {OF_JAVA}"]
    # The folders of the dump are made before its thread.
    folder = f"adminconsole/{PID}"
    assert daemon.host.evidence_paths() == ["adminconsole", folder, f"{folder}/Evidence1",
                                            f"{folder}/evidence.lock"]
    assert not [line for line in daemon.host.shell_lines() if "jcmd" in line]


TEMP = f"{product.BASE}/tmp"
HEAP = f'su root -c "/opt/jdk/bin/jcmd {PID} GC.heap_dump {TEMP}/{PID}dump.hprof"'
THREADS = f'su root -c "/opt/jdk/bin/jcmd {PID} Thread.print > {TEMP}/Thread_dump.log"'
NO_ROOT = "Error: Failed to create evidence folder /evidence/thsentinel"
# The folder goes away under the heap dump, when the other captures have their names, and with it all that the
# thread dump wants to make.
TAKES_THE_EVIDENCE_AWAY = """#!/bin/dash
set=/evidence/thsentinel/adminconsole/*/Evidence1
[ "$2" = Thread.print ] || {
    until ls $set/*.MemoryPerf $set/*.ProcessData; do sleep 0.05; done
    mv /evidence /gone
}
[ "$2" = Thread.print ] && echo threads || echo heap >"$3"
"""


def dumps_of(said):
    """What is said of the two dumps, the times in paths left out."""
    return [texts.without_file_times(entry) for entry in said
            if entry.startswith(("ThreadJava", "Starting to gather", "Cmd:su ", "Cmd:mv ", NO_ROOT))]


def test_dumps_that_find_no_evidence_path_are_reported_and_stay_where_they_were_written(faulty):
    daemon = faulty(processes=[JAVA], store={
        **ON_JAVA, "THHS_VERBOSE": 1, "THHS_CAPTURE_WITHOUT_THRESHOLD": 0})
    host = daemon.host
    host.put("/opt/jdk/bin/jcmd", TAKES_THE_EVIDENCE_AWAY, 0o755)
    host.configure(THHS_CAPTURE_WITHOUT_THRESHOLD=1)
    destination = f"/evidence/thsentinel/adminconsole/{PID}/Evidence1/{PID}_<time>_CPU.hprof"
    move = f'mv -f {TEMP}/{PID}dump.hprof "{destination}"'
    assert dumps_of(a_pass(daemon)) == [
        f"Starting to gather GC.heap_dump for PID : {PID}", f"Cmd:{HEAP}", f"Cmd:{move}",
        f"ThreadJavaProcessDump failed to execute : {move}",
        f"Starting to gather Thread Dump for PID : {PID}",
        NO_ROOT, f"Cmd:{THREADS}",
        f'Cmd:mv -f {TEMP}/Thread_dump.log ""',
        f'ThreadJavaProcessDump failed to execute : mv -f {TEMP}/Thread_dump.log ""']
    assert host.get(f"{TEMP}/{PID}dump.hprof") == "heap\n"
    assert host.get(f"{TEMP}/Thread_dump.log") == "threads\n"


@pytest.mark.parametrize("home", ["", "/no/such"])
def test_a_jdk_that_is_not_there_fails_both_dumps_in_turn_and_moves_nothing(faulty, home):
    daemon = faulty(processes=[JAVA], without=["jcmd"], store={
        **ON_JAVA, "THHS_VERBOSE": 1, "THHS_JDK_HOME": home})
    lines = [line.replace("/opt/jdk", home) for line in (HEAP, THREADS)]
    assert dumps_of(daemon.says()) == [
        f"Starting to gather GC.heap_dump for PID : {PID}", f"Cmd:{lines[0]}",
        f"ThreadJavaProcessDump failed to execute : {lines[0]}",
        f"Starting to gather Thread Dump for PID : {PID}", f"Cmd:{lines[1]}",
        f"ThreadJavaProcessDump failed to execute : {lines[1]}"]


# ----------------------------------------------------------------------------------------------------------
# Log levels
# ----------------------------------------------------------------------------------------------------------

REFUSING_TOOL = """#!/bin/dash
case $* in
    *' -l') printf 'DebugLevel = 2\\nDiagnosticLevel = 3\\n' ;;
    *) exit 1 ;;
esac
"""


def test_a_raise_and_a_restore_that_fail_show_in_the_lines_of_their_commands_alone_and_are_not_tried_again(faulty):
    daemon = faulty(store={**WATCHING, "THHS_INCREASE_LOG_LEVEL": 1})
    host = daemon.host
    host.put(TOOL, REFUSING_TOOL, 0o755)
    host.configure(EVERY_PASS)
    said = [entry for entry in a_pass(daemon) if not texts.is_of_a_capture(entry)]
    asked = f"{TOOL} -p TH -o {NAME} -l | grep"
    assert said[said.index(f'Cmd:{asked} "Debug"'):-1] == [
        f'Cmd:{asked} "Debug"', "Output:DebugLevel = 2\n", "ReturnCode:0",
        f"Original DebugLevel for process {NAME} is : 2.",
        f'Cmd:{asked} "Diag"', "Output:DiagnosticLevel = 3\n", "ReturnCode:0",
        f"Original DiagnosticLevel for process {NAME} is : 3.",
        f"Cmd:{TOOL} -a -p TH -o {NAME} -s DebugLevel=6 -s DiagnosticLevel=6", "Output:", "ReturnCode:1"]
    assert not [entry for entry in a_pass(daemon) if "txlogcfg" in entry]
    host.terminate()
    restore = f'"{TOOL}" -a -p TH -o {NAME} -s DebugLevel=2 -s DiagnosticLevel=3'
    assert host.log()[-6:] == [*texts.STOPPING[:2], f"Cmd:{restore}", "Output:", "ReturnCode:1",
                               texts.STOPPED]
