"""The order within a load: the whole of console and log where many values are bad, and which one counts."""
import pytest

from host import product, texts

# In the order in which they are read; the forced readings of an ordinary host are not among them.
REVERTED = {
    "THHS_DUMP_COUNT": (
        "11", "Value should be greater between 1 and 10. Proceeding with default value of 3."),
    "THHS_CAPTURE_NETWORK_STAT": ("2", "Value should be either 0 or 1. Proceeding with default value of 1"),
    "THHS_DEADLOCK_INTERVAL": (
        "-60", "Value should be greater than 0. Proceeding with default value of 60 minutes. "),
    "THHS_INCREASE_LOG_LEVEL": ("2", "Value should be either 0 or 1. Proceeding with default value of 0."),
    "THHS_CAPTURE_PROCESS_DUMP": ("3", "Value should be either 0 or 1. Proceeding with default value of 0."),
    "THHS_ALWAYS_DUMP": ("4", "Value should be either 0 or 1. Proceeding with default value of 0."),
    "THHS_CAPTURE_DISK_IO": ("5", "Value should be either 0 or 1. Proceeding with default value of 1."),
    "THHS_NUMBER_OF_READINGS": ("0", "Value should be greater than 0. "),
    "THHS_READING_INTERVAL": ("-1", "Value should be greater than 0."),
    "THHS_PURGE_OLD_EVIDENCE": ("6", "Value should be either 0 or 1. Proceeding with default value of 0."),
    "THHS_CAPTURE_WITHOUT_THRESHOLD": (
        "7", "Value should be either 0 or 1. Proceeding with default value of 0."),
    "THHS_VERBOSE": ("8", "Value should be either 0 or 1. Proceeding with default value of 0."),
}
AFTER = {"THHS_PURGE_OLD_EVIDENCE": [
    "Make sure that required evidences are copied before setting it to 1."]}
LISTS = {"THHS_MONITOR_CPU": "b:100,a:0", "THHS_MONITOR_MEMORY": "thwmc:500,a:1",
         "THHS_MONITOR_DEADLOCK": "c,b:0"}
BAD_JDK = ["There are unauthorized characters detected in the input. Returning Error.",
           "There are invalid characters in the input for THHS_JDK_HOME."]
PAIR = "THHS_READING_INTERVAL and THHS_NUMBER_OF_READINGS"
NOT_FITTING = [  # the defaults that came back, in an interval of 120
    "Invalid combination of THHS_READING_INTERVAL : 5 and THHS_NUMBER_OF_READINGS : 50 and "
    f"THHS_POLL_INTERVAL : 120. The product of {PAIR} should be less than the THHS_POLL_INTERVAL.",
    "THHS_READING_INTERVAL is set to : 2, optimized based on the value of THHS_POLL_INTERVAL",
    "THHS_NUMBER_OF_READINGS is set to : 50, optimized based on the value of THHS_POLL_INTERVAL"]
NO_PATH = ("THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the file "
           "system, that has sufficient space to store logs.")


def reverted(*keys):
    return [line for key in keys for line in (
        f"Invalid value for {key} : {REVERTED[key][0]}. {REVERTED[key][1]}", *AFTER.get(key, []))]


def not_numeric(key):
    return f"Invalid numeric value for {key} key in Tarnhaven configuration."


ORDER = list(REVERTED)
UP_TO_THE_PATH = [texts.READING, *texts.listed(LISTS), *reverted(*ORDER[:9]), *NOT_FITTING,
                  *reverted(*ORDER[9:11]), *BAD_JDK]
ALL_BAD = {**{key: value for key, (value, _) in REVERTED.items()}, **LISTS, "THHS_POLL_INTERVAL": 120,
           "_FORCE_READING_INTERVAL_": None, "THHS_JDK_HOME": "/opt/../jdk"}


def test_all_that_is_reverted_is_reported_in_the_order_of_the_keys_with_one_warning_at_the_end(make_host):
    host = make_host(store=ALL_BAD)
    first = texts.begun("start") + BAD_JDK[1] + "\n" + texts.REVERTED + "\n"
    assert host.run("-start") == (0, first * 2 + texts.IS_RUNNING + texts.done("start"), "")
    host.log_says(texts.MONITORING)
    end = texts.end_of_load(host.store)
    load = [*UP_TO_THE_PATH, end[0], *reverted(*ORDER[11:]), *end[1:], texts.REVERTED]
    assert host.log() == [*load, texts.STARTED, *load, *host.machine_lines(), texts.MONITORING]


def test_a_path_that_is_missing_comes_after_all_that_is_reverted_and_ends_the_load_without_the_warning(
        make_host):
    host = make_host(store={**ALL_BAD, "THHS_EVIDENCE_PATH": None})
    said = f"{BAD_JDK[1]}\n{NO_PATH}\n"
    assert host.run("-start") == (8, texts.begun("start") + said + texts.failed("start"), "")
    assert host.log() == [*UP_TO_THE_PATH, NO_PATH]


def test_numbers_that_are_none_are_reported_in_the_order_of_the_keys_on_console_and_in_the_log(make_host):
    keys = [*ORDER[:7], "_FORCE_READING_INTERVAL_", *ORDER[7:]]
    host = make_host(store={**dict.fromkeys(keys, "x"), "THHS_POLL_INTERVAL": 600})
    lines = [not_numeric(key) for key in keys]
    first = texts.begun("start") + "".join(f"{line}\n" for line in lines)
    assert host.run("-start") == (0, first * 2 + texts.IS_RUNNING + texts.done("start"), "")
    host.log_says(texts.MONITORING)
    end = texts.end_of_load(host.store)
    load = [texts.READING, *lines[:-1], texts.JDK_NOT_SET, end[0], lines[-1], *end[1:]]
    assert host.log() == [*load, texts.STARTED, *load, *host.machine_lines(), texts.MONITORING]


# A bad and a good value of each key that ends a load, in the order in which they are read, the bad one's
# complaint, and what the log has of the good one.
STOPPING = {
    "THHS_MEMORY_UNIT": (
        "KB", "PERCENT", "Invalid value for THHS_MEMORY_UNIT : KB. Can only have values PERCENT or "
        "ABSOLUTE.", []),
    "THHS_MONITOR_CPU": (
        "a:101", "a:1", "Invalid Value for CPU threshold. Process a requested threshold of 101 percent. Use "
        "a value less than 100.", texts.listed({"THHS_MONITOR_CPU": "a:1"})),
    "THHS_MONITOR_MEMORY": (
        "a:-1", "a:2", "Invalid configuration value a:-1 for the THHS_MONITOR_MEMORY in Tarnhaven "
        "configuration file.", texts.listed({"THHS_MONITOR_MEMORY": "a:2"})),
    "THHS_MONITOR_DEADLOCK": (
        "a:3", "a", "Invalid Value a for the THHS_MONITOR_DEADLOCK in Tarnhaven configuration file.",
        texts.listed({"THHS_MONITOR_DEADLOCK": "a"})),
    "THHS_POLL_INTERVAL": (
        "0", "600", "Invalid value for THHS_POLL_INTERVAL : 0. Value should be greater than 0.",
        [*reverted("THHS_DUMP_COUNT"), texts.JDK_NOT_SET]),
    "THHS_EVIDENCE_PATH": (
        "/no/such", "/evidence", "Invalid value for THHS_EVIDENCE_PATH : /no/such. Specified folder does not "
        "exist. thsentinel will not start.", []),
}


def test_of_several_values_that_end_a_load_the_first_one_read_is_reported_and_no_other(make_host):
    """All are bad; each time the one that was reported is mended. What is read after them is not reached."""
    host = make_host(store={**{key: bad for key, (bad, *_) in STOPPING.items()}, "THHS_DUMP_COUNT": 11})
    before, expected = [texts.READING], []
    for key, (_, good, complaint, lines) in STOPPING.items():
        said = texts.begun("start") + complaint + "\n" + texts.failed("start")
        assert host.run("-start") == (8, said, "")
        expected += [*before, complaint]
        assert host.log() == expected
        host.configure({key: good})
        before += lines
    assert host.run("-start").status == 0


# ----------------------------------------------------------------------------------------------------------
# Console and log
# ----------------------------------------------------------------------------------------------------------

UNIT = STOPPING["THHS_MEMORY_UNIT"][2]
IN_THE_UNIT = ["There are non alpha numeric characters in the input ';'. Returning Error.",
               "There are invalid characters in the input for THHS_MEMORY_UNIT."]
BAD_ELEMENT = STOPPING["THHS_MONITOR_MEMORY"][2]
ABOVE_100 = STOPPING["THHS_MONITOR_CPU"][2]
WITH_A_NUMBER = STOPPING["THHS_MONITOR_DEADLOCK"][2]
INTERVAL = STOPPING["THHS_POLL_INTERVAL"][2]
NOT_THERE = STOPPING["THHS_EVIDENCE_PATH"][2]
NOT_MADE = ("Invalid value for THHS_EVIDENCE_PATH : /proc/thsentinel. Failed to create the evidences folder. "
            "thsentinel will not start.")


def log_first(line):
    return [f"<stamp>{line}", line]


def console_first(line):
    return [line, f"<stamp>{line}"]


# The readers of single values and of lists log first; a load that checks what they read prints first.
SHOWN = {
    "a bad character": (
        {"THHS_MEMORY_UNIT": "K;B"}, [f"<stamp>{IN_THE_UNIT[0]}", *log_first(IN_THE_UNIT[1])]),
    "an unknown unit": ({"THHS_MEMORY_UNIT": "KB"}, console_first(UNIT)),
    "an element that is none": ({"THHS_MONITOR_MEMORY": "a:-1"}, log_first(BAD_ELEMENT)),
    "a limit above 100": ({"THHS_MONITOR_CPU": "a:101"}, log_first(ABOVE_100)),
    "a deadlock element with a number": ({"THHS_MONITOR_DEADLOCK": "a:3"}, log_first(WITH_A_NUMBER)),
    "an interval that is no number": (
        {"THHS_POLL_INTERVAL": "x"}, log_first(not_numeric("THHS_POLL_INTERVAL"))),
    "an interval of 0": ({"THHS_POLL_INTERVAL": "0"}, console_first(INTERVAL)),
    "a number that is none, and no path": (
        {"THHS_DUMP_COUNT": "x", "THHS_EVIDENCE_PATH": None},
        [*log_first(not_numeric("THHS_DUMP_COUNT")), f"<stamp>{texts.JDK_NOT_SET}", *console_first(NO_PATH)]),
    "a path that is not there, and a bad character": (
        {"THHS_JDK_HOME": "/opt/../jdk", "THHS_EVIDENCE_PATH": "/no/such"},
        [f"<stamp>{BAD_JDK[0]}", *log_first(BAD_JDK[1]), *console_first(NOT_THERE)]),
    "a path where no folder can be made": (
        {"THHS_EVIDENCE_PATH": "/proc"}, [f"<stamp>{texts.JDK_NOT_SET}", *console_first(NOT_MADE)]),
}


def shown(host, status):
    """The lines of a start whose console is the log itself, in the order in which they were written."""
    log = host.shell(f"echo {product.LOGS}/root.$(date +%m%d%y)_00001.log").strip()
    host.folder(product.LOGS)
    # Each line of the console goes there at once.
    line = f"exec stdbuf -oL {product.PROGRAM} -start >>{log}"
    assert host.run("/bin/dash", "-c", line).status == status
    return [line for line in texts.without_stamps(host.log_text()).splitlines() if line]


@pytest.mark.parametrize("settings, lines", SHOWN.values(), ids=SHOWN.keys())
def test_console_and_log_get_a_line_in_this_order(make_host, settings, lines):
    assert shown(make_host(store=settings), status=8) == [
        "Performing the start operation", f"<stamp>{texts.READING}", *lines, "The start operation failed."]


def test_the_closing_warning_is_on_the_console_before_it_is_in_the_log(make_host):
    host = make_host(store={"THHS_DUMP_COUNT": 11, "THHS_POLL_INTERVAL": 600})
    lines = shown(host, status=0)
    assert lines[lines.index(f"<stamp>{texts.end_of_load(host.store)[-1]}") + 1:][:3] == [
        *console_first(texts.REVERTED), f"<stamp>{texts.STARTED}"]
