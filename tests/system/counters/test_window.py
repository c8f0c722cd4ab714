"""The five-reading window, driven by a scripted listing: what fires, when, and what does not."""
import pytest

from host import Process, texts

NAME, PID = "exampled", 4321


def watched(readings, resource="cpu", **more):
    return Process(PID, f"/opt/{NAME} -d", **{resource: readings}, **more)


def watching(make_host, limit, readings, key="THHS_MONITOR_CPU", resource="cpu", cpus=1, **settings):
    """A started host that watches one process of these readings."""
    host = make_host(store={key: f"{NAME}:{limit}", **settings}, processes=[watched(readings, resource)],
                     cpus=cpus)
    host.start()
    return host


def breaches(host):
    """(pass, breach text) of every breach in the log."""
    found, number = [], 0
    for entry in host.log():
        number += entry == texts.MONITORING
        if " threshold exceeded by process : " in entry or " Capturing evidence for process " in entry:
            found.append((number, entry))
    return found


FIRES = {
    "all five readings above the limit":
        (80, [90] * 5 + [0], {}, [(5, 90)]),
    "one above the limit in the last reading and on average":
        (90, [91, 91, 91, 91, 91, 0], {}, [(5, 91)]),
    "low readings before, as long as the average is above":
        (20, [0, 0, 0, 0, 105, 0], {}, [(5, 105)]),
    "a limit of 0":
        (0, [1, 1, 1, 1, 1, 0], {}, [(5, 1)]),
    "the text shows what the comparison cut off":
        (84, [85.99] * 5 + [0], {}, [(5, 85.99)]),
    "always dump drops the average":
        (90, [0, 0, 0, 0, 91, 0], {"THHS_ALWAYS_DUMP": 1}, [(5, 91)]),
}


@pytest.mark.parametrize("limit, readings, settings, expected", FIRES.values(), ids=FIRES.keys())
def test_a_breach_comes_at_the_fifth_reading_and_at_no_other(make_host, limit, readings, settings, expected):
    host = watching(make_host, limit, readings, **settings)
    host.after_pass(7)
    assert breaches(host) == [(number, texts.exceeded("CPU", NAME, PID, limit, usage))
                              for number, usage in expected]


HOLDS_BACK = {
    "the last reading equals the limit": (90, [100, 100, 100, 100, 90, 0], {}),
    "the last reading is below, whatever the average": (90, [100, 100, 100, 100, 81, 0], {}),
    "the average is below": (90, [0, 0, 0, 0, 91, 0], {}),
    "the average equals the limit": (90, [90, 90, 90, 90, 90, 0], {}),
    "the average equals the limit after it is cut": (90, [90, 90, 90, 90, 91, 0], {}),
    "the reading equals the limit after it is cut": (85, [85.99] * 5 + [0], {}),
    "always dump still wants the last reading above":
        (90, [100, 100, 100, 100, 90, 0], {"THHS_ALWAYS_DUMP": 1}),
    "always dump still waits for the fifth reading":
        (90, [100, 100, 100, 100, 0, 0], {"THHS_ALWAYS_DUMP": 1}),
    "the sixth reading is dropped": (50, [0, 0, 0, 0, 0, 10000, 50, 50, 50, 50, 51, 0], {}),
}


@pytest.mark.parametrize("limit, readings, settings", HOLDS_BACK.values(), ids=HOLDS_BACK.keys())
def test_no_breach_comes_when(make_host, limit, readings, settings):
    host = watching(make_host, limit, readings, **settings)
    host.after_pass(len(readings) + 1)
    assert breaches(host) == []
    assert host.evidence_paths() == []
    assert not [entry for entry in host.system_log() if entry.level == "warning"]


def test_the_seventh_reading_opens_a_fresh_window(make_host):
    host = watching(make_host, 50, [0, 0, 0, 0, 0, 0, 51, 51, 51, 51, 51, 0])
    host.after_pass(13)
    assert breaches(host) == [(11, texts.exceeded("CPU", NAME, PID, 50, 51))]


def test_the_window_continues_through_a_breach(make_host):
    host = watching(make_host, 50, [99])
    host.after_pass(12)
    text = texts.exceeded("CPU", NAME, PID, 50, 99)
    assert breaches(host) == [(5, text), (11, text)]
    log = host.log()
    assert [entry for entry in log if entry.startswith("Taking")] == [texts.taking(1, NAME, PID),
                                                                      texts.taking(2, NAME, PID)]


def test_a_breach_beyond_the_dump_count_is_reported_and_collects_nothing(make_host):
    host = watching(make_host, 50, [99], THHS_DUMP_COUNT=1)
    host.after_pass(11)
    text = texts.exceeded("CPU", NAME, PID, 50, 99)
    reached = f"Dump count reached max allowed for process {NAME} : 1"
    assert breaches(host) == [(5, text), (11, text)]
    log = host.log()
    assert log.count(texts.taking(1, NAME, PID)) == 1
    assert log[log.index(reached) - 1] == text
    assert [entry for entry in host.system_log() if entry.level == "warning"] == [
        ("warning", f"<stamp>{text}")] * 2
    assert {path.split("/")[2] for path in host.evidence()} == {"Evidence1"}


def test_capturing_without_a_threshold_fires_on_every_pass_up_to_the_dump_count(make_host):
    host = watching(make_host, 90, [7], THHS_CAPTURE_WITHOUT_THRESHOLD=1, THHS_DUMP_COUNT=3)
    host.after_pass(5)
    text = (f"CPU Capturing evidence for process {NAME} ({PID}) without threshold , Threshold : 90 Percent , "
            "Usage : 7.00 Percent")
    assert breaches(host)[:5] == [(number, text) for number in range(1, 6)]
    log = host.log()
    assert [entry for entry in log if entry.startswith("Taking")] == [
        texts.taking(number, NAME, PID) for number in (1, 2, 3)]
    assert log.count(f"Dump count reached max allowed for process {NAME} : 3") >= 2
    assert not [entry for entry in host.system_log() if entry.level == "warning"]


def test_a_name_taken_from_the_list_has_no_threshold_and_never_fires(make_host):
    host = watching(make_host, 50, [99], THHS_ALWAYS_DUMP=1, THHS_VERBOSE=1)
    host.after_pass(1)
    host.configure(THHS_MONITOR_CPU="otherd:50")
    host.after_pass(7)
    assert breaches(host) == []
    log = host.log()
    assert f"Could not find threshold value for process {NAME}" in log
    assert f"CPU threshold for process {NAME}({PID}) : -1 Percent" in log


def test_without_a_threshold_only_the_capture_of_everything_fires(make_host):
    host = watching(make_host, 50, [99])
    host.after_pass(1)
    host.configure(THHS_MONITOR_CPU="otherd:50", THHS_CAPTURE_WITHOUT_THRESHOLD=1)
    host.log_says(f"CPU Capturing evidence for process {NAME} ({PID}) without threshold , "
                  "Threshold : -1 Percent , Usage : 99.00 Percent")


def test_a_new_limit_applies_in_the_middle_of_a_window(make_host):
    host = watching(make_host, 100, [99])
    host.after_pass(2)
    host.configure(THHS_MONITOR_CPU=f"{NAME}:98")
    host.log_says(texts.exceeded("CPU", NAME, PID, 98, 99))
    assert [number for number, _ in breaches(host)] == [5]


def test_a_processors_share_of_the_reading_is_compared(make_host):
    host = watching(make_host, 49, [200], cpus=4)
    host.log_says(texts.exceeded("CPU", NAME, PID, 49, 50))
    host.after_pass(5)
    assert "Number of CPUs = 4" in host.log()


def test_a_processors_share_below_the_limit_is_no_breach(make_host):
    host = watching(make_host, 50, [200], cpus=4)
    host.after_pass(6)
    assert breaches(host) == []


@pytest.mark.parametrize("unit, resource, reading, usage, label", [
    ("PERCENT", "mem", 61.5, 61.5, "Percent"), ("percent", "mem", 61.5, 61.5, "Percent"),
    ("ABSOLUTE", "rss", 62 * 1024, 62, "MB"), ("absolute", "rss", 62 * 1024, 62, "MB"),
    (None, "rss", 62 * 1024 + 512, 62.5, "MB")])
def test_memory_is_read_in_the_configured_unit(make_host, unit, resource, reading, usage, label):
    settings = {} if unit is None else {"THHS_MEMORY_UNIT": unit}
    host = watching(make_host, 60, [reading], "THHS_MONITOR_MEMORY", resource, cpus=4, **settings)
    host.log_says(texts.exceeded("Memory", NAME, PID, 60, usage, label))
    assert breaches(host) == [(5, texts.exceeded("Memory", NAME, PID, 60, usage, label))]


def test_both_resources_of_one_process_fire_for_themselves_in_order(make_host):
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:50", "THHS_MONITOR_MEMORY": f"{NAME}:10"},
                     processes=[Process(PID, f"/opt/{NAME}", cpu=60, rss=20 * 1024)])
    host.start()
    host.after_pass(5)
    assert breaches(host) == [(5, texts.exceeded("CPU", NAME, PID, 50, 60)),
                              (5, texts.exceeded("Memory", NAME, PID, 10, 20, "MB"))]
    assert [entry for entry in host.log() if entry.startswith("Taking")] == [texts.taking(1, NAME, PID)] * 2


def test_a_failed_reading_counts_as_zero(make_host):
    """In pass 3 the probes see another program under the process id."""
    rows = [Process(PID, f"/opt/{NAME}", cpu=100, last=2),
            Process(PID, f"/opt/{NAME}", cpu=100, first=3, last=3, probed_as="/opt/other"),
            Process(PID, f"/opt/{NAME}", cpu=100, first=4)]
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_VERBOSE": 1}, processes=rows)
    host.start()
    host.after_pass(6)
    assert breaches(host) == []  # the average is exactly 80
    sums = [entry.split(",")[0] for entry in host.log() if entry.startswith("Sum : ")]
    assert sums[:5] == [f"Sum : {value} Percent" for value in (100, 200, 200, 300, 400)]


def test_a_process_that_comes_back_under_a_new_id_starts_anew(make_host):
    rows = [Process(100, f"/opt/{NAME}", cpu=99, last=3), Process(200, f"/opt/{NAME}", cpu=99, first=4)]
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:50", "THHS_VERBOSE": 1}, processes=rows)
    host.start()
    host.after_pass(9)
    assert breaches(host) == [(8, texts.exceeded("CPU", NAME, 200, 50, 99))]
    log = host.log()
    gone = f"ProcessId (100) is not alive. Removing performance counter (Index : 100) {NAME}#100"
    assert log.index(gone) < log.index(f"CPU counter added for process {NAME} with PID - 200 : {NAME}#200")


def test_several_instances_of_one_name_have_a_window_each(make_host):
    rows = [Process(100, f"/opt/{NAME}", cpu=99),
            Process(200, f"/opt/{NAME} second", cpu=[99, 99, 99, 99, 1, 0]),
            Process(300, NAME, cpu=99, first=2)]
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:50"}, processes=rows)
    host.start()
    host.after_pass(6)
    assert breaches(host) == [(5, texts.exceeded("CPU", NAME, 100, 50, 99)),
                              (6, texts.exceeded("CPU", NAME, 300, 50, 99))]


def test_a_verbose_window_shows_every_sum_and_average(make_host):
    readings = [10, 21, 33.9, 0, 7, 1000, 5, 5]
    host = watching(make_host, 90, readings, THHS_VERBOSE=1)
    host.after_pass(8)
    of_process = f"for CPU for process {NAME}({PID})"
    expected = []
    for value, total, number, average in ((10, 10, 1, 10), (21, 31, 2, 15), (33, 64, 3, 21), (0, 64, 4, 16),
                                          (7, 71, 5, 14), (1000, None, None, 0), (5, 5, 1, 5), (5, 10, 2, 5)):
        if total is not None:
            expected.append(f"Sum : {total} Percent, Reading# : {number}, Running Average : {average} "
                            f"Percent {of_process}")
        expected.append(f"Running Average : {average} {of_process}")
    seen = [entry for entry in host.log() if entry.startswith(("Sum : ", "Running Average : "))]
    assert seen[:len(expected)] == expected


def test_the_verbose_lines_of_a_first_pass_come_in_this_order(make_host):
    host = watching(make_host, 80, [90], THHS_VERBOSE=1)
    host.after_pass(1)
    row = f"   {PID} /opt/{NAME} -d\n"
    listing = '/usr/bin/ps -eo pid,command | /usr/bin/egrep "exampled|/usr/tarnv"'
    probe = ('/usr/bin/ps -eo pid,%cpu,command | /usr/bin/egrep "exampled|/usr/tarnv" '
             f'| /usr/bin/grep "^[[:space:]]*\\<{PID}\\>"')
    note = f"{NAME}({PID}) process is running with basename"
    of_process = f"for CPU for process {NAME}({PID})"
    log = host.log()
    start = log.index(f"Cmd:{listing}")
    end = log.index(texts.READING, start)
    assert log[start:end] == [
        f"Cmd:{listing}", f"Output:{row}", "ReturnCode:0", note,
        f"Inserting in to multimap processNameAndIDMap <{NAME} : {PID}> ",
        f"Cmd:{listing}", f"Output:{row}", "ReturnCode:0", note,
        f"Inserting in to multimap processIDAndNameMap <{NAME} : {PID}> ",
        "Inside CounterMgr::AddCounterHelper() for CPU processes.",
        f"GetProcessNameAndProcessIDMap.count({NAME}) : 1 ",
        f"Finding process id {PID} inside mProcessIDAndCouterMap and Not Found.",
        f"CounterName {NAME}#{PID}",
        f"CPU counter added for process {NAME} with PID - {PID} : {NAME}#{PID}",
        texts.MONITORING,
        "Memory unit is ABSOLUTE.",
        f"Cmd:{probe}", f"Output:   {PID}   90 /opt/{NAME} -d\n", "ReturnCode:0",
        f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process {NAME} (Pid {PID}) 90.000000.",
        f"CPU usage for process {NAME}({PID}) : 90.00 Percent",
        f"CPU threshold for process {NAME}({PID}) : 80 Percent",
        f"Sum : 90 Percent, Reading# : 1, Running Average : 90 Percent {of_process}",
        f"Running Average : 90 {of_process}",
        "Memory unit is ABSOLUTE."]


def test_the_next_pass_finds_the_counter_that_is_there(make_host):
    host = watching(make_host, 80, [90], THHS_VERBOSE=1)
    host.after_pass(2)
    log = host.log()
    place = log.index(f"Finding process id {PID} inside mProcessIDAndCouterMap and Found.")
    assert log[place - 3:place + 3] == [
        "Inside CounterMgr::AddCounterHelper() for CPU processes.",
        f"GetProcessNameAndProcessIDMap.count({NAME}) : 1 ",
        f"<{PID}(For CPU) : {NAME} (index : {PID}) >",
        f"Finding process id {PID} inside mProcessIDAndCouterMap and Found.",
        f"CPU counter already added for process {NAME} with PID - {PID} with index : {PID} : {NAME}#{PID}",
        texts.MONITORING]


def test_a_breach_reaches_the_log_first_and_starts_its_captures_after(make_host):
    host = watching(make_host, 80, [90])
    host.after_pass(5)
    log = host.log()
    text = texts.exceeded("CPU", NAME, PID, 80, 90)
    place = log.index(text)
    assert log[place - 1:place + 3] == [texts.MONITORING, text, texts.taking(1, NAME, PID), texts.READING]


def test_deadlock_lists_are_accepted_and_watch_nothing(make_host):
    host = make_host(store={"THHS_MONITOR_DEADLOCK": NAME, "THHS_CAPTURE_WITHOUT_THRESHOLD": 1},
                     processes=[watched([99])])
    host.start()
    host.after_pass(2)
    log = host.log()
    assert f"Process {NAME} requested monitoring for Deadlock conditions." in log
    assert not [entry for entry in log if "counter added" in entry or "Taking" in entry]
