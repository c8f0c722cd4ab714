"""`metrics`, `explain` and `preflight` on a host."""
import json
import re
import shutil
import subprocess

import pytest
from prometheus_client import parser

from host import companion, paced, product, texts

ALL = ["thsentinel_up", "thsentinel_breaches_total", "thsentinel_sets", "thsentinel_evidence_free_bytes",
       "thsentinel_unmatched_names", "thsentinel_watched_names", "thsentinel_reading", "thsentinel_limit",
       "thsentinel_sets_left", "thsentinel_evidence_bytes", "thsentinel_settings_valid", "thsentinel_levels_raised",
       "thsentinel_last_pass_timestamp_seconds"]


def samples(text):
    return dict(re.fullmatch(r"(\S+?(?:\{.*\})?) (\S+)", line).groups() for line in text.splitlines()
                if not line.startswith("#"))


def test_metrics_of_a_service_at_work_are_whole_and_accepted(watching):
    daemon, _ = watching(THHS_CAPTURE_WITHOUT_THRESHOLD=1)
    done = companion.run_on(daemon.host, "metrics")
    assert done.status == 0
    found = samples(done.output)
    assert [name for name in ALL if f"# TYPE {name} " not in done.output] == []
    assert found["thsentinel_up"] == "1"
    assert found["thsentinel_unmatched_names"] == "1"
    assert found['thsentinel_limit{name="sleep",resource="cpu",unit="Percent"}'] == "80"
    assert found['thsentinel_breaches_total{name="sleep",resource="cpu"}'] == "1"
    assert found['thsentinel_breaches_total{name="absent",resource="cpu"}'] == "0"
    assert found['thsentinel_sets_left{name="sleep",resource="cpu"}'] == "2"
    assert sum(int(value) for name, value in found.items() if name.startswith("thsentinel_sets{")) == 1
    assert "pid" not in done.output
    judge(done.output)


def test_metrics_are_written_by_rename_also_when_nobody_runs(host):
    host.folder("/var/textfile")
    host.put("/var/textfile/thsentinel.prom", "old\n")
    before = host.shell("stat -c %i /var/textfile/thsentinel.prom")
    assert companion.run_on(host, "metrics", "-o", "/var/textfile/thsentinel.prom").status == 0
    assert host.shell("stat -c %i /var/textfile/thsentinel.prom") != before
    assert host.shell("ls -A /var/textfile") == "thsentinel.prom\n"
    assert host.shell("stat -c %a /var/textfile/thsentinel.prom") == "644\n"
    found = samples(host.get("/var/textfile/thsentinel.prom"))
    assert found["thsentinel_up"] == "0" and found["thsentinel_settings_valid"] == "1"
    assert companion.run_on(host, "metrics", "-o", "/no/such/folder/x").status == 3


def judge(text):
    """Each line parses, each family has its type and help, and no series comes twice."""
    families = list(parser.text_string_to_metric_families(text))
    assert [one.name for one in families if one.type == "unknown" or not one.documentation] == []
    series = [(one.name, *sorted(one.labels.items())) for family in families for one in family.samples]
    assert len(series) > 5 and len(series) == len(set(series))
    if shutil.which("promtool"):
        judged = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True, check=False)
        assert (judged.returncode, judged.stdout, judged.stderr) == (0, "", "")


def run_as_somebody(host, arguments):
    line = f"exec setpriv --reuid=65534 --clear-groups {companion.program()} {arguments}"
    return host.run("/bin/dash", "-c", line)


def test_whether_it_runs_is_left_out_where_it_may_not_be_known(host):
    host.start()
    host.shell(f"chmod 700 {product.BASE}/tmp")
    text = run_as_somebody(host, "metrics").output
    assert "\nthsentinel_up" not in text and "\nthsentinel_state_known 0\n" in text
    judge(text)
    found = samples(companion.run_on(host, "metrics").output)
    assert (found["thsentinel_up"], found["thsentinel_state_known"]) == ("1", "1")


BREACH = ("2026-11-13 02:07:28:045 - CPU threshold exceeded by process : tbrd (7), Threshold : 80 Percent , "
          "Usage : 90.00 Percent\n")
BREACHES = 'thsentinel_breaches_total{name="tbrd",resource="cpu"}'


@pytest.fixture(name="two_logs")
def _two_logs(host):
    """A start and two breaches yesterday, one breach today: the paths of both logs."""
    host.folder(product.LOGS)
    yesterday, today = (f"{product.LOGS}/root.{day}_00001.log" for day in ("111326", "111426"))
    host.put(yesterday, f"2026-11-13 02:00:00:045 - {texts.STARTED}\n" + BREACH * 2)
    host.put(today, BREACH)
    return yesterday, today


def test_breaches_without_a_file_are_left_out_once_the_log_of_the_start_is_gone(host, two_logs):
    assert samples(companion.run_on(host, "metrics").output)[BREACHES] == "3"
    host.remove(two_logs[0])
    assert "\nthsentinel_breaches_total" not in companion.run_on(host, "metrics").output


def test_breaches_in_a_file_do_not_fall_when_the_log_is_removed(host, two_logs):
    yesterday, today = two_logs

    def count(*arguments):
        assert companion.run_on(host, "metrics", *arguments).status == 0
        return samples(host.get("/x.prom"))[BREACHES]

    assert count("-o", "/x.prom") == "3"
    judge(host.get("/x.prom"))
    host.remove(yesterday)
    host.put("/breach", BREACH)
    host.shell(f"cat /breach >> {today}")
    assert count("-o", "/x.prom") == "4"
    host.remove(today)
    host.shell(f"rmdir {product.LOGS}")
    assert count("-o", "/x.prom") == "4"
    assert BREACHES not in companion.run_on(host, "metrics").output


def test_explain_says_why_there_is_no_set(watching):
    daemon, sleeper = watching(THHS_VERBOSE=1)
    for _ in range(4):
        daemon.next_pass()
    done = companion.run_on(daemon.host, "explain", "sleep", "--json")
    assert done.status == 0
    [counter] = done.document["counters"]
    assert (counter["pid"], counter["limit"], counter["window"], counter["setsTaken"]) == (sleeper, 80, 5, 0)
    assert "the last pass decided; the next decision falls in 6 passes" in counter["reasons"]
    assert any(one.startswith("the present reading, 0.") and "is not above the limit of 80 Percent" in one
               for one in counter["reasons"])
    assert "one full processor never brings it above the limit on this host" in counter["reasons"]
    assert companion.run_on(daemon.host, "explain", str(sleeper), "--json").document["counters"][0]["pid"] == sleeper
    absent = companion.run_on(daemon.host, "explain", "absent", "--json")
    assert absent.status == 1
    assert absent.document["reasons"] == ["no process of that name runs, so its cpu isn't read"]
    stranger = companion.run_on(daemon.host, "explain", "stranger")
    assert stranger.output == "stranger: it is in neither THHS_MONITOR_CPU nor THHS_MONITOR_MEMORY\n"


def test_explain_of_a_time_before_knows_what_the_log_knew_then(watching):
    daemon, sleeper = watching(THHS_VERBOSE=1)
    host = daemon.host
    for _ in range(2):
        daemon.next_pass()
    then = int(host.shell("date +%s")) + 1
    host.until(lambda: int(host.shell("date +%s")) > then, "two seconds go by")
    daemon.next_pass()
    [now] = companion.run_on(host, "explain", "sleep", "--json").document["counters"]
    document = companion.run_on(host, "explain", "sleep", "--at", f"@{then}", "--json").document
    [before] = document["counters"]
    assert (now["window"], before["window"], before["pid"]) == (4, 3, sleeper)
    assert (len(now["readings"]), len(before["readings"])) == (4, 3)
    assert document["reasons"] == ["limits and rules are those that the store has now"]
    assert not any("from now on" in one or "the present reading" in one for one in before["reasons"])


def test_explain_names_the_set_that_was_taken(watching):
    daemon, _ = watching(THHS_CAPTURE_WITHOUT_THRESHOLD=1, THHS_DUMP_COUNT=1)
    [counter] = companion.run_on(daemon.host, "explain", "sleep", "--json").document["counters"]
    assert counter["setsTaken"] == counter["setsAllowed"] == 1
    assert any(one.startswith("the last set was begun at ") for one in counter["reasons"])
    assert any(one.startswith("its 1 set is used up") for one in counter["reasons"])


def test_preflight_tries_tools_and_attaches_to_nothing(watching):
    daemon, sleeper = watching()
    done = companion.run_on(daemon.host, "preflight", "--json")
    checks = {one["check"]: one for one in done.document["checks"]}
    assert checks["process listing"]["result"] == "good"
    assert checks["tool ps"]["result"] == "good"
    assert checks["reading of CPU"]["message"].startswith(f"process {sleeper} reads ")
    assert checks["process listing"]["message"] == "shows the one watched process; without a process: absent"
    assert checks["store"]["result"] == "good"
    # A core image is as large as the address space, of which little may be resident.
    space = int(re.search(r"VmSize:\s+(\d+) kB", daemon.host.get(f"/proc/{sleeper}/status"))[1])
    said = checks["space for a core image"]["message"]
    number, unit = re.search(r"takes about ([\d.]+) (KiB|MiB),", said).groups()
    assert abs(float(number) * {"KiB": 1, "MiB": 1024}[unit] - space) <= 0.1 * space, said
    daemon.host.remove("/usr/bin/vmstat")
    done = companion.run_on(daemon.host, "preflight")
    assert done.status in (1, 2)
    assert "warning tool vmstat: /bin/vmstat isn't there or can't be run: no memory statistics" in done.output
    assert re.fullmatch(r"\d+ errors?, \d+ warnings?, \d+ unknown", done.output.splitlines()[-1])
    assert texts.STARTED in daemon.host.log()


def test_metrics_show_no_zero_for_what_cannot_be_read(host):
    host.start()
    unknown = ["thsentinel_watched_names", "thsentinel_unmatched_names", "thsentinel_sets{", "thsentinel_evidence_bytes",
               "thsentinel_settings_valid", "thsentinel_limit"]
    host.shell(f"mkdir -p {host.evidence_path}; chmod 755 {host.evidence_path}; chmod 644 {product.STORE}")
    text = run_as_somebody(host, "metrics").output
    assert [name for name in unknown if f"\n{name}" not in text] == ["thsentinel_limit"]
    assert samples(text)["thsentinel_evidence_readable"] == "1"
    host.shell(f"chmod 700 {host.evidence_path}; chmod 600 {product.STORE}")
    text = run_as_somebody(host, f"metrics --evidence {host.evidence_path}").output
    assert [name for name in unknown if f"\n{name}" in text] == []
    assert samples(text)["thsentinel_evidence_readable"] == "0"
    judge(text)


def test_settings_are_not_valid_where_the_store_is_gone(host):
    host.remove(product.STORE)
    text = companion.run_on(host, "metrics").output
    assert samples(text)["thsentinel_settings_valid"] == "0"
    assert "thsentinel_watched_names" not in text


def test_preflight_of_somebody_else_says_what_it_cannot_know(host):
    host.shell(f"chmod 600 {product.STORE}; mkdir -p {product.LOGS}")
    done = run_as_somebody(host, "preflight --json")
    checks = {one["check"]: (one["result"], one["message"]) for one in json.loads(done.output)["checks"]}
    assert checks["store"] == ("unknown", f"{product.STORE} can't be read: Permission denied")
    assert checks["evidence folder"] == ("unknown", "its path isn't known without the store")
    logs = product.LOGS.rsplit("/", 1)[0]
    assert checks["log folder"] == ("unknown", f"{logs} can't be written by this user; the service may")
    assert checks["process listing"][0] == "unknown"
    assert done.status == (2 if "error" in [result for result, _ in checks.values()] else 3)
    evidence = host.get(product.STORE).split("THHS_EVIDENCE_PATH = ")[1].split()[0]
    host.shell(f"chmod 644 {product.STORE}; mkdir -p /closed/evidence; chmod 700 /closed; "
               f"sed -i 's|{evidence}|/closed/evidence|' {product.STORE}")
    done = run_as_somebody(host, "preflight --json")
    checks = {one["check"]: (one["result"], one["message"]) for one in json.loads(done.output)["checks"]}
    assert checks["evidence folder"] == ("unknown", "/closed/evidence may not be looked at by this user")
    host.shell(f"chmod 711 {product.BASE}; chmod 700 {logs}/..")
    done = run_as_somebody(host, "preflight --json")
    messages = [one["message"] for one in json.loads(done.output)["checks"] if one["check"] == "log folder"]
    assert messages == [f"{logs} may not be looked at by this user"]
