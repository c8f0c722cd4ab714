"""Captures that take their time: the names, settings and folders that each uses, what runs beside it."""
import pytest

from host import Process, paced, scripted, texts

NAME, PID = "exampled", 4321
CONSOLE = Process(PID, "/opt/jre/bin/java tarn.thx.AdminConsole", cpu=7)
ROOT = "/evidence/thsentinel"
# Every pass is a breach.
EVERY_PASS = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 10}
SUFFIXES = ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData"]
FEW = {"THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0}
DONE = "Memory Performance data collected successfully."
# Holds a tool until the test lets all of them go.
HOLD = """#!/bin/dash
: >/run/held-{0}
until [ -e /run/go ]; do sleep 0.05; done
{1}
"""


def file_of(suffix, number=1, folder=NAME):
    return f"{folder}/{PID}/Evidence{number}/{PID}_<time>_CPU.{suffix}"


def let_go(daemon):
    daemon.host.put("/run/go")
    daemon.captures_end()


@pytest.fixture(name="held")
def _held(make_host, pace):
    """A paced daemon in the sleep of its first pass, whose breach hangs in tools: path to what each does."""

    def start(tools, process=Process(PID, f"/opt/{NAME}", cpu=7), **store):
        host = make_host(store={**EVERY_PASS, **store}, processes=[process])
        names = [path.rpartition("/")[2] for path in tools]
        for name, (path, end) in zip(names, tools.items()):
            host.put(path, HOLD.format(name, end), 0o755)
        daemon = paced.Paced(host, pace)
        assert daemon.start().status == 0
        host.until(lambda: all(host.exists(f"/run/held-{name}") for name in names), f"{names} hang")
        return daemon

    return start


# ----------------------------------------------------------------------------------------------------------
# What a capture uses
# ----------------------------------------------------------------------------------------------------------

JCMD = '[ "$2" = Thread.print ] && echo threads || echo heap >"$3"'


def test_a_thread_dump_that_comes_late_lies_in_the_folder_of_a_later_breach(held):
    daemon = held({"/opt/jdk/bin/jcmd": JCMD}, CONSOLE, THHS_MONITOR_CPU="adminconsole:80",
                  THHS_JDK_HOME="/opt/jdk", THHS_CAPTURE_PROCESS_DUMP=1, **FEW)
    daemon.host.configure(THHS_CAPTURE_PROCESS_DUMP=0)
    assert daemon.step()
    let_go(daemon)
    evidence = daemon.host.evidence()
    assert {path: text for path, text in evidence.items() if path.endswith((".hprof", ".ThreadDump"))} == {
        file_of("hprof", 1, "adminconsole"): "heap\n", file_of("ThreadDump", 2, "adminconsole"): "threads\n"}
    assert sorted(path for path in evidence if path.endswith(".MemoryPerf")) == [
        file_of("MemoryPerf", number, "adminconsole") for number in (1, 2)]


def test_readings_in_progress_keep_their_number_and_their_file_through_a_reload(held):
    daemon = held({"/usr/bin/top": "echo seen"}, THHS_NUMBER_OF_READINGS=3)
    host = daemon.host
    host.folder("/elsewhere")
    host.configure(THHS_NUMBER_OF_READINGS=2, THHS_READING_INTERVAL=4, THHS_EVIDENCE_PATH="/elsewhere")
    assert daemon.step()
    let_go(daemon)
    places = {"/evidence": 1, "/elsewhere": 2}
    found = {(place, texts.without_file_times(path)): text for place in places
             for path, text in host.ask("files", f"{place}/thsentinel").items()}
    assert sorted(found) == sorted(
        (place, path) for place, number in places.items() for path in (
            f"{NAME}/{PID}/evidence.lock",
            *(file_of(suffix, number) for suffix in SUFFIXES)))
    for (place, number), readings, samples in zip(places.items(), (3, 2), ("1 3", "4 2")):
        memory = found[place, file_of("MemoryPerf", number)]
        assert memory.count("\nCommand: ") == 5 * readings
        assert memory.count(texts.section("/usr/bin/top -b -n 1", "seen\n")) == readings
        assert found[place, file_of("DiskPerf_iostat", number)].startswith(
            texts.section(f"/usr/bin/iostat -xt {samples}", ""))
        assert found[place, file_of("DiskPerf_mpstat", number)].startswith(
            texts.section(f"/usr/bin/mpstat {samples}", ""))


# The poll interval that says how many readings there are when nothing else does, their number, and how far
# they lie apart.
UNSET = {"_FORCE_READING_INTERVAL_": None, "THHS_NUMBER_OF_READINGS": None, "THHS_READING_INTERVAL": None}
PLANS = {"by default": (600, 50, 5), "as a short interval allows": (4, 3, 1), "not one": (1, 0, 1)}


@pytest.mark.parametrize("interval, count, apart", PLANS.values(), ids=PLANS.keys())
def test_each_planned_reading_has_five_sections_and_the_disk_tools_sample_alike(live, interval, count, apart):
    daemon = live(store={**EVERY_PASS, **UNSET, "THHS_POLL_INTERVAL": interval, "THHS_VERBOSE": 1},
                  processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    daemon.captures_end()
    host = daemon.host
    memory = host.evidence().get(file_of("MemoryPerf"))
    assert (memory.count("\nCommand: ") if count else memory) == (5 * count or None)
    assert sorted(call for call in host.calls() if call[0] in ("iostat", "mpstat")) == [
        ("iostat", f"-xt {apart} {count}"), ("mpstat", f"{apart} {count}")]
    assert host.log().count(DONE) == 1


def test_each_reading_is_followed_by_its_interval_the_last_one_too(make_host):
    """On a clock of its own: nothing paces this daemon."""
    host = make_host(store={**EVERY_PASS, **FEW, "THHS_POLL_INTERVAL": 600, "THHS_NUMBER_OF_READINGS": 2,
                            "THHS_READING_INTERVAL": 4, "THHS_VERBOSE": 1},
                     processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    host.start()
    host.log_says(DONE)
    reading = next(entry for entry in host.log() if "Command to execute : /usr/bin/top " in entry)
    moments = host.times_of(reading) + host.times_of(DONE)
    assert len(moments) == 3
    assert all((later - earlier) % 86400 >= 4 - 2 for earlier, later in zip(moments, moments[1:]))


# ----------------------------------------------------------------------------------------------------------
# Side by side
# ----------------------------------------------------------------------------------------------------------

FIRST_TOOLS = ["gcore", "gstack", "iostat", "mpstat", "netstat", "top"]


def test_all_captures_of_a_breach_run_at_once_and_hold_up_no_pass(held):
    """The thread of the disk alone is through: it has started its two tools."""
    daemon = held({f"/usr/bin/{tool}": "" for tool in FIRST_TOOLS}, THHS_CAPTURE_PROCESS_DUMP=1,
                  THHS_VERBOSE=1)
    host = daemon.host

    def threads():
        return [one["threads"] for one in host.daemons()]

    captures = len(FIRST_TOOLS)
    host.comes_to(threads, [2 + captures])
    assert [entry for entry in host.log() if entry.endswith("data collected successfully.")] == [
        "Disk Performance data collected successfully."]
    assert daemon.step()
    host.comes_to(threads, [2 + 2 * captures])
    host.configure(THHS_CAPTURE_WITHOUT_THRESHOLD=0)
    assert daemon.step()
    assert host.log().count(texts.MONITORING) == 3
    let_go(daemon)
    assert sum(entry.endswith("data collected successfully.") for entry in host.log()) == 8


# ----------------------------------------------------------------------------------------------------------
# Folders
# ----------------------------------------------------------------------------------------------------------

def test_an_evidence_root_that_vanishes_after_the_load_is_made_by_the_captures(make_host, pace):
    """The listing of the pass takes it away."""
    host = make_host(store=EVERY_PASS, processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    host.put("/usr/bin/ps", scripted.PS.replace("\n", f"\n[ $# != 2 ] || rm -rf {ROOT}\n", 1), 0o755)
    host.put(f"{ROOT}/before", "goes away\n")
    daemon = paced.Paced(host, pace)
    assert daemon.start().status == 0
    daemon.captures_end()
    assert sorted(host.evidence()) == [file_of(suffix) for suffix in SUFFIXES]
    assert ["thsentinel", "folder", 0o755] in [one[:3] for one in host.ask("tree", "/evidence")]
    assert [entry for entry in host.log() if "Error" in entry] == []


def test_a_marker_that_is_there_is_left_as_it_is_and_one_that_has_gone_is_made_again(live):
    daemon = live(store=EVERY_PASS, processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    daemon.captures_end()
    host = daemon.host
    marker = f"{ROOT}/{NAME}/{PID}/evidence.lock"
    host.put(marker, "of an operator\n", 0o644)
    host.shell(f"touch -d '2001-02-03 04:05:06 UTC' {marker}")
    daemon.next_pass()
    assert host.shell(f"stat -c '%a %Y' {marker}") == "644 981173106\n"
    assert host.get(marker) == "of an operator\n"
    host.remove(marker)
    daemon.next_pass()
    assert (host.get(marker), host.shell(f"stat -c %a {marker}")) == ("", "600\n")
