"""What a counter keeps from pass to pass, and what it takes for a reading."""
import pytest

from host import Process, texts

NAME, PID = "exampled", 4321
WATCHED = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_VERBOSE": 1}
QUIET_CAPTURES = {"THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0}
EVERY_PASS = {"THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 10, **QUIET_CAPTURES}


def said_by(daemon, *beginnings, **changes):
    """What the next pass says that begins like this."""
    return [entry for entry in daemon.next_pass(**changes) if entry.startswith(beginnings)]


# ----------------------------------------------------------------------------------------------------------
# Readings
# ----------------------------------------------------------------------------------------------------------

def unsigned(number):
    """How a number is shown that may be below zero."""
    return number % 2 ** 64


# What ps shows for its column; the reading; the sum of what is left of it without its fraction, the average.
READINGS = [("-5.9", -5.9, -5, -5), ("-0.9", -0.9, -5, -2), ("12abc", 12, 7, 2), ("0x10", 16, 23, 5),
            ("1e2", 100, 123, 24)]


@pytest.mark.parametrize("distribution", ["none", "redhat"])
def test_a_reading_is_the_number_that_a_column_begins_with_and_counts_without_its_fraction(live,
                                                                                           distribution):
    daemon = live(store=WATCHED, distribution=distribution,
                  processes=[Process(PID, f"/opt/{NAME}", cpu=[shown for shown, *_ in READINGS])])
    for _ in READINGS[1:]:
        daemon.next_pass()
    of_process = f"for CPU for process {NAME}({PID})"
    log = daemon.host.log()
    assert [entry for entry in log if entry.startswith(("CPU usage", "Sum :", "Running"))] == [
        line for number, (_, usage, total, average) in enumerate(READINGS, start=1) for line in (
            f"CPU usage for process {NAME}({PID}) : {usage:.2f} Percent",
            f"Sum : {unsigned(total)} Percent, Reading# : {number}, Running Average : {unsigned(average)} "
            f"Percent {of_process}",
            f"Running Average : {unsigned(average)} {of_process}")]
    assert [entry for entry in log if " exceeded " in entry] == []


@pytest.mark.parametrize("readings, apart", [(3, 2), (7, 10)])
def test_the_window_has_five_readings_a_pass_apart_whatever_the_captures_take(live, readings, apart):
    daemon = live(store={**WATCHED, **QUIET_CAPTURES, "THHS_NUMBER_OF_READINGS": readings,
                         "THHS_READING_INTERVAL": apart},
                  processes=[Process(PID, f"/opt/{NAME}", cpu=90)])
    for _ in range(12):
        daemon.next_pass()
    log = daemon.host.log()
    assert [entry.partition("Reading# : ")[2][0] for entry in log if entry.startswith("Sum : ")] == [
        *"12345", *"12345", "1"]
    assert [entry for entry in log if " exceeded " in entry] == [
        texts.exceeded("CPU", NAME, PID, 80, 90)] * 2
    assert daemon.sleeps() == [1] * 13


# ----------------------------------------------------------------------------------------------------------
# What a counter keeps
# ----------------------------------------------------------------------------------------------------------

def reached(number):
    return f"Dump count reached max allowed for process {NAME} : {number}"


def test_sets_are_counted_through_reloads_and_quiet_passes(live):
    daemon = live(store={**EVERY_PASS, "THHS_MONITOR_CPU": f"{NAME}:80", "THHS_DUMP_COUNT": 1},
                  processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    looked_at = ("Taking ", "Dump count ")
    assert [entry for entry in daemon.says() if entry.startswith(looked_at)] == [texts.taking(1, NAME, PID)]
    assert said_by(daemon, *looked_at) == [reached(1)]
    assert said_by(daemon, *looked_at, THHS_DUMP_COUNT=2) == [texts.taking(2, NAME, PID)]
    assert said_by(daemon, *looked_at) == [reached(2)]
    assert said_by(daemon, *looked_at, THHS_DUMP_COUNT=1) == [reached(1)]
    for _ in range(6):
        assert said_by(daemon, *looked_at, THHS_CAPTURE_WITHOUT_THRESHOLD=0) == []
    assert said_by(daemon, *looked_at, THHS_CAPTURE_WITHOUT_THRESHOLD=1, THHS_DUMP_COUNT=3) == [
        texts.taking(3, NAME, PID)]
    assert {path.split("/")[2] for path in daemon.host.evidence()} == {"Evidence1", "Evidence2", "Evidence3"}


def test_an_id_that_another_watched_process_takes_over_keeps_its_counter_which_reads_nothing(live):
    daemon = live(store={**WATCHED, **EVERY_PASS, "THHS_MONITOR_CPU": f"{NAME}:80,otherd:80"}, processes=[
        Process(PID, f"/opt/{NAME}", cpu=90, last=1), Process(PID, "/opt/otherd", cpu=90, first=2)])
    daemon.captures_end()
    found = said_by(daemon, "CPU ", "ProcessId ", "Sum : ", "Taking ")
    of_process = f"for CPU for process {NAME}({PID})"
    assert found == [
        f"CPU counter already added for process otherd with PID - {PID} with index : {PID} : {NAME}#{PID}",
        f"CPU usage for process {NAME}({PID}) : 0.00 Percent",
        f"CPU threshold for process {NAME}({PID}) : 80 Percent",
        f"Sum : 90 Percent, Reading# : 2, Running Average : 45 Percent {of_process}",
        f"CPU Capturing evidence for process {NAME} ({PID}) without threshold , Threshold : 80 Percent , "
        "Usage : 0.00 Percent",
        texts.taking(2, NAME, PID)]


def test_a_process_has_gone_when_it_is_listed_no_more_though_it_lives(live):
    daemon = live(store=WATCHED)
    host = daemon.host
    host.shell(f"cp /bin/sleep /opt/{NAME}")
    pid = host.spawn(f"/opt/{NAME}", "100000")
    host.show(Process(pid, f"/opt/{NAME} 100000", cpu=7))
    assert said_by(daemon, "CPU counter added") == [texts.added("CPU", Process(pid, ""), NAME)[1]]
    host.show()
    assert said_by(daemon, "ProcessId ", "CPU ") == [
        f"ProcessId ({pid}) is not alive. Removing performance counter (Index : {pid}) {NAME}#{pid}"]
    assert host.process_of(pid)
    host.show(Process(pid, f"/opt/{NAME} 100000", cpu=7))
    host.kill(pid)
    host.until(lambda: (host.process_of(pid) or {"state": "Z"})["state"] == "Z", "the process ends")
    assert said_by(daemon, "ProcessId ", "CPU counter added", "CPU usage") == [
        texts.added("CPU", Process(pid, ""), NAME)[1], f"CPU usage for process {NAME}({pid}) : 7.00 Percent"]
