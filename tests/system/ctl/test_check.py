"""`check`: what it predicts beside what the daemon then does, and what it finds on a host."""
import os
import random
import re

import pytest

from host import SEEDS, companion, product, texts
from host.random_stores import KEYS, some_value

STORES = 3
MEMBERS = {"schema", "time", "file", "findings", "prediction", "matches", "unmatched"}  # whatever is found out
UNUSUAL = {
    "THHS_MONITOR_CPU": ["a:2G", "a:high,b:0.5", "a:99999999999", "a:4294967297", "a:1,a:2", "a:1 ,", "a:\t7", "a:b:9",
                         "a:007", "a::1", "a:1,b", "-x:1", "x/y:3", "a b:4"],
    "THHS_MONITOR_MEMORY": ["a:2G", "a:4294967296", "a:2147483648", "a:-0", "b:1,,", "a:101"],
    "THHS_MONITOR_DEADLOCK": [":5", "a:0x", "a:"],
    "THHS_EVIDENCE_PATH": ["/evidence", "/evidence", "/dev", "evidence", "/" + "long" * 400],
}


def check(host, *arguments):
    """The outcome of `check --json` on a host, with its document."""
    result = host.run(str(companion.program()), "check", "--json", *arguments)
    return companion.Outcome(result.status, result.output, result.errors)


def found(document, key):
    return [(one["severity"], one["line"], one["message"]) for one in document["findings"] if one["key"] == key]


def random_store(random_):
    store = {key: some_value(random_, key) for key in KEYS}
    for key, values in UNUSUAL.items():
        if random_.random() < 0.3:
            store[key] = random_.choice(values)
    return {key: value for key, value in store.items() if value is not None}


@pytest.mark.parametrize("seed", SEEDS)
def test_the_daemon_does_with_a_random_store_what_was_predicted(make_host, seed):
    random_ = random.Random(seed)
    host = make_host(defaults=False)
    for _ in range(STORES):
        store = random_store(random_)
        host.put(product.STORE, "".join(f"{key} = {value}\n" for key, value in store.items()))
        predicted = check(host).document["prediction"]
        before = len(host.log())
        started = host.run("-start", limit=90).status == 0
        said = host.log()[before:]
        assert started == predicted["starts"], (store, said)
        assert said[:len(predicted["log"])] == predicted["log"], store
        if started:
            assert said[len(predicted["log"])] == texts.STARTED, store
            for daemon in host.daemons():
                host.kill(daemon["pid"])
            host.until_gone()
        else:
            assert texts.STARTED not in said, store


def test_findings_stand_on_their_lines_in_both_forms(make_host):
    host = make_host(defaults=False)
    host.put(product.STORE, "# settings\n"
                            "THHS_MONITOR_CPU = exampled:2G\n"
                            "THHS_POLL_INTREVAL = 60\n"
                            "thhs_verbose = 1\n"
                            "THHS_DUMP_COUNT = 11\n"
                            "nonsense\n"
                            "THHS_EVIDENCE_PATH = /evidence\n")
    done = check(host)
    assert done.status == 1
    assert done.document["schema"] == "thsentinelctl.check/1"
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d", done.document["time"])
    findings = {(one["line"], one["severity"], one["key"]): one for one in reversed(done.document["findings"])}
    assert findings[2, "warning", "THHS_MONITOR_CPU"]["message"] == 'the limit of "exampled:2G" is read as 2'
    assert findings[3, "warning", "THHS_POLL_INTREVAL"]["remedy"] == "did you mean THHS_POLL_INTERVAL?"
    assert findings[4, "warning", "thhs_verbose"]["remedy"] == "write THHS_VERBOSE"
    assert findings[5, "warning", "THHS_DUMP_COUNT"]["message"] == "11 is out of range; 3 applies instead"
    assert findings[6, "warning", ""]["message"] == "the line is skipped: it has no equals sign"
    text = host.run(str(companion.program()), "check", product.STORE)
    assert text.status == 1
    assert f"{product.STORE}:5: warning: THHS_DUMP_COUNT: 11 is out of range; 3 applies instead\n" in text.output
    heads = re.findall(r"^(\S+):\d+: (?:error|warning|info): ", text.output, re.MULTILINE)
    assert set(heads) == {product.STORE} and len(heads) == len(done.document["findings"])


def test_a_store_without_faults_is_good(make_host):
    host = make_host(real_tools=True, cpus=2)
    sleeper = host.spawn("/bin/sleep", "1000")
    host.put(product.STORE, "THHS_MONITOR_CPU = sleep:49\nTHHS_MONITOR_MEMORY = sleep:100\n"
                            "THHS_EVIDENCE_PATH = /evidence\n")
    done = check(host)
    assert [one for one in done.document["findings"] if one["severity"] != "info"
            and "free below" not in one["message"] and "in memory" not in one["message"]] == []
    assert [(one["process"], one["pid"], one["resource"], one["limit"], one["unit"])
            for one in done.document["matches"]] == [("sleep", sleeper, "cpu", 49, "Percent"),
                                                     ("sleep", sleeper, "memory", 100, "MB")]
    decision = "first decision 40 min after the start, then every 1 h: five readings are needed, and one of six is dropped"
    assert ("info", 0, decision) in found(done.document, "THHS_POLL_INTERVAL")


def test_names_and_limits_are_held_against_the_host(make_host):
    host = make_host(real_tools=True, cpus=64)
    host.put("/opt/worker.sh", "#!/bin/dash\nsleep 1000\n", 0o755)
    host.spawn("/opt/worker.sh")
    host.spawn("/bin/sleep", "1000")
    # A shell whose words hold the marker comes before the program that it would start.
    wrapper = host.spawn("/bin/dash", "-c", "sleep 1000; : /opt/java -Dthwmc")
    host.until(lambda: any(one["name"] == "worker.sh" for one in host.processes()), "the script runs")
    host.put(product.STORE, "THHS_MONITOR_CPU = sleep:2, /bin/sleep:1, worker.sh:3, thwmc:0, slep:0\n"
                            "THHS_MONITOR_MEMORY = sleep:1000000000\n"
                            "THHS_EVIDENCE_PATH = /evidence\n")
    done = check(host)
    said = [message for severity, _, message in found(done.document, "THHS_MONITOR_CPU") if severity == "warning"]
    assert ('"sleep": one busy thread is 1.562 % of 64 processors; it takes 2 to exceed the limit, and it has 1 '
            "thread, so it can't be reached") in said
    assert ('"/bin/sleep" can never match: it is a path, and processes are known by the last part of theirs') in said
    assert any(re.fullmatch(r'"worker.sh" can never match: process \d+ runs it as a script, and is known as "dash"', one)
               for one in said)
    assert any(f"is that of process {wrapper}, " in one and one.startswith('"thwmc": ') for one in said)
    assert '"slep" matches no process now; "sleep" is running' in said
    assert any("is no less than the memory of this host" in message
               for _, _, message in found(done.document, "THHS_MONITOR_MEMORY"))
    assert set(done.document["unmatched"]) == {"/bin/sleep", "worker.sh", "thwmc", "slep"}
    assert done.status == 1


@pytest.mark.parametrize("path, severity, words", [
    ("/evidence/with blank", "error", "the path holds a blank"),
    ("/open", "warning", "/open may be written by everybody"),
    ("/foreign", "warning", "/foreign belongs to nobody"),
    ("evidence", "warning", "the path is relative"),
    ("/dev/shm", "warning", "lies on a file system in memory"),
    ("/proc", "error", "the folder /proc/thsentinel can't be made, and the service won't start"),
    ("/nowhere", "error", "there is no folder /nowhere, and the service won't start"),
])
def test_the_evidence_path_is_looked_at(make_host, path, severity, words):
    host = make_host()
    host.folder("/evidence/with blank")
    host.folder("/open", 0o777)
    host.folder("/foreign")
    host.shell("chown nobody /foreign; chmod 777 /open")
    host.configure(THHS_EVIDENCE_PATH=path)
    assert any(one[0] == severity and words in one[2]
               for one in found(check(host).document, "THHS_EVIDENCE_PATH")), check(host).output


def test_a_service_that_runs_leaves_itself_out(make_host):
    host = make_host(real_tools=True)
    host.configure(THHS_MONITOR_CPU="thsentinel:1", THHS_EVIDENCE_PATH="/evidence", THHS_POLL_INTERVAL=600)
    host.start()

    def is_left_out():
        """A tool of the first pass has the daemon's name until it takes its own."""
        document = check(host).document
        return (document["matches"], document["unmatched"]) == ([], ["thsentinel"])

    host.until(is_left_out, "the daemon isn't among its matches")


def test_without_its_own_library_unknown_keys_are_not_checked(make_host, interpose):
    host = make_host()
    library = """
        #include <stdlib.h>
        #include <string.h>
        void* get_master_config_ptr(void) { return (void*)1; }
        int thconfGetKeyValPair(void* handle, const char* key, char** value)
        {
            if (strcmp(key, "THHS_EVIDENCE_PATH") != 0) return 227;
            *value = strdup("/evidence");
            return 0;
        }
        int thconfGetKeyValPairAsInt(void* handle, const char* key, int* value)
        {
            if (strcmp(key, "THHS_DUMP_COUNT") != 0) return 227;
            *value = 12;
            return 0;
        }
    """
    interpose(host, library)
    host.shell("cp /run/interposed.so /usr/tarnv/tarnhaven/lib/libthbase.so")
    done = host.run(str(companion.program()), "check", "--json",
                    environment={"LD_LIBRARY_PATH": "/usr/tarnv/tarnhaven/lib"})
    document = companion.Outcome(*done).document
    messages = [one["message"] for one in document["findings"]]
    assert "the product's library can't list its keys: unknown keys were not checked" in messages
    assert "12 is out of range; 3 applies instead" in messages
    assert document["prediction"]["starts"]


def test_names_limits_and_the_path_are_checked_without_a_host_too(tmp_path):
    store = tmp_path / "master.conf"
    store.write_text("THHS_MONITOR_CPU = /usr/bin/x:5,a b:5,c:100,-d:5\nTHHS_MONITOR_MEMORY = e:99\n"
                     "THHS_MEMORY_UNIT = PERCENT\nTHHS_EVIDENCE_PATH = my evidence\n")
    document = companion.run("check", "--no-host", "--json", store).document
    assert [one for key in ("THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY", "THHS_EVIDENCE_PATH")
            for one in found(document, key)] == [
        ("error", 1, '"-d" comes first in the filter of the process listing, where egrep takes it for an option: no '
                     "process at all is found"),
        ("warning", 1, '"/usr/bin/x" can never match: it is a path, and processes are known by the last part of theirs'),
        ("warning", 1, '"a b" can never match: it holds a blank, and a command is cut at its first blank'),
        ("warning", 1, '"c": a reading never exceeds 100 percent, so this limit is never reached'),
        ("warning", 2, '"e": the process listing shows 99.9 percent of the memory at most, which is read as 99, so a '
                       "limit of 99 is never exceeded"),
        ("error", 4, "the path holds a blank: the shell lines of the captures don't quote it, so they write nothing here"),
        ("warning", 4, "the path is relative: it depends on the folder that the service is started in")]
    assert (document["matches"], document["unmatched"]) == ([], [])


def test_a_name_of_two_lists_without_a_process_is_named_once(make_host):
    host = make_host(real_tools=True)
    host.configure(THHS_MONITOR_CPU="absent:1", THHS_MONITOR_MEMORY="absent:1", THHS_EVIDENCE_PATH="/evidence")
    assert check(host).document["unmatched"] == ["absent"]


def test_the_last_line_counts_errors_and_warnings(tmp_path):
    store = tmp_path / "master.conf"
    store.write_text("THHS_MONITOR_CPU = tbrd\n")
    assert companion.run("check", "--no-host", store).output.splitlines()[-1] == (
        "2 errors, 1 warning; the service won't start with these settings")


def test_hostile_stores_are_met_safely(tmp_path):
    store = tmp_path / "master.conf"
    store.write_bytes(b"evil\x1b[2J\xff = 1\nTHHS_MONITOR_CPU = \x1b]0;x\x07:1\nA\x00B = 1\n" + b"x" * 100000 + b"=1\n")
    done = companion.run("check", store, "--no-host")
    assert done.status == 2
    assert not re.search(r"[\x00-\x09\x0b-\x1f\x7f]", done.output)
    assert r"evil\x1B[2J\xFF" in done.output
    companion.run("check", "--json", "--no-host", store).document["findings"]
    link, pipe = tmp_path / "link", tmp_path / "pipe"
    link.symlink_to("/dev/zero")
    os.mkfifo(pipe)
    for path, reason in ((link, "it is not a regular file"), (pipe, "it is not a regular file"),
                         (tmp_path, "it is not a regular file")):
        done = companion.run("check", path)
        assert (done.status, done.output) == (3, "")
        assert done.errors == f"thsentinelctl: {path} can't be read: {reason}\n"
    assert set(companion.run("check", "--json", link).document) == MEMBERS
    with open(store, "wb") as huge:
        huge.truncate(17 << 20)
    assert companion.run("check", store).status == 3


def test_a_missing_store_is_said_to_be_missing_with_what_the_daemon_does_then(make_host):
    host = make_host(defaults=False)
    host.remove(product.STORE)
    done = check(host)
    assert done.status == 2 and set(done.document) == MEMBERS
    assert done.document["findings"][0] == {
        "severity": "error", "key": "", "line": 0, "remedy": "write one; thsentinel.conf(5) has the keys",
        "message": "there is no such file: every key is missing, and the service won't start; one that runs goes on with "
                   "the settings that it has read"}
    assert host.run("-start", limit=90).status != 0
    assert host.log()[:len(done.document["prediction"]["log"])] == done.document["prediction"]["log"]


def test_an_evidence_path_that_may_not_be_looked_at_is_said_to_be_so(make_host):
    host = make_host()
    host.folder("/closed/evidence")
    host.shell("chmod 700 /closed")
    host.configure(THHS_EVIDENCE_PATH="/closed/evidence")
    line = f"exec setpriv --reuid=65534 --clear-groups {companion.program()} check --json"
    done = companion.Outcome(*host.run("/bin/dash", "-c", line))
    assert found(done.document, "THHS_EVIDENCE_PATH")[0][2].startswith(
        "/closed/evidence can't be looked at: Permission denied;"), done.output
    assert done.document["prediction"]["starts"]


@pytest.mark.parametrize("arguments", [["check", "--nonsense"], ["check", "a", "b"], ["nonsense"], []])
def test_wrong_use_ends_with_64(arguments):
    done = companion.run(*arguments)
    assert done.status == 64 and done.output == "" and done.errors
