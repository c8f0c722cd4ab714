"""What goes wrong while the daemon comes up, and what it says of it: console, both logs, statuses, whole."""
import pytest

from host import paced, product, refusing, texts

LONG = {"THHS_POLL_INTERVAL": 600}
NO_FORK = "Error: Failed to fork the process\n"
NO_FOLDER = ("Invalid value for THHS_EVIDENCE_PATH : /evidence. Specified folder does not exist. thsentinel "
             "will not start.")

OPTIONS = pytest.mark.parametrize("option, label, status", [("-start", "start", 8), (None, "run", 10)])


@pytest.fixture(name="life")
def _life(make_host, interpose, pace):
    """A host whose machine refuses what it is set to refuse, and its paced daemon, not started yet."""
    host = make_host(store=LONG)
    library = interpose(host, refusing.SOURCE)["LD_PRELOAD"]
    host.adopt_orphans()
    return host, paced.Paced(host, pace, [library])


@OPTIONS
def test_a_fork_that_fails_is_reported_and_nothing_runs(life, option, label, status):
    host, daemon = life
    refusing.refuse(host, "fork")
    assert daemon.start(option) == (status, texts.begun(label) + NO_FORK + texts.failed(label), "")
    assert host.daemons() == []
    assert host.log() == texts.load(host.store)
    assert host.system_log() == []
    refusing.refuse(host)
    assert daemon.start(option).status == 0


@OPTIONS
def test_a_load_that_fails_in_the_daemon_alone_ends_it_before_its_worker(life, option, label, status):
    """Its folder goes away between the load of the foreground and its own."""
    host, daemon = life
    refusing.in_child(host, f"echo $PPID >/run/daemon; mv {host.evidence_path} /gone\n")
    expected = texts.begun(label) * 2 + texts.NOT_STARTED + texts.failed(label)
    assert daemon.start(option) == (status, expected, "")
    pid = int(host.get("/run/daemon"))
    assert host.daemon_pid() == pid
    assert host.status_of(pid) == status
    assert host.log() == [*texts.load(host.store), texts.STARTED, texts.READING, texts.JDK_NOT_SET, NO_FOLDER,
                          f"Error:{texts.INVALID_STOPS}", texts.STOPPED]
    assert host.system_log() == [texts.ENTRY, ("error", texts.INVALID_STOPS)]
    assert host.shell_lines() == []


def test_a_daemon_that_is_never_seen_is_given_up_after_three_checks_and_comes_all_the_same(life):
    host, daemon = life
    refusing.in_child(host, "until [ -e /run/go ]; do sleep 0.05; done\n")
    start = host.spawn(product.PROGRAM, "-start", environment=daemon.environment)
    host.until(lambda: host.process_of(start)["state"] == "Z", "the foreground has given up")
    assert host.get(product.RUN_LOCK) == ""
    host.put("/run/go")
    parent = texts.begun("start") + texts.NO_DETAILS * 3 + texts.NOT_STARTED + texts.failed("start")
    assert host.wait(start) == (8, parent + texts.begun("start"), "")
    host.log_says(texts.MONITORING)
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()]


def test_a_child_lock_that_cannot_be_made_lets_no_daemon_run(life):
    host, daemon = life
    host.folder(product.CHILD_LOCK)
    trouble = f"Error: Failed to create file {product.CHILD_LOCK}\n"
    child = texts.begun("start") + trouble + texts.ALREADY
    parent = texts.begun("start") + texts.NO_DETAILS * 3 + texts.NOT_STARTED + texts.failed("start")
    assert daemon.start() == (8, child + parent, "")
    assert host.daemons() == []
    assert host.log() == texts.load(host.store)
    assert host.system_log() == []


def test_a_child_lock_that_cannot_be_tried_counts_as_a_daemon_for_a_stop(life):
    host, _ = life
    other = host.spawn("/bin/sleep", "1000")
    host.put(product.RUN_LOCK, str(other))
    host.folder(product.CHILD_LOCK)
    trouble = f"Error: Failed to create file {product.CHILD_LOCK}\n"
    assert host.run("-terminate") == (0, texts.begun("stop") + trouble + texts.done("stop"), "")
    assert host.wait(other).status == -15
    said = texts.begun("uninstall") + trouble + texts.done("uninstall")
    assert host.run("-uninstall") == (0, said, "")  # for which the same is no daemon


def test_a_child_that_finds_a_daemon_ends_well(life):
    host, daemon = life
    assert daemon.start().status == 0
    refusing.in_child(host, "echo $PPID >/run/child\n")
    assert host.run("-start", environment=daemon.environment).status == 0
    assert host.status_of(int(host.get("/run/child"))) == 0


def test_a_worker_that_cannot_be_made_is_tried_three_times_silently(life):
    host, daemon = life
    refusing.refuse(host, "thread of main")
    refusing.in_child(host, "echo $PPID >/run/daemon\n")
    expected = texts.begun("start") * 2 + texts.NOT_STARTED + texts.failed("start")
    assert daemon.start() == (8, expected, "")
    assert host.status_of(int(host.get("/run/daemon"))) == 8
    assert host.log() == host.log_of_start()[:-1]
    assert host.system_log() == [texts.ENTRY, texts.UP, texts.EXIT]


def test_a_worker_that_is_made_at_the_third_try_works_as_any(life):
    host, daemon = life
    refusing.refuse(host, "thread of main 1", "thread of main 2")
    assert daemon.start().status == 0
    assert host.log() == host.log_of_start()
    host.terminate()


def test_other_texts_with_an_unusual_code_count_as_not_defined_silently(life):
    host, daemon = life
    keys = {"THHS_MEMORY_UNIT": "PERCENT", "THHS_MONITOR_CPU": "a:1", "THHS_MONITOR_MEMORY": "a:1",
            "THHS_MONITOR_DEADLOCK": "a", "THHS_JDK_HOME": "/opt/jdk"}
    host.configure(keys)
    refusing.refuse(host, *(f"store {key}" for key in keys))
    assert daemon.start().status == 0
    load = [texts.READING, *texts.end_of_load(host.store)]
    assert host.log() == [*load, texts.STARTED, *load, *host.machine_lines(), texts.MONITORING]
