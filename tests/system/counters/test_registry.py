"""Who is watched from pass to pass, line by line: names that come and go, processes that end and return."""
from host import Process, product, texts

NAME = "exampled"
CPU, MEMORY = "THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY"
VERBOSE = {"THHS_VERBOSE": 1}
FEW_CAPTURES = {"THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0}
BARE_PASS = [texts.MONITORING, "Memory unit is ABSOLUTE.", "Memory unit is ABSOLUTE."]
TRACES = ("Cmd:", "Output:", "ReturnCode:")  # of a shell line


def of_pass(host, entries, *beginnings):
    """What the latest pass said, the load and the traces of shell lines left out; or what begins like this."""
    end_of_load = texts.end_of_load(host.store)[-1]
    latest = entries[len(entries) - entries[::-1].index(end_of_load):]
    found = [one for one in latest if not one.startswith(TRACES) and "running with basename" not in one]
    return [one for one in found if one.startswith(beginnings)] if beginnings else found


def first_pass(daemon, *beginnings):
    return of_pass(daemon.host, daemon.says(), *beginnings)


def next_pass(daemon, *beginnings, **changes):
    return of_pass(daemon.host, daemon.next_pass(**changes), *beginnings)


def removed(pid):
    return [f"ProcessId ({pid}) is not alive. Removing performance counter (Index : {pid}) {NAME}#{pid}",
            f"Removing from ProcessIDAndCouterMap Process {NAME} (PID : {pid}) with Counter Index : {pid} and "
            f"Counter Name {NAME}#{pid}"]


def in_tables(pid):
    return [f"Inserting in to multimap {table}"
            for table in (f"processNameAndIDMap <{NAME} : {pid}> ", f"processIDAndNameMap <{NAME} : {pid}> ")]


def counted(pid, total, number, average):
    return (f"Sum : {total} Percent, Reading# : {number}, Running Average : {average} Percent for CPU for "
            f"process {NAME}({pid})")


# ----------------------------------------------------------------------------------------------------------
# Names
# ----------------------------------------------------------------------------------------------------------

def listings(host):
    return [line for line in host.shell_lines() if " -eo pid,command " in line]


def listing(names):
    return f'/usr/bin/ps -eo pid,command | /usr/bin/egrep "{names}"'


def test_a_name_that_leaves_its_list_is_looked_for_until_the_daemon_ends(live):
    daemon = live(store={CPU: f"{NAME}:50"})
    assert listings(daemon.host) == [listing(f"{NAME}|/usr/tarnv")] * 2
    next_pass(daemon, **{CPU: "otherd:50"})
    next_pass(daemon, **{CPU: None})
    assert listings(daemon.host)[2:] == [listing(f"{NAME}|otherd|/usr/tarnv")] * 4
    daemon.host.terminate()
    daemon.host.configure({MEMORY: "thirdd:50"})
    assert daemon.start().status == 0
    assert listings(daemon.host)[6:] == [listing("thirdd|/usr/tarnv")] * 2


def test_without_a_listed_name_a_pass_adds_nothing_and_cleans_nothing_up(live):
    daemon = live(store={**VERBOSE, "THHS_MONITOR_DEADLOCK": NAME}, processes=[
        Process(100, f"/opt/{NAME}", last=1), Process(200, f"{product.BASE}/bin/idle", last=1)])
    both = in_tables(100) + ["Inserting in to multimap processIDAndNameMap <idle : 200> "]
    assert first_pass(daemon)[-len(both + BARE_PASS):] == both + BARE_PASS
    assert next_pass(daemon) == BARE_PASS


def test_a_name_without_a_process_cleans_up_and_adds_nothing(live):
    daemon = live(store={**VERBOSE, CPU: f"{NAME}:50"}, processes=[Process(100, f"/opt/{NAME}", last=1)])
    traced = ["Inside CounterMgr::AddCounterHelper() for CPU processes.",
              "GetProcessNameAndProcessIDMap.count(ghostd) : 0 ", *BARE_PASS]
    assert next_pass(daemon, **{CPU: "ghostd:50"}) == removed(100) + traced
    assert next_pass(daemon) == traced


# ----------------------------------------------------------------------------------------------------------
# Processes that end
# ----------------------------------------------------------------------------------------------------------

def test_the_counters_of_all_processes_go_in_two_passes_and_take_window_and_dump_count_along(live):
    rows = [Process(pid, f"/opt/{NAME}", cpu=90, **more) for pid in (100, 200, 300)
            for more in ({"last": 1}, {"first": 4})]
    daemon = live(store={**VERBOSE, **FEW_CAPTURES, CPU: f"{NAME}:50", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
                         "THHS_DUMP_COUNT": 1}, processes=rows)
    looked_at = ("ProcessId (", "Removing from ", "Sum : ", "Taking ", "Dump count reached ")
    first = [line for pid in (100, 200, 300) for line in (counted(pid, 90, 1, 90), texts.taking(1, NAME, pid))]
    assert first_pass(daemon, *looked_at) == first
    assert next_pass(daemon, *looked_at) == [
        *removed(100), *removed(300), counted(200, 90, 2, 45),
        f"Dump count reached max allowed for process {NAME} : 1"]
    assert next_pass(daemon, *looked_at) == removed(200)
    assert next_pass(daemon, *looked_at) == first


def test_a_resource_without_a_list_keeps_the_counters_of_the_dead(live):
    daemon = live(store={**VERBOSE, CPU: f"{NAME}:50", MEMORY: f"{NAME}:50"},
                  processes=[Process(100, f"/opt/{NAME}", cpu=40, rss=20 * 1024, last=1)])
    looked_at = ("ProcessId (", "CPU usage ", "Memory usage ")
    of_process = f"usage for process {NAME}(100)"
    assert first_pass(daemon, *looked_at) == [f"CPU {of_process} : 40.00 Percent", f"Memory {of_process} : 20.00 MB"]
    kept = f"CPU {of_process} : 0.00 Percent"
    assert next_pass(daemon, *looked_at, **{CPU: None}) == [removed(100)[0], kept]
    assert next_pass(daemon, *looked_at) == [kept]
    assert next_pass(daemon, *looked_at, **{CPU: "otherd:50"}) == [removed(100)[0]]


def test_a_counter_is_removed_silently_unless_verbose(live):
    process = Process(100, f"/opt/{NAME}", cpu=40, last=1)
    again = Process(100, f"/opt/{NAME}", cpu=40, first=3)
    daemon = live(store={CPU: f"{NAME}:50"}, processes=[process, again])
    added = [*texts.added("CPU", process, NAME), texts.MONITORING]
    assert first_pass(daemon)[-len(added):] == added
    assert next_pass(daemon) == [texts.MONITORING]
    assert next_pass(daemon) == added


# ----------------------------------------------------------------------------------------------------------
# New counters and managers
# ----------------------------------------------------------------------------------------------------------

def test_a_counter_that_comes_later_begins_with_its_own_first_reading(live):
    daemon = live(store={**VERBOSE, CPU: f"{NAME}:99"}, processes=[
        Process(100, f"/opt/{NAME}", cpu=10), Process(200, f"/opt/{NAME}", cpu=70, first=3)])
    assert first_pass(daemon, "Sum : ") == [counted(100, 10, 1, 10)]
    assert next_pass(daemon, "Sum : ") == [counted(100, 20, 2, 10)]
    assert next_pass(daemon, "Sum : ") == [counted(100, 30, 3, 10), counted(200, 70, 1, 70)]


def test_each_manager_starts_empty_and_bears_its_label(live):
    daemon = live(store={**VERBOSE, CPU: f"{NAME}:99", MEMORY: f"{NAME}:99"},
                  processes=[Process(100, f"/opt/{NAME}")])

    def registry(known):
        for label in ("CPU", "Memory"):
            yield f"Inside CounterMgr::AddCounterHelper() for {label} processes."
            if known:
                yield f"<100(For {label}) : {NAME} (index : 100) >"
            yield f"Finding process id 100 inside mProcessIDAndCouterMap and {'' if known else 'Not '}Found."

    looked_at = ("Inside ", "<", "Finding ")
    assert first_pass(daemon, *looked_at) == list(registry(known=False))
    assert next_pass(daemon, *looked_at) == list(registry(known=True))
