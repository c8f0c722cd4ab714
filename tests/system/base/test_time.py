"""The local time in names and stamps: midnight, clocks that jump, centuries, and zones with summer time.

The daemon lives on a clock of its own (libfaketime), which stands still until the test sets it; the zone is
the host's /etc/localtime. So every stamp and every name is known to the last digit.
"""
import datetime
import glob
import os

import pytest

from host import Process, paced, product, scripted, texts

CLOCK = scripted.SCENARIO + "/clock"
ZONES = "/usr/share/zoneinfo/"
NAME, PID = "exampled", 4321
SUFFIXES = ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData"]


@pytest.fixture(scope="module")
def fake_clock():
    """The library that fakes the time, in its form for programs with threads."""
    found = glob.glob("/usr/lib/*/faketime/libfaketimeMT.so.1")
    if not found:
        pytest.skip("no libfaketime (package libfaketime)")
    return found[0]


def seconds_of(moment):
    """Seconds since 1970 of a moment in UTC, its fraction kept as it is written."""
    whole, _, fraction = moment.partition(".")
    since = datetime.datetime.fromisoformat(whole + "+00:00").timestamp()
    return f"{since:.0f}" + (f".{fraction}" if fraction else "")


class Life:
    """A paced daemon on a clock that the test sets."""

    def __init__(self, host, pace, fake_clock, zone):
        if not os.path.exists(ZONES + zone):
            pytest.skip(f"no zone {zone} (package tzdata)")
        self.host = host
        host.remove("/etc/localtime")
        host.ask("link", ZONES + zone, "/etc/localtime")
        self.daemon = paced.Paced(host, pace, [fake_clock], FAKETIME_TIMESTAMP_FILE=CLOCK, FAKETIME_FMT="%s",
                                  FAKETIME_NO_CACHE="1", FAKETIME_DONT_FAKE_MONOTONIC="1", NO_FAKE_STAT="1")

    def begin(self, moment):
        self.host.put(CLOCK, seconds_of(moment) + "\n")
        assert self.daemon.start().status == 0
        self.daemon.captures_end()

    def go_on(self, moment):
        self.host.put(CLOCK, seconds_of(moment) + "\n")
        assert self.daemon.step(), self.host.report("the daemon is gone")
        self.daemon.captures_end()


@pytest.fixture
def make_life(make_host, pace, fake_clock, monkeypatch):
    monkeypatch.delenv("TZ", raising=False)
    return lambda zone, **description: Life(make_host(**description), pace, fake_clock, zone)


# The milliseconds of a stamp are cut off, not rounded. The fractions lie between two of them, since the faked
# clock may be some microseconds short of what it was set to.
#
# Zone, and by pass: the moment in UTC, the log file, the stamp, the time in the names of evidence.
LIVES = {
    "midnight between two lines": ("Etc/UTC", [
        ("2026-11-20 23:59:59.75", "112026", "2026-11-20 23:59:59:750", "20-11_23.59.59"),
        ("2026-11-21 00:00:00", "112126", "2026-11-21 00:00:00:000", "21-11_00.00.00")]),
    "midnight of the zone": ("Asia/Tokyo", [
        ("2026-11-20 14:59:59", "112026", "2026-11-20 23:59:59:000", "20-11_23.59.59"),
        ("2026-11-20 15:00:01", "112126", "2026-11-21 00:00:01:000", "21-11_00.00.01")]),
    "no midnight at that of another zone": ("America/Los_Angeles", [
        ("2026-11-20 23:59:59", "112026", "2026-11-20 15:59:59:000", "20-11_15.59.59"),
        ("2026-11-21 00:00:00", "112026", "2026-11-20 16:00:00:000", "20-11_16.00.00")]),
    "5 March": ("Etc/UTC", [
        ("2026-03-05 07:08:09.0625", "030526", "2026-03-05 07:08:09:062", "05-03_07.08.09"),
        ("2026-03-05 07:08:10.03125", "030526", "2026-03-05 07:08:10:031", "05-03_07.08.10")]),
    "5 March of another year": ("Etc/UTC", [
        ("2021-03-05 23:59:59", "030521", "2021-03-05 23:59:59:000", "05-03_23.59.59"),
        ("2021-03-06 00:00:00", "030621", "2021-03-06 00:00:00:000", "06-03_00.00.00")]),
    "a leap day": ("Etc/UTC", [
        ("2028-02-28 23:59:59", "022828", "2028-02-28 23:59:59:000", "28-02_23.59.59"),
        ("2028-02-29 00:00:00", "022928", "2028-02-29 00:00:00:000", "29-02_00.00.00"),
        ("2028-03-01 00:00:00", "030128", "2028-03-01 00:00:00:000", "01-03_00.00.00")]),
    "the year 2100": ("Etc/UTC", [
        ("2099-12-31 23:59:59.5", "123199", "2099-12-31 23:59:59:500", "31-12_23.59.59"),
        ("2100-01-01 00:00:00", "010100", "2100-01-01 00:00:00:000", "01-01_00.00.00"),
        ("2100-02-28 23:59:59", "022800", "2100-02-28 23:59:59:000", "28-02_23.59.59"),
        ("2100-03-01 00:00:00", "030100", "2100-03-01 00:00:00:000", "01-03_00.00.00")]),
    "the end of the seconds of 32 bits": ("Etc/UTC", [
        ("2038-01-19 03:14:07", "011938", "2038-01-19 03:14:07:000", "19-01_03.14.07"),
        ("2038-01-19 03:14:08", "011938", "2038-01-19 03:14:08:000", "19-01_03.14.08")]),
    "a clock that jumps back an hour": ("Etc/UTC", [
        ("2026-11-20 12:00:00", "112026", "2026-11-20 12:00:00:000", "20-11_12.00.00"),
        ("2026-11-20 11:00:00", "112026", "2026-11-20 11:00:00:000", "20-11_11.00.00")]),
    "a clock that jumps back over midnight": ("Etc/UTC", [
        ("2026-11-20 23:59:58", "112026", "2026-11-20 23:59:58:000", "20-11_23.59.58"),
        ("2026-11-21 00:00:05", "112126", "2026-11-21 00:00:05:000", "21-11_00.00.05"),
        ("2026-11-20 23:59:59", "112026", "2026-11-20 23:59:59:000", "20-11_23.59.59"),
        ("2026-11-21 00:00:06", "112126", "2026-11-21 00:00:06:000", "21-11_00.00.06")]),
    "a clock that jumps back by years": ("Etc/UTC", [
        ("2026-11-20 12:00:00", "112026", "2026-11-20 12:00:00:000", "20-11_12.00.00"),
        ("1999-12-31 23:59:59", "123199", "1999-12-31 23:59:59:000", "31-12_23.59.59")]),
    "summer time begins": ("Europe/Berlin", [
        ("2024-03-31 00:59:59", "033124", "2024-03-31 01:59:59:000", "31-03_01.59.59"),
        ("2024-03-31 01:00:00", "033124", "2024-03-31 03:00:00:000", "31-03_03.00.00")]),
    "summer time ends and an hour comes twice": ("Europe/Berlin", [
        ("2024-10-27 00:30:00", "102724", "2024-10-27 02:30:00:000", "27-10_02.30.00"),
        ("2024-10-27 01:00:00", "102724", "2024-10-27 02:00:00:000", "27-10_02.00.00"),
        ("2024-10-27 01:30:01", "102724", "2024-10-27 02:30:01:000", "27-10_02.30.01")]),
    "summer time begins by half an hour": ("Australia/Lord_Howe", [
        ("2024-10-05 15:29:59", "100624", "2024-10-06 01:59:59:000", "06-10_01.59.59"),
        ("2024-10-05 15:30:00", "100624", "2024-10-06 02:30:00:000", "06-10_02.30.00")]),
    "summer time begins at midnight, which never comes": ("America/Santiago", [
        ("2024-09-08 03:59:59", "090724", "2024-09-07 23:59:59:000", "07-09_23.59.59"),
        ("2024-09-08 04:00:00", "090824", "2024-09-08 01:00:00:000", "08-09_01.00.00")]),
    "summer time ends at midnight, and the day goes on": ("America/Santiago", [
        ("2024-04-07 02:59:59", "040624", "2024-04-06 23:59:59:000", "06-04_23.59.59"),
        ("2024-04-07 03:00:00", "040624", "2024-04-06 23:00:00:000", "06-04_23.00.00"),
        ("2024-04-07 04:00:00", "040724", "2024-04-07 00:00:00:000", "07-04_00.00.00")]),
}


def lines_of_pass(host, number):
    """What a pass writes that breaches in any case; the first has the lines of the start before it."""
    memory = dict(line.split()[:2] for line in host.get("/proc/meminfo").splitlines())
    load = texts.load(host.store)
    start = [*load, texts.STARTED, *load, "Number of CPUs = 1",
             f"Total size of Memory = {memory['MemTotal:']}",
             *texts.added("CPU", Process(PID, NAME), NAME)]
    return [*(start if number == 1 else load), texts.MONITORING,
            f"CPU Capturing evidence for process {NAME} ({PID}) without threshold , Threshold : 90 Percent , "
            "Usage : 7.00 Percent", texts.taking(number, NAME, PID)]


@pytest.mark.parametrize("zone, moments", LIVES.values(), ids=LIVES.keys())
def test_every_line_and_every_file_bears_the_local_time_of_its_moment(make_life, zone, moments):
    life = make_life(zone, processes=[Process(PID, f"/opt/{NAME}", cpu=7)],
                     store={"THHS_MONITOR_CPU": f"{NAME}:90", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
                            "THHS_DUMP_COUNT": 10})
    log, evidence = {}, {f"{NAME}/{PID}/evidence.lock"}
    for number, (moment, day, stamp, time_of_name) in enumerate(moments, start=1):
        (life.begin if number == 1 else life.go_on)(moment)
        name = f"root.{day}_00001.log"
        log[name] = log.get(name, "") + "".join(f"{stamp} - {line}\n"
                                                for line in lines_of_pass(life.host, number))
        evidence |= {f"{NAME}/{PID}/Evidence{number}/{PID}_{time_of_name}_CPU.{suffix}"
                     for suffix in SUFFIXES}
    assert life.host.ask("files", product.LOGS) == log
    assert set(life.host.ask("files", "/evidence/thsentinel")) == evidence


def test_a_clock_that_jumps_does_not_touch_the_window(make_life):
    life = make_life("Etc/UTC", processes=[Process(PID, f"/opt/{NAME}", cpu=91)],
                     store={"THHS_MONITOR_CPU": f"{NAME}:90"})
    life.begin("2026-11-20 12:00:00")
    for moment in ("2026-11-20 12:00:01", "2031-01-01 00:00:00", "2026-11-19 23:00:00"):
        life.go_on(moment)
        assert not [entry for entry in life.host.system_log() if entry.level == "warning"]
    life.go_on("2026-03-05 04:05:06.75")
    text = texts.exceeded("CPU", NAME, PID, 90, 91)
    life.host.system_log_says("warning", f"<stamp>{text}")
    line = f"2026-03-05 04:05:06:750 - {text}"
    assert f"{line}\n" in life.host.get(f"{product.LOGS}/root.030526_00001.log")
    assert [one for one in life.host.ask("datagrams") if one.endswith(f": {line}")]


def test_two_sets_of_one_second_share_their_files(make_life):
    """After a restart the numbers begin again, and on a clock that stands the names are the same."""
    life = make_life("Etc/UTC", processes=[Process(PID, f"/opt/{NAME}", cpu=7)],
                     store={"THHS_MONITOR_CPU": f"{NAME}:90", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
                            "THHS_DUMP_COUNT": 1})
    life.begin("2026-11-20 12:00:00")
    path = f"/evidence/thsentinel/{NAME}/{PID}/Evidence1/{PID}_20-11_12.00.00_CPU.DiskPerf_mpstat"
    section = texts.section("/usr/bin/mpstat 1 1", "mpstat says: 1 1\n")
    assert life.host.get(path) == section
    life.host.terminate()
    life.begin("2026-11-20 12:00:00")
    assert life.host.get(path) == section * 2


@pytest.mark.parametrize("zone, day, stamp", [("Pacific/Kiritimati", "112126", "2026-11-21 02:00:00:000"),
                                              ("Pacific/Pago_Pago", "112026", "2026-11-20 01:00:00:000")])
def test_the_console_part_of_a_start_uses_the_zone_of_the_host_too(make_life, zone, day, stamp):
    life = make_life(zone, store={"THHS_POLL_INTERVAL": 0})
    life.host.put(CLOCK, seconds_of("2026-11-20 12:00:00") + "\n")
    assert life.daemon.start().status == 8
    complaint = "Invalid value for THHS_POLL_INTERVAL : 0. Value should be greater than 0."
    assert life.host.ask("files", product.LOGS) == {
        f"root.{day}_00001.log": f"{stamp} - {texts.READING}\n{stamp} - {complaint}\n"}
