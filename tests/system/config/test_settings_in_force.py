"""Which settings are in force, as evidence, commands and sleeps show: defaults, reverted ones, kept ones."""
import pytest

from host import Process, paced, product, refusing, texts

FIRST = Process(100, "/opt/exampled", cpu=7)
LATER = Process(200, "/opt/laterd", cpu=7, first=2)
WATCHING = {"THHS_MONITOR_CPU": "exampled:80,laterd:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1}
NOTHING_ELSE = {"THHS_POLL_INTERVAL": None, "_FORCE_READING_INTERVAL_": None, "THHS_NUMBER_OF_READINGS": None,
                "THHS_READING_INTERVAL": None}


def kinds(host, folder):
    """What the files of an evidence set are, by the ends of their names."""
    return sorted(path.rpartition(".")[2] for path in host.evidence() if path.startswith(f"{folder}/"))


def arguments(host, tool):
    return [line.split(" >> ")[0].split(" ", 1)[1] for line in host.shell_lines()
            if line.startswith(f"/usr/bin/{tool} ")]


EVERYTHING_BUT_A_CORE = ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData"]


def test_without_their_keys_all_settings_have_their_defaults(live):
    daemon = live(store={**WATCHING, **NOTHING_ELSE}, processes=[FIRST])
    daemon.captures_end()
    host = daemon.host
    assert daemon.sleeps() == [600]
    assert kinds(host, "exampled/100/Evidence1") == EVERYTHING_BUT_A_CORE
    assert arguments(host, "mpstat") == ["5 50"]
    assert arguments(host, "iostat") == ["-xt 5 50"]
    assert len(arguments(host, "top")) == 50
    assert [line for line in host.shell_lines() if line.startswith("rm ") or "txlogcfg" in line] == []
    for number in (2, 3):
        assert texts.taking(number, "exampled", 100) in daemon.next_pass()
    assert daemon.next_pass()[-1] == "Dump count reached max allowed for process exampled : 3"


def test_readings_that_were_made_to_fit_are_what_the_tools_are_given(live):
    daemon = live(store={**WATCHING, **NOTHING_ELSE, "THHS_POLL_INTERVAL": 30}, processes=[FIRST])
    daemon.captures_end()
    assert arguments(daemon.host, "mpstat") == ["1 29"]
    assert len(arguments(daemon.host, "top")) == 29
    daemon.next_pass(_FORCE_READING_INTERVAL_=-1, THHS_NUMBER_OF_READINGS=2, THHS_READING_INTERVAL=50)
    assert arguments(daemon.host, "mpstat")[1:] == ["50 2"]


ODD = {"THHS_DUMP_COUNT": 1, "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_INCREASE_LOG_LEVEL": 1,
       "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_CAPTURE_DISK_IO": 0, "THHS_NUMBER_OF_READINGS": 2}
OUT_OF_RANGE = {"THHS_DUMP_COUNT": 0, "THHS_CAPTURE_NETWORK_STAT": 2, "THHS_INCREASE_LOG_LEVEL": -1,
                "THHS_CAPTURE_PROCESS_DUMP": 2, "THHS_CAPTURE_DISK_IO": -1, "THHS_NUMBER_OF_READINGS": 0}
KEPT = {"kinds": ["MemoryPerf", "ProcessData", "core"], "readings": 2, "raised": 1,
        "end": "Dump count reached max allowed for process exampled : 1"}

# What the next load finds, and what holds for a process that comes then.
NEXT_LOAD = {
    "values out of range": (
        OUT_OF_RANGE, {"kinds": EVERYTHING_BUT_A_CORE, "readings": 50, "raised": 0,
                       "end": texts.taking(2, "exampled", 100)}),
    "values that are no numbers": (dict.fromkeys(ODD, "x"), KEPT),
    "no keys": (dict.fromkeys(ODD), KEPT),
}


@pytest.mark.parametrize("changes, expected", NEXT_LOAD.values(), ids=NEXT_LOAD.keys())
def test_a_bad_value_brings_the_default_in_force_and_none_keeps_the_last_one(live, changes, expected):
    daemon = live(store={**WATCHING, **ODD}, processes=[FIRST, LATER])
    host, sent = daemon.host, len(daemon.host.shell_lines())
    said = daemon.next_pass(**changes)
    later = [line for line in host.shell_lines()[sent:] if "/200/" in line or "laterd" in line]
    ends = ["core" if one.isdigit() else one for one in kinds(host, "laterd/200/Evidence1")]
    assert {"kinds": sorted(ends), "readings": sum(line.startswith("/usr/bin/top ") for line in later),
            "raised": sum("DebugLevel=6" in line for line in later),
            "end": next(line for line in said if "exampled" in line and ("Dump count" in line
                                                                         or "Taking" in line))} == expected


@pytest.mark.parametrize("value, fires", [
    (2, False), (-1, False), (0, False), ("x", True), (None, True), (1, True)])
def test_capturing_without_a_threshold_ends_with_a_bad_value_and_continues_with_none(live, value, fires):
    daemon = live(store=WATCHING, processes=[FIRST])
    said = daemon.next_pass(THHS_CAPTURE_WITHOUT_THRESHOLD=value)
    assert (texts.taking(2, "exampled", 100) in said) == fires


@pytest.mark.parametrize("value, fires", [(2, False), ("x", True), (None, True)])
def test_the_average_counts_again_with_a_bad_value_and_not_with_none(live, value, fires):
    daemon = live(store={"THHS_MONITOR_CPU": "exampled:90", "THHS_ALWAYS_DUMP": 1},
                  processes=[Process(100, "/opt/exampled", cpu=[0] * 4 + [91])])
    for _ in range(4):
        said = daemon.next_pass(THHS_ALWAYS_DUMP=value)
    assert (texts.exceeded("CPU", "exampled", 100, 90, 91) in said) == fires


@pytest.mark.parametrize("value, purges", [(1, True), (0, False), (2, False), (-1, False), ("x", False)])
def test_old_evidence_is_purged_for_a_1_alone(live, value, purges):
    host = live(store={"THHS_PURGE_OLD_EVIDENCE": value}).host
    assert [line for line in host.shell_lines() if line.startswith("rm ")] == [
        "rm -f /evidence/thsentinel"] * purges


def test_an_interval_whose_key_has_gone_is_the_default_again(live):
    daemon = live(store={"THHS_POLL_INTERVAL": 7})
    daemon.next_pass(THHS_POLL_INTERVAL=3)
    said = daemon.next_pass(THHS_POLL_INTERVAL=None)
    assert daemon.sleeps() == [7, 3, 600]
    assert texts.end_of_load({"THHS_EVIDENCE_PATH": "/evidence"})[-1] in said


def test_the_unit_of_the_memory_follows_its_key_in_any_case_and_without_it_is_absolute(live):
    daemon = live(store={"THHS_MONITOR_MEMORY": "exampled:3", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1},
                  processes=[Process(100, "/opt/exampled", mem=7.5, rss=5120)])
    for unit, shown in ((None, "5.00 MB"), ("percent", "7.50 Percent"), ("aBsolute", "5.00 MB"),
                        ("PerCent", "7.50 Percent"), (None, "5.00 MB")):
        label = shown.split()[1]
        assert ("Memory Capturing evidence for process exampled (100) without threshold , "
                f"Threshold : 3 {label} , Usage : {shown}") in daemon.next_pass(THHS_MEMORY_UNIT=unit), unit


def test_a_load_is_traced_by_the_verbosity_before_it_and_what_follows_by_its_own(live):
    daemon = live(store={"THHS_JDK_HOME": "/opt/jdk"})
    of_load = ["THHS_MONITOR_CPU not defined in Tarnhaven configuration.", "JDK Home is set to /opt/jdk . "]
    traced_before = False
    for value, is_traced in ((1, True), (1, True), ("x", True), (None, True), (2, False), (1, True),
                             (0, False), (0, False), (1, True), (-1, False)):
        said = daemon.next_pass(THHS_VERBOSE=value)
        place = said.index(texts.READ)
        assert [line in said[:place] for line in of_load] == [traced_before] * 2, value
        assert any(line.startswith("Cmd:") for line in said[place:]) == is_traced, value
        traced_before = is_traced


def test_another_evidence_path_takes_the_evidence_from_the_next_pass_on(live):
    daemon = live(store=WATCHING, processes=[FIRST])
    host = daemon.host
    daemon.captures_end()
    before = host.evidence()
    daemon.next_pass(THHS_EVIDENCE_PATH="/srv")
    assert host.evidence() == before
    assert host.ask("tree", "/srv")[0][:3] == ["thsentinel", "folder", 0o755]
    assert sorted({one[0].split("/")[3] for one in host.ask("tree", "/srv") if "Evidence" in one[0]}) == [
        "Evidence2"]


@pytest.mark.parametrize("home", ["/opt/../jdk", "/opt/jdk;"])
def test_a_path_of_the_jdk_that_was_refused_is_taken_all_the_same(live, home):
    host = live(store={"THHS_MONITOR_CPU": "adminconsole:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
                       "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_JDK_HOME": home},
                processes=[Process(300, "/opt/jre/bin/java tarn.thx.AdminConsole", cpu=7)]).host
    host.until(lambda: any(f'"{home}/bin/jcmd 300 ' in line for line in host.shell_lines()),
               "a dump is tried")


@pytest.mark.parametrize("environment", [
    {"THHS_POLL_INTERVAL": "0", "THHS_EVIDENCE_PATH": "/no/such", "THHS_MONITOR_CPU": "a:5",
     "THHS_VERBOSE": "1", "THHS_MEMORY_UNIT": "KB", "THHS_DUMP_COUNT": "77", "THHS_JDK_HOME": "/opt/jdk"},
    {"TMPDIR": "/srv", "HOME": "/srv", "TH_BASE_PATH": "/srv", "LOGDIR": "/srv"}],
    ids=["keys of the store", "places"])
def test_no_variable_of_the_environment_is_a_setting(make_host, environment):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    host.start(environment=environment)
    host.log_says(texts.MONITORING)
    assert host.log() == host.log_of_start()
    assert host.ask("tree", "/srv") == []


def test_a_store_that_changes_after_the_first_load_is_seen_after_the_first_sleep(
        make_host, interpose, pace):
    """The load of the daemon still speaks of the store of the foreground process."""
    host = make_host()
    daemon = paced.Paced(host, pace, [interpose(host, refusing.SOURCE)["LD_PRELOAD"]])
    before = texts.load(host.store)
    changed = {**host.store, "THHS_MONITOR_CPU": "a:5"}
    host.put("/changed", "".join(f"{key} = {value}\n" for key, value in changed.items()))
    refusing.in_child(host, f"cp /changed {product.STORE}\n")
    assert daemon.start().status == 0
    assert daemon.says() == [*before, texts.STARTED, *before, *host.machine_lines(), texts.MONITORING]
    assert daemon.step()
    assert daemon.says() == [*texts.load(changed), texts.MONITORING]


# ----------------------------------------------------------------------------------------------------------
# Readings that have to fit into an interval
# ----------------------------------------------------------------------------------------------------------

# Seconds between readings, their number, the interval; what becomes of the first two where they don't fit.
PLANS = [
    (5, 50, 251, None), (5, 50, 250, (4, 50)), (5, 50, 201, (4, 50)), (5, 50, 200, (3, 50)),
    (5, 50, 151, (3, 50)), (5, 50, 150, (2, 50)), (5, 50, 101, (2, 50)), (5, 50, 100, (1, 50)),
    (5, 50, 51, (1, 50)), (5, 50, 50, (1, 49)), (5, 50, 49, (1, 48)), (5, 50, 1, (1, 0)),
    (300, 2, 600, (4, 50)), (300, 2, 601, None), (2, 1, 2, (1, 1)),
    (1, 20, 21, None), (1, 20, 20, (1, 19)), (1, 500, 500, (1, 49)), (1, 500, 30, (1, 29)), (1, 1, 1, (1, 0)),
    (65536, 65536, 1, None), (65536, 32768, 1, None), (50000, 85900, 60, (1, 50)),
]
KEYS = "THHS_READING_INTERVAL", "THHS_NUMBER_OF_READINGS", "THHS_POLL_INTERVAL"


def fitting(plan, fitted):
    """The lines of readings that were made to fit."""
    given = " and ".join(f"{key} : {value}" for key, value in zip(KEYS, plan))
    return [f"Invalid combination of {given}. The product of {KEYS[0]} and {KEYS[1]} should be less than the "
            f"{KEYS[2]}.", *(f"{key} is set to : {value}, optimized based on the value of {KEYS[2]}"
                             for key, value in zip(KEYS, fitted))]


def test_readings_that_do_not_fit_their_interval_are_made_to_by_its_length(live):
    daemon = live(store={"_FORCE_READING_INTERVAL_": None})
    for *plan, fitted in PLANS:
        said = daemon.next_pass(**dict(zip(KEYS, plan)))
        load = texts.load(daemon.host.store)
        expected = [load[0], *(fitting(plan, fitted) if fitted else []), *load[1:], texts.MONITORING]
        assert said == expected, plan
    assert not [line for line in daemon.host.log() if line == texts.REVERTED]


def test_an_interval_of_a_second_leaves_no_reading_which_is_reverted_at_every_later_load(live):
    daemon = live(store={**NOTHING_ELSE, "THHS_POLL_INTERVAL": 1})
    host = daemon.host
    load = texts.load(host.store)
    first = [load[0], *fitting((5, 50, 1), (1, 0)), *load[1:]]
    none = "Invalid value for THHS_NUMBER_OF_READINGS : 0. Value should be greater than 0. "
    later = [load[0], none, *fitting((1, 50, 1), (1, 0)), *load[1:], texts.REVERTED]
    assert daemon.says() == [*first, texts.STARTED, *later, *host.machine_lines(), texts.MONITORING]
    assert daemon.next_pass() == [*later, texts.MONITORING]
    assert daemon.next_pass() == [*later, texts.MONITORING]


def test_a_value_that_was_reverted_is_not_reported_again_once_its_key_has_gone(live):
    keys = {**OUT_OF_RANGE, "THHS_DEADLOCK_INTERVAL": 0, "THHS_READING_INTERVAL": 0, "THHS_VERBOSE": 2,
            "THHS_ALWAYS_DUMP": 2, "THHS_PURGE_OLD_EVIDENCE": 2, "THHS_CAPTURE_WITHOUT_THRESHOLD": 2}
    daemon = live(store=keys)
    assert daemon.says().count(texts.REVERTED) == 2
    assert daemon.next_pass(**dict.fromkeys(keys)) == [*texts.load(daemon.host.store), texts.MONITORING]
