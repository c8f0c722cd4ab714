"""The order of work from a start through passes: the whole log, and all lines for a shell."""
import pytest

from host import Process, Tool, paced, texts

PROCESSES = [Process(100, "/opt/exampled -d", cpu=90, rss=92160),
             Process(200, "/opt/otherd", cpu=7, rss=5120)]
NAMES = {100: "exampled", 200: "otherd"}
LIMITS = {"CPU": {100: 80, 200: 70}, "Memory": {100: 60, 200: 50}}
UNITS = {"CPU": "Percent", "Memory": "MB"}
BOTH = {"THHS_MONITOR_CPU": "otherd:70,exampled:80", "THHS_MONITOR_MEMORY": "exampled:60,otherd:50"}
KEYS = ["THHS_MEMORY_UNIT", "THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY", "THHS_MONITOR_DEADLOCK",
        "THHS_POLL_INTERVAL", "THHS_DUMP_COUNT", "THHS_CAPTURE_NETWORK_STAT", "THHS_DEADLOCK_INTERVAL",
        "THHS_INCREASE_LOG_LEVEL", "THHS_CAPTURE_PROCESS_DUMP", "THHS_ALWAYS_DUMP", "THHS_CAPTURE_DISK_IO",
        "_FORCE_READING_INTERVAL_", "THHS_NUMBER_OF_READINGS", "THHS_READING_INTERVAL",
        "THHS_PURGE_OLD_EVIDENCE", "THHS_CAPTURE_WITHOUT_THRESHOLD", "THHS_JDK_HOME", "THHS_EVIDENCE_PATH",
        "THHS_VERBOSE"]
LISTS = ("THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY")


LISTING = texts.listing_line("exampled|otherd")
PROBES = {label: {pid: texts.probe_line(column, "exampled|otherd", pid) for pid in NAMES}
          for label, column in (("CPU", "%cpu"), ("Memory", "rss"))}
PROCESSORS = '/usr/bin/cat /proc/cpuinfo | /usr/bin/grep "^processor" |/usr/bin/wc -l'
MEMORY = "/usr/bin/cat /proc/meminfo | /usr/bin/grep \"^MemTotal\" |/usr/bin/awk '{ print $2 }' "
PURGE = "rm -f /evidence/thsentinel"


def traced_load(store):
    """A load that is traced: each key that is absent has its line, in the order in which keys are read."""
    found, end = [texts.READING], texts.end_of_load(store)
    for key in KEYS:
        if key not in store:
            found.append(f"{key} not defined in Tarnhaven configuration.")
        if key in LISTS and key in store:
            found += texts.listed({key: store[key]})
        found += {"THHS_JDK_HOME": [texts.JDK_NOT_SET], "THHS_EVIDENCE_PATH": end[:1]}.get(key, [])
    return found + end[1:]


def tables():
    """The two tables are read one after the other, each from a listing of its own."""
    rows = "    100 /opt/exampled -d\n    200 /opt/otherd\n"
    for table in ("processNameAndIDMap", "processIDAndNameMap"):
        yield from texts.traced(LISTING, rows)
        for pid, name in NAMES.items():
            yield f"{name}({pid}) process is running with basename"
            yield f"Inserting in to multimap {table} <{name} : {pid}> "


def registration(label, known):
    """A manager looks for its names, in their order; what it knows it shows before it looks for an id."""
    for pid, name in NAMES.items():
        yield f"Inside CounterMgr::AddCounterHelper() for {label} processes."
        yield f"GetProcessNameAndProcessIDMap.count({name}) : 1 "
        for one in sorted(known):
            yield f"<{one}(For {label}) : {NAMES[one]} (index : {one}) >"
        found = "Found" if pid in known else "Not Found"
        yield f"Finding process id {pid} inside mProcessIDAndCouterMap and {found}."
        if pid in known:
            yield (f"{label} counter already added for process {name} with PID - {pid} with index : {pid} : "
                   f"{name}#{pid}")
        else:
            yield from texts.added(label, Process(pid, ""), name)
        known = known | {pid}


READINGS = {"CPU": {100: 90, 200: 7}, "Memory": {100: 90, 200: 5}}
ROWS = {"CPU": {100: "    100   90 /opt/exampled -d\n", 200: "    200    7 /opt/otherd\n"},
        "Memory": {100: "    100 92160 /opt/exampled -d\n", 200: "    200  5120 /opt/otherd\n"}}


def reading(label, pid):
    """What a manager says of a reading itself."""
    value, name = READINGS[label][pid], NAMES[pid]
    if label == "CPU":
        return (f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process {name} (Pid {pid}) "
                f"{value}.000000.")
    return f"MemoryCounterMgr::ReadCounterIndexValue Memory Usage : {value}.00 MB for process {name} ."


def evaluation(label, number):
    """A manager reads its counters in the order of their ids, each with its place in the window."""
    yield "Memory unit is ABSOLUTE."
    for pid, name in NAMES.items():
        value, unit = READINGS[label][pid], UNITS[label]
        of_process = f"for {label} for process {name}({pid})"
        yield from texts.traced(PROBES[label][pid], ROWS[label][pid])
        yield reading(label, pid)
        yield f"{label} usage for process {name}({pid}) : {value}.00 {unit}"
        yield f"{label} threshold for process {name}({pid}) : {LIMITS[label][pid]} {unit}"
        yield (f"Sum : {value * number} {unit}, Reading# : {number}, Running Average : {value} {unit} "
               f"{of_process}")
        yield f"Running Average : {value} {of_process}"


def a_pass(number):
    known = set(NAMES) if number > 1 else set()
    return [*tables(), *registration("CPU", known), *registration("Memory", known), texts.MONITORING,
            *evaluation("CPU", number), *evaluation("Memory", number)]


# Some awks end with 2 where standard error is closed, as it is for the tools of the daemon.
@pytest.mark.parametrize("status_of_awk", [0, 2])
def test_a_verbose_start_and_its_passes_have_this_log_and_these_commands(live, status_of_awk):
    """The settings of the foreground come along into the daemon, so its first load is traced already."""
    daemon = live(store={**BOTH, "THHS_VERBOSE": 1, "THHS_PURGE_OLD_EVIDENCE": 1}, processes=PROCESSES,
                  tools={"awk": Tool(output="2048\n", status=status_of_awk)})
    host = daemon.host
    assert daemon.step() and daemon.step()
    purge = [f"Trying to clean up older evidences. Command : {PURGE}", *texts.traced(PURGE, "", 1),
             "Successfully purged older evidences collected during last runs."]
    traced = traced_load(host.store)
    assert host.log() == [
        *texts.load(host.store), texts.STARTED, *traced,
        *texts.traced(PROCESSORS, "1\n"), "Number of CPUs = 1",
        *texts.traced(MEMORY, "2048\n", status_of_awk), "Total size of Memory = 2048",
        *purge, *a_pass(1), *traced, *a_pass(2), *traced, *a_pass(3)]
    probes = [PROBES[label][pid] for label in PROBES for pid in NAMES]
    assert host.shell_lines() == [PROCESSORS, MEMORY, PURGE, *([LISTING] * 2 + probes) * 3]
    assert host.system_log() == [texts.ENTRY, texts.UP]


@pytest.mark.parametrize("awk", ["gawk", "mawk", "original-awk"])
def test_the_size_of_the_memory_is_the_same_with_every_awk(make_host, pace, awk):
    host = make_host()
    host.remove("/usr/bin/awk")
    host.ask("link", awk, "/usr/bin/awk")
    assert paced.Paced(host, pace).start().status == 0
    assert host.log()[-3:-1] == host.machine_lines()
