"""What bad settings get: refused with their text, or reverted with a word. Console, log and status whole."""
import pytest

from host import Process, product, texts

LONG = {"THHS_POLL_INTERVAL": 600}
UNAUTHORIZED = "There are unauthorized characters detected in the input. Returning Error."


def bad_character(character):
    return f"There are non alpha numeric characters in the input '{character}'. Returning Error."


def in_the_input_for(key):
    return f"There are invalid characters in the input for {key}."


def bad_value(element, key):
    return f"Invalid configuration value {element} for the {key} in Tarnhaven configuration file."


def above_100(label, name, limit):
    return (f"Invalid Value for {label} threshold. Process {name} requested threshold of {limit} percent. "
            "Use a value less than 100.")


def watched(label, name, limit):
    return f"Process {name} requested monitoring of {label} threshold of {limit} ABSOLUTE."


def not_numeric(key):
    return f"Invalid numeric value for {key} key in Tarnhaven configuration."


CPU, MEMORY, DEADLOCK = "THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY", "THHS_MONITOR_DEADLOCK"
INVALID_UNIT = "Invalid value for THHS_MEMORY_UNIT : {}. Can only have values PERCENT or ABSOLUTE."
NO_PATH = ("THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the file "
           "system, that has sufficient space to store logs.")
NO_FOLDER = ("Invalid value for THHS_EVIDENCE_PATH : {}. Specified folder does not exist. thsentinel will "
             "not start.")
NOT_MADE = ("Invalid value for THHS_EVIDENCE_PATH : {}/thsentinel. Failed to create the evidences folder. "
            "thsentinel will not start.")

# The settings, what the console shows, and what the log has instead of a whole load.
REFUSED = {
    "an unknown memory unit": (
        {"THHS_MEMORY_UNIT": "KB"}, [INVALID_UNIT.format("KB")], [INVALID_UNIT.format("KB")]),
    "an empty memory unit": (
        {"THHS_MEMORY_UNIT": ""}, [INVALID_UNIT.format("")], [INVALID_UNIT.format("")]),
    "a memory unit with a bad character": (
        {"THHS_MEMORY_UNIT": "PER;CENT"}, [in_the_input_for("THHS_MEMORY_UNIT")],
        [bad_character(";"), in_the_input_for("THHS_MEMORY_UNIT")]),
    "a CPU limit above 100": (
        {CPU: "a:101"}, [above_100("CPU", "a", 101)], [above_100("CPU", "a", 101)]),
    "a second element above 100": (
        {CPU: "a:100,b:1000,c:5"}, [above_100("CPU", "b", 1000)],
        [watched("CPU", "a", 100), above_100("CPU", "b", 1000)]),
    "a negative limit": ({CPU: "a:-1"}, [bad_value("a:-1", CPU)], [bad_value("a:-1", CPU)]),
    "a name without a limit": ({CPU: "a"}, [bad_value("a", CPU)], [bad_value("a", CPU)]),
    "a name with an empty limit": ({MEMORY: "a:"}, [bad_value("a:", MEMORY)], [bad_value("a:", MEMORY)]),
    "a limit without a name": ({MEMORY: ":5"}, [bad_value(":5", MEMORY)], [bad_value(":5", MEMORY)]),
    "an empty first element": ({CPU: ",a:10"}, [bad_value("", CPU)], [bad_value("", CPU)]),
    "an empty list": (
        {CPU: ""}, [], ["Unable to read the THHS_MONITOR_CPU data from Tarnhaven configuration file."]),
    "a list that climbs": (
        {CPU: "../a:10"}, [in_the_input_for(CPU)], [UNAUTHORIZED, in_the_input_for(CPU)]),
    "a list with a pattern": (
        {MEMORY: "a*:10"}, [in_the_input_for(MEMORY)], [UNAUTHORIZED, in_the_input_for(MEMORY)]),
    "a list with a shell's separator": (
        {CPU: "a:10;b:10"}, [in_the_input_for(CPU)], [bad_character(";"), in_the_input_for(CPU)]),
    "a list with a quote": (
        {CPU: 'a":10'}, [in_the_input_for(CPU)], [bad_character('"'), in_the_input_for(CPU)]),
    "a list with a dollar": (
        {CPU: "$a:10"}, [in_the_input_for(CPU)], [bad_character("$"), in_the_input_for(CPU)]),
    "a deadlock element with a number": (
        {DEADLOCK: "a:3"}, ["Invalid Value a for the THHS_MONITOR_DEADLOCK in Tarnhaven configuration file."],
        ["Invalid Value a for the THHS_MONITOR_DEADLOCK in Tarnhaven configuration file."]),
    "a deadlock element with an empty number": (
        {DEADLOCK: "a:"}, [bad_value("a:", DEADLOCK)], [bad_value("a:", DEADLOCK)]),
    "an interval of 0": (
        {"THHS_POLL_INTERVAL": 0},
        ["Invalid value for THHS_POLL_INTERVAL : 0. Value should be greater than 0."],
        ["Invalid value for THHS_POLL_INTERVAL : 0. Value should be greater than 0."]),
    "a negative interval": (
        {"THHS_POLL_INTERVAL": -5},
        ["Invalid value for THHS_POLL_INTERVAL : -5. Value should be greater than 0."],
        ["Invalid value for THHS_POLL_INTERVAL : -5. Value should be greater than 0."]),
    "an interval that is no number": (
        {"THHS_POLL_INTERVAL": "ten"}, [not_numeric("THHS_POLL_INTERVAL")],
        [not_numeric("THHS_POLL_INTERVAL")]),
    "an interval beyond 32 bits": (
        {"THHS_POLL_INTERVAL": 2 ** 31}, [not_numeric("THHS_POLL_INTERVAL")],
        [not_numeric("THHS_POLL_INTERVAL")]),
    "no evidence path": (
        {"THHS_EVIDENCE_PATH": None}, [NO_PATH], [texts.JDK_NOT_SET, NO_PATH]),
    "an empty evidence path": (
        {"THHS_EVIDENCE_PATH": ""}, [NO_PATH], [texts.JDK_NOT_SET, NO_PATH]),
    "an evidence path that is not there": (
        {"THHS_EVIDENCE_PATH": "/no/such"}, [NO_FOLDER.format("/no/such")],
        [texts.JDK_NOT_SET, NO_FOLDER.format("/no/such")]),
    "an evidence path that is a file": (
        {"THHS_EVIDENCE_PATH": "/etc/passwd"}, [NO_FOLDER.format("/etc/passwd")],
        [texts.JDK_NOT_SET, NO_FOLDER.format("/etc/passwd")]),
    "an evidence path where no folder can be made": (
        {"THHS_EVIDENCE_PATH": "/proc"}, [NOT_MADE.format("/proc")],
        [texts.JDK_NOT_SET, NOT_MADE.format("/proc")]),
    "an evidence path that climbs": (
        {"THHS_EVIDENCE_PATH": "/var/../etc"}, [in_the_input_for("THHS_EVIDENCE_PATH")],
        [texts.JDK_NOT_SET, UNAUTHORIZED, in_the_input_for("THHS_EVIDENCE_PATH")]),
    "an evidence path with a bad character": (
        {"THHS_EVIDENCE_PATH": "/evidence&"}, [in_the_input_for("THHS_EVIDENCE_PATH")],
        [texts.JDK_NOT_SET, bad_character("&"), in_the_input_for("THHS_EVIDENCE_PATH")]),
}


@pytest.mark.parametrize("settings, console, log", REFUSED.values(), ids=REFUSED.keys())
def test_a_setting_that_is_refused_starts_nothing(make_host, settings, console, log):
    host = make_host(store=settings)
    for option, label, status in (("-start", "start", 8), (None, "run", 10)):
        said = "".join(f"{line}\n" for line in console)
        expected = texts.begun(label) + said + texts.failed(label)
        assert host.run(product.PROGRAM, *([option] if option else [])) == (status, expected, "")
    assert host.log() == [texts.READING, *log] * 2
    assert host.daemons() == []
    assert host.system_log() == []


def either(key, value, default):
    return (f"Invalid value for {key} : {value}. Value should be either 0 or 1. Proceeding with default "
            f"value of {default}.")


NOT_POSITIVE = "Invalid value for {} : {}. Value should be greater than 0."
PURGE_NOTE = "Make sure that required evidences are copied before setting it to 1."

# Key, value, what the log says of it.
REVERTED = [
    ("THHS_DUMP_COUNT", 0, [
        "Invalid value for THHS_DUMP_COUNT : 0. Value should be greater between 1 and 10. Proceeding with "
        "default value of 3."]),
    ("THHS_DUMP_COUNT", 11, [
        "Invalid value for THHS_DUMP_COUNT : 11. Value should be greater between 1 and 10. Proceeding with "
        "default value of 3."]),
    ("THHS_CAPTURE_NETWORK_STAT", 2, [
        "Invalid value for THHS_CAPTURE_NETWORK_STAT : 2. Value should be either 0 or 1. Proceeding with "
        "default value of 1"]),
    ("THHS_DEADLOCK_INTERVAL", 0, [
        "Invalid value for THHS_DEADLOCK_INTERVAL : 0. Value should be greater than 0. Proceeding with "
        "default value of 60 minutes. "]),
    ("THHS_INCREASE_LOG_LEVEL", -1, [either("THHS_INCREASE_LOG_LEVEL", -1, 0)]),
    ("THHS_CAPTURE_PROCESS_DUMP", 7, [either("THHS_CAPTURE_PROCESS_DUMP", 7, 0)]),
    ("THHS_ALWAYS_DUMP", 2, [either("THHS_ALWAYS_DUMP", 2, 0)]),
    ("THHS_CAPTURE_DISK_IO", -2, [either("THHS_CAPTURE_DISK_IO", -2, 1)]),
    ("THHS_NUMBER_OF_READINGS", 0, [NOT_POSITIVE.format("THHS_NUMBER_OF_READINGS", 0) + " "]),
    ("THHS_READING_INTERVAL", -3, [NOT_POSITIVE.format("THHS_READING_INTERVAL", -3)]),
    ("THHS_PURGE_OLD_EVIDENCE", 3, [either("THHS_PURGE_OLD_EVIDENCE", 3, 0), PURGE_NOTE]),
    ("THHS_CAPTURE_WITHOUT_THRESHOLD", 9, [either("THHS_CAPTURE_WITHOUT_THRESHOLD", 9, 0)]),
    ("THHS_VERBOSE", 2, [either("THHS_VERBOSE", 2, 0)]),
]


@pytest.mark.parametrize("key, value, lines", REVERTED, ids=[f"{key} {value}" for key, value, _ in REVERTED])
def test_a_setting_that_is_reverted_is_reported_and_the_daemon_starts(make_host, key, value, lines):
    host = make_host(store={**LONG, key: value})
    first = texts.begun("start") + texts.REVERTED + "\n"
    assert host.run("-start") == (0, first * 2 + texts.IS_RUNNING + texts.done("start"), "")
    host.log_says(texts.REVERTED, times=2)
    end = texts.end_of_load(host.store)
    if key == "THHS_VERBOSE":  # read after the evidence path
        load = [texts.READING, texts.JDK_NOT_SET, end[0], *lines, *end[1:], texts.REVERTED]
    else:
        load = [texts.READING, *lines, texts.JDK_NOT_SET, *end, texts.REVERTED]
    log = host.log()
    assert log[:len(load)] == load
    assert log[len(load):2 * len(load) + 1] == [texts.STARTED, *load]


@pytest.mark.parametrize("key", [
    "THHS_DUMP_COUNT", "THHS_CAPTURE_NETWORK_STAT", "THHS_DEADLOCK_INTERVAL", "THHS_INCREASE_LOG_LEVEL",
    "THHS_CAPTURE_PROCESS_DUMP", "THHS_ALWAYS_DUMP", "THHS_CAPTURE_DISK_IO", "_FORCE_READING_INTERVAL_",
    "THHS_PURGE_OLD_EVIDENCE", "THHS_CAPTURE_WITHOUT_THRESHOLD", "THHS_VERBOSE"])
@pytest.mark.parametrize("value", ["abc", "", "1x", "2147483648"])
def test_a_number_that_is_none_is_reported_and_the_setting_stays(make_host, key, value):
    host = make_host(store={**LONG, key: value})
    first = texts.begun("start") + not_numeric(key) + "\n"
    assert host.run("-start") == (0, first * 2 + texts.IS_RUNNING + texts.done("start"), "")
    host.log_says(texts.MONITORING)
    log = host.log()
    assert log.count(not_numeric(key)) == 2
    assert texts.REVERTED not in log


ACCEPTED = {
    "a limit of exactly 100": ({CPU: "a:100"}, [watched("CPU", "a", 100)]),
    "a limit that is no number": ({CPU: "a:abc"}, [watched("CPU", "a", 0)]),
    "a limit with text after it": ({CPU: "a:12x"}, [watched("CPU", "a", 12)]),
    "blanks around everything": (
        {CPU: "  a : 10 ,  b:20  "}, [watched("CPU", "a", 10), watched("CPU", "b", 20)]),
    "a comma at the end": ({CPU: "a:10,"}, [watched("CPU", "a", 10)]),
    "one name twice": ({CPU: "a:10,a:20"}, [watched("CPU", "a", 10), watched("CPU", "a", 20)]),
    "a Java name": ({CPU: "adminconsole:80"}, [watched("CPU", "java", 80)]),
    "memory beyond 100, in percent too": (
        {MEMORY: "a:5000", "THHS_MEMORY_UNIT": "PERCENT"}, [watched("Memory", "a", 5000)]),
    "a unit in small letters": ({MEMORY: "a:5", "THHS_MEMORY_UNIT": "absolute"}, [watched("Memory", "a", 5)]),
    "bare deadlock names": (
        {DEADLOCK: "a, b:0"}, ["Process a requested monitoring for Deadlock conditions.",
                               "Process b requested monitoring for Deadlock conditions."]),
    "a dump count at its end": ({"THHS_DUMP_COUNT": 10}, []),
    "no setting but the path": (
        {"THHS_POLL_INTERVAL": None, "_FORCE_READING_INTERVAL_": None, "THHS_NUMBER_OF_READINGS": None,
         "THHS_READING_INTERVAL": None}, []),
}


@pytest.mark.parametrize("settings, lines", ACCEPTED.values(), ids=ACCEPTED.keys())
def test_an_odd_setting_that_is_right_starts_the_daemon(make_host, settings, lines):
    host = make_host(store={**LONG, **settings})
    host.start()
    host.log_says(texts.STARTED)
    log = host.log()
    assert log[:log.index(texts.STARTED)] == [texts.READING, *lines, texts.JDK_NOT_SET,
                                              *texts.end_of_load(host.store)]


@pytest.mark.parametrize("interval, readings, apart", [(120, 50, 2), (60, 50, 1), (30, 29, 1), (1, 0, 1)])
def test_readings_that_do_not_fit_an_interval_are_made_to(make_host, interval, readings, apart):
    host = make_host(store={"THHS_POLL_INTERVAL": interval, "_FORCE_READING_INTERVAL_": None,
                            "THHS_NUMBER_OF_READINGS": None, "THHS_READING_INTERVAL": None})
    assert host.run("-start").status == 0
    log = host.log()
    assert log[:5] == [
        texts.READING,
        f"Invalid combination of THHS_READING_INTERVAL : 5 and THHS_NUMBER_OF_READINGS : 50 and "
        f"THHS_POLL_INTERVAL : {interval}. The product of THHS_READING_INTERVAL and THHS_NUMBER_OF_READINGS "
        "should be less than the THHS_POLL_INTERVAL.",
        f"THHS_READING_INTERVAL is set to : {apart}, optimized based on the value of THHS_POLL_INTERVAL",
        f"THHS_NUMBER_OF_READINGS is set to : {readings}, optimized based on the value of THHS_POLL_INTERVAL",
        texts.JDK_NOT_SET]


@pytest.mark.parametrize("home, lines", [
    ("/opt/../jdk", [UNAUTHORIZED, in_the_input_for("THHS_JDK_HOME")]),
    ("/opt/jdk$", [bad_character("$"), in_the_input_for("THHS_JDK_HOME")]), ("/no/such/jdk", [])])
def test_a_bad_jdk_home_is_reported_and_the_daemon_starts(make_host, home, lines):
    host = make_host(store={**LONG, "THHS_JDK_HOME": home})
    first = texts.begun("start") + "".join(f"{line}\n" for line in lines[1:])
    assert host.run("-start") == (0, first * 2 + texts.IS_RUNNING + texts.done("start"), "")
    host.log_says(texts.STARTED)
    log = host.log()
    assert log[:log.index(texts.STARTED)] == [texts.READING, *lines, *texts.end_of_load(host.store)]


WATCHING = {"THHS_MONITOR_CPU": "exampled:80"}
BUSY = Process(4321, "/opt/exampled", cpu=[90] * 5 + [0])


def test_a_log_folder_that_cannot_be_made_loses_the_lines_and_nothing_else(make_host):
    host = make_host(store=WATCHING, processes=[BUSY])
    host.remove(product.HOME + "/logs")
    host.put(product.HOME + "/logs", "in the way\n")
    host.start()
    host.system_log_says("warning", f"<stamp>{texts.exceeded('CPU', 'exampled', 4321, 80, 90)}")
    host.until(lambda: len(host.evidence()) == 5, "the evidence is whole")
    host.terminate()
    assert host.get(product.HOME + "/logs") == "in the way\n"


def test_a_log_that_vanishes_loses_lines_until_its_folder_is_back(make_host):
    host = make_host(store=WATCHING, processes=[BUSY])
    host.start()
    host.after_pass(1)
    host.remove(product.LOGS)
    host.system_log_says("warning", f"<stamp>{texts.exceeded('CPU', 'exampled', 4321, 80, 90)}")
    assert host.log_text() == ""
    host.folder(product.LOGS)
    host.log_says(texts.MONITORING)
    host.terminate()


def test_a_missing_ps_leaves_a_daemon_that_sees_nothing(make_host):
    host = make_host(store=WATCHING, processes=[BUSY], without=["ps"])
    host.start()
    host.log_says(texts.MONITORING, times=2)
    assert not [entry for entry in host.log() if "counter added" in entry]
    host.terminate()


def test_a_missing_store_at_a_reload_keeps_the_last_settings(make_host):
    host = make_host(store=WATCHING)
    host.start()
    host.after_pass(1)
    host.remove(product.STORE)
    host.after_pass(3)
    line = watched("CPU", "exampled", 80)
    assert host.log().count(line) >= 4
    assert host.daemons()
