"""Names, ids and paths that are longer than the room for them: where a text is cut, where it stays whole."""
import pytest

from host import Process, product, texts

PID = 4321
KINDS = ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData"]
AT_ONCE = {"THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 1}
MESSAGE = 1023
BREACH = 2047
STAMP = len("2026-11-20 12:00:00:000 - ")


def files_of(folder, pid):
    return [f"{folder}/Evidence1/{pid}_<time>_CPU.{kind}" for kind in KINDS]


def lines_of(host, tool):
    return [texts.without_file_times(line) for line in host.shell_lines() if line.startswith(tool)]


@pytest.mark.parametrize("length", [58, 59, 100, 255])
def test_the_name_of_a_counter_is_cut_at_63_characters_and_everything_else_is_whole(live, length):
    name = "n" * length
    daemon = live(store={"THHS_MONITOR_CPU": f"{name}:80", **AT_ONCE},
                  processes=[Process(PID, f"/opt/{name} -d", cpu=7), Process(PID + 1, name, cpu=7)])
    daemon.captures_end()
    log, host = daemon.host.log(), daemon.host
    label = f"{name}#{PID}"[:63]
    assert [entry for entry in log if entry.startswith(("CounterName", "CPU counter added"))] == [
        f"CounterName {label}", f"CPU counter added for process {name} with PID - {PID} : {label}",
        f"CounterName {f'{name}#{PID + 1}'[:63]}",
        f"CPU counter added for process {name} with PID - {PID + 1} : {f'{name}#{PID + 1}'[:63]}"]
    assert [entry for entry in log if entry.startswith("Taking")] == [
        texts.taking(1, name, PID), texts.taking(1, name, PID + 1)]
    assert sorted(host.evidence()) == [
        *files_of(f"{name}/{PID}", PID), *files_of(f"{name}/{PID + 1}", PID + 1)]


def test_a_name_that_no_folder_can_bear_costs_its_evidence(live):
    name = "n" * 256
    daemon = live(store={"THHS_MONITOR_CPU": f"{name}:80", **AT_ONCE},
                  processes=[Process(PID, f"/opt/{name}", cpu=7)])
    daemon.captures_end()
    host = daemon.host
    assert texts.taking(1, name, PID) in host.log()
    assert host.evidence_paths() == []
    assert lines_of(host, "/usr/bin/top ") == ["/usr/bin/top -b -n 1 >> "]
    assert [entry for entry in host.log() if "Error" in entry] == []


def test_the_folder_of_a_process_id_is_cut_at_7_digits_and_shared(live):
    """The ids stand whole in the names of the files and in the lines of the tools."""
    pids = [1234567, 12345678, 12345679]
    daemon = live(store={"THHS_MONITOR_CPU": "exampled:80", **AT_ONCE},
                  processes=[Process(pid, "/opt/exampled", cpu=7) for pid in pids])
    daemon.captures_end()
    host = daemon.host
    folder = "exampled/1234567"
    assert sorted(host.evidence()) == sorted(path for pid in pids for path in files_of(folder, pid))
    assert sorted(lines_of(host, "/usr/bin/gstack ")) == sorted(
        f"/usr/bin/gstack {pid} >> /evidence/thsentinel/{folder}/Evidence1/{pid}_<time>_CPU.ProcessData"
        for pid in pids)


@pytest.mark.parametrize("length", [227, 228, 229, 300])
def test_the_line_of_the_purge_is_cut_at_255_characters(live, length):
    evidence = "/evidence/" + "a" * 100 + "/" + "b" * (length - 100)
    host = live(evidence=evidence, store={"THHS_PURGE_OLD_EVIDENCE": 1, "THHS_VERBOSE": 1}).host
    line = f"rm -f {evidence}/thsentinel"[:255]
    assert [one for one in host.shell_lines() if one.startswith("rm ")] == [line]
    assert f"Trying to clean up older evidences. Command : {line}" in host.log()
    assert texts.end_of_load(host.store)[0] in host.log()


@pytest.mark.parametrize("length", [1900, 1950, 2100])
def test_the_text_of_a_breach_is_cut_at_2047_characters_with_its_stamp(live, length):
    name = "n" * length
    daemon = live(store={"THHS_MONITOR_CPU": f"{name}:80"},
                  processes=[Process(PID, f"/opt/{name}", cpu=90)])
    for _ in range(4):
        assert daemon.step()
    text = texts.exceeded("CPU", name, PID, 80, 90)[:BREACH - STAMP]
    host = daemon.host
    assert [entry for entry in host.log() if " threshold exceeded by " in entry] == [text]
    host.system_log_says("warning", f"<stamp>{text}")
    assert texts.taking(1, name, PID) in host.log()


LONG = "x" * 1000
REFUSALS = {
    "a list without a limit": (
        {"THHS_MONITOR_CPU": LONG},
        [f"Invalid configuration value {LONG} for the THHS_MONITOR_CPU in Tarnhaven configuration file."]),
    "a limit above 100": (
        {"THHS_MONITOR_CPU": f"{LONG}:101"},
        [f"Invalid Value for CPU threshold. Process {LONG} requested threshold of 101 percent. Use a value "
         "less than 100."]),
    "an evidence path that is not there": (
        {"THHS_EVIDENCE_PATH": f"/{LONG}"},
        [texts.JDK_NOT_SET, f"Invalid value for THHS_EVIDENCE_PATH : /{LONG}. Specified folder does not "
         "exist. thsentinel will not start."]),
    "a unit": (
        {"THHS_MEMORY_UNIT": LONG},
        [f"Invalid value for THHS_MEMORY_UNIT : {LONG}. Can only have values PERCENT or ABSOLUTE."]),
}


@pytest.mark.parametrize("settings, lines", REFUSALS.values(), ids=REFUSALS.keys())
def test_a_refusal_is_cut_at_1023_characters_on_console_and_in_the_log(make_host, settings, lines):
    host = make_host(store=settings)
    lines = [line[:MESSAGE] for line in lines]
    assert host.run(product.PROGRAM, "-start") == (
        8, f"{texts.begun('start')}{lines[-1]}\n{texts.failed('start')}", "")
    assert host.log() == [texts.READING, *lines]
