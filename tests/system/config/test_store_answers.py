"""Keys that go from the store under a running daemon, and a store whose answers are odd."""
import pytest

from host import Process, paced, refusing, texts

NAME, PID = "exampled", 4321
WATCHING = {"THHS_MONITOR_CPU": f"{NAME}:50", "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0}


def watching(live, **settings):
    return live(store={**WATCHING, **settings}, processes=[Process(PID, f"/opt/{NAME}", cpu=7)])


def test_a_number_whose_key_has_gone_stays_in_force_silently(live):
    daemon = watching(live, THHS_CAPTURE_WITHOUT_THRESHOLD=1, THHS_DUMP_COUNT=1)
    assert texts.taking(1, NAME, PID) in daemon.says()
    expected = [texts.MONITORING,
                f"CPU Capturing evidence for process {NAME} ({PID}) without threshold , "
                "Threshold : 50 Percent , Usage : 7.00 Percent",
                f"Dump count reached max allowed for process {NAME} : 1"]
    said = daemon.next_pass(THHS_CAPTURE_WITHOUT_THRESHOLD=None, THHS_DUMP_COUNT=None)
    assert said == texts.load(daemon.host.store) + expected
    assert daemon.host.evidence_paths() == [
        NAME, f"{NAME}/{PID}", f"{NAME}/{PID}/Evidence1", *(
            f"{NAME}/{PID}/Evidence1/{PID}_<time>_CPU.{ending}" for ending in ("MemoryPerf", "ProcessData")),
        f"{NAME}/{PID}/evidence.lock"]


def test_a_text_whose_key_has_gone_is_empty(live):
    daemon = watching(live, THHS_JDK_HOME="/opt/jdk")
    assert texts.JDK_NOT_SET not in daemon.says()
    load = texts.load(daemon.host.store)
    assert daemon.next_pass() == [line for line in load if line != texts.JDK_NOT_SET] + [texts.MONITORING]
    assert daemon.next_pass(THHS_JDK_HOME=None) == load + [texts.MONITORING]


# From the given reading on, the text of one key comes with a complaint.
COMPLAINING_STORE = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <string.h>

int thconfGetKeyValPair(void* handle, const char* key, char** value)
{
    static int readings;
    int (*real)(void*, const char*, char**) = dlsym(RTLD_NEXT, "thconfGetKeyValPair");
    const int result = real(handle, key, value);
    if (strcmp(key, "THHS_EVIDENCE_PATH") != 0 || ++readings < %d)
        return result;
    return 228;
}
"""


ON_NOTHING = {"THHS_POLL_INTERVAL": 1, "THHS_EVIDENCE_PATH": "/evidence"}  # what a load speaks of
COMPLAINT = [texts.READING, texts.JDK_NOT_SET]  # a load that ends at this key, which says nothing
UNNAMED = ["Error:", texts.STOPPED]


@pytest.mark.parametrize("first_complaint, console, log, system_log", [
    (1, texts.begun("start"), COMPLAINT, []),
    (2, texts.begun("start") * 2 + texts.NOT_STARTED,
     [*texts.load(ON_NOTHING), texts.STARTED, *COMPLAINT, *UNNAMED], [texts.ENTRY, ("error", "")])],
    ids=["of the foreground process", "of the daemon"])
def test_a_load_that_fails_without_a_reason_starts_nothing(make_host, interpose, first_complaint, console, log,
                                                           system_log):
    host = make_host()
    said = host.run("-start", environment=interpose(host, COMPLAINING_STORE % first_complaint))
    assert said == (8, console + texts.failed("start"), "")
    assert host.log() == log
    assert host.daemons() == []
    assert host.system_log() == system_log


def test_a_reload_that_fails_without_a_reason_ends_the_daemon(make_host, pace, interpose):
    host = make_host()
    host.adopt_orphans()
    library = interpose(host, COMPLAINING_STORE % 3)["LD_PRELOAD"]
    daemon = paced.Paced(host, pace, [library])
    assert daemon.start().status == 0
    pid = host.daemon_pid()
    assert daemon.says()[-1] == texts.MONITORING
    assert not daemon.step()
    assert host.status_of(pid) == 8
    assert host.log()[daemon.logged:] == [*COMPLAINT, *UNNAMED, *texts.STOPPING * 2]
    assert host.system_log() == [
        texts.ENTRY, texts.UP, ("error", ""), texts.DOWN, texts.DOWN, texts.EXIT]


NUMBERS = ["THHS_POLL_INTERVAL", "THHS_DUMP_COUNT", "THHS_CAPTURE_NETWORK_STAT", "THHS_DEADLOCK_INTERVAL",
           "THHS_INCREASE_LOG_LEVEL", "THHS_CAPTURE_PROCESS_DUMP", "THHS_ALWAYS_DUMP", "THHS_CAPTURE_DISK_IO",
           "_FORCE_READING_INTERVAL_", "THHS_NUMBER_OF_READINGS", "THHS_READING_INTERVAL",
           "THHS_PURGE_OLD_EVIDENCE", "THHS_CAPTURE_WITHOUT_THRESHOLD", "THHS_VERBOSE"]


def test_numbers_that_the_store_fails_to_give_stay_in_force_silently(make_host, interpose, pace):
    """The interval alone is the default then; texts that are not there are traced as ever."""
    host = make_host(store={**WATCHING, "THHS_POLL_INTERVAL": 7, "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
                            "THHS_DUMP_COUNT": 1, "THHS_VERBOSE": 1},
                     processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    daemon = paced.Paced(host, pace, [interpose(host, refusing.SOURCE)["LD_PRELOAD"]])
    assert daemon.start().status == 0
    refusing.refuse(host, *(f"store {key}" for key in NUMBERS))
    said = daemon.next_pass()
    path, *end = texts.end_of_load({"THHS_EVIDENCE_PATH": "/evidence"})
    unset, *others = (f"{key} not defined in Tarnhaven configuration." for key in (
        "THHS_MEMORY_UNIT", "THHS_MONITOR_MEMORY", "THHS_MONITOR_DEADLOCK", "THHS_JDK_HOME"))
    assert said[:said.index(end[-1]) + 1] == [
        texts.READING, unset, *texts.listed(host.store), *others, texts.JDK_NOT_SET, path, *end]
    assert f"Dump count reached max allowed for process {NAME} : 1" in said
    assert daemon.sleeps() == [7, 600]
    assert unset in daemon.next_pass()
