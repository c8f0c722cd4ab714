"""The order of a stop for the ways in which the daemon ends: both logs, the lines for a shell, status."""
import signal

import pytest

from host import Process, paced, product, refusing, texts

PROCESSES = [Process(100, "/opt/exampled", cpu=90), Process(200, "/opt/tbrd", cpu=90)]
RAISED = {"THHS_MONITOR_CPU": "exampled:80,tbrd:80", "THHS_INCREASE_LOG_LEVEL": 1, "THHS_DUMP_COUNT": 1,
          "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0,
          "THHS_VERBOSE": 1}
LEVELS = {"119": (2, 3), "128": (4, 5), "exampled": (1, 0)}
TOOL = f"{product.HOME}/bin/txlogcfg"
RESTORES = [f'"{TOOL}" -a -p TH -o {target} -s DebugLevel={debug} -s DiagnosticLevel={diagnostic}'
            for target, (debug, diagnostic) in LEVELS.items()]
# The tool, which at the first restore hangs until it is released.
HANGING = """#!/bin/dash
[ "$1" = -a ] && [ "$7" != DebugLevel=6 ] && {
    : >/run/restoring
    until [ -e /run/go ]; do sleep 0.05; done
}
exec /run/txlogcfg "$@"
"""


def restored(target, debug, diagnostic):
    """What a verbose log has of the levels of a target that come back."""
    line = f'"{TOOL}" -a -p TH -o {target} -s DebugLevel={debug} -s DiagnosticLevel={diagnostic}'
    return [*texts.traced(line, texts.levels(debug, diagnostic)),
            f"mDiagnosticLevel and  DebugLevel for the process {target} have been reset to original values."]


TEAR_DOWN = [*texts.STOPPING[:2],
             *(entry for target, levels in LEVELS.items() for entry in restored(target, *levels)),
             texts.STOPPED]


@pytest.fixture(name="raised")
def _raised(make_host, pace):
    """A paced daemon that has raised the levels of three targets, and has said and sent all else."""
    def start(prepare=lambda host: None):
        host = make_host(store=RAISED, processes=PROCESSES)
        host.put(f"{product.HOME}/txlogcfg.levels", "".join(
            f"{target} {debug} {diagnostic}\n" for target, (debug, diagnostic) in LEVELS.items()))
        prepare(host)
        host.adopt_orphans()
        daemon = paced.Paced(host, pace)
        assert daemon.start().status == 0
        daemon.says()
        assert sum("DebugLevel=6" in line for line in host.shell_lines()) == len(LEVELS)
        return daemon

    return start


def lines_since(host, before):
    return host.shell_lines()[len(before):]


@pytest.mark.parametrize("end", ["-terminate", "-uninstall", signal.SIGTERM, signal.SIGINT], ids=str)
def test_a_stop_restores_the_levels_by_target_between_its_second_and_its_last_line(raised, end):
    daemon = raised()
    host, pid, sent = daemon.host, daemon.host.daemon_pid(), daemon.host.shell_lines()
    if isinstance(end, str):
        assert host.run(end).status == 0
    else:
        host.kill(pid, end)
    assert host.status_of(pid) == 255
    assert host.log()[daemon.logged:] == TEAR_DOWN
    assert lines_since(host, sent) == RESTORES
    assert host.system_log() == [texts.ENTRY, texts.UP, texts.DOWN]


def test_a_stop_is_in_the_system_log_before_the_first_level_is_restored(raised):
    def hang(host):
        host.shell(f"mv {TOOL} /run/txlogcfg")
        host.put(TOOL, HANGING, 0o755)

    daemon = raised(hang)
    host, pid = daemon.host, daemon.host.daemon_pid()
    host.kill(pid, signal.SIGTERM)
    host.until(lambda: host.exists("/run/restoring"), "the restore hangs")
    assert host.system_log()[-1] == texts.DOWN
    assert host.log()[daemon.logged:] == TEAR_DOWN[:3]
    host.put("/run/go")
    assert host.status_of(pid) == 255
    assert host.log()[daemon.logged:] == TEAR_DOWN
    assert host.system_log()[-1] == texts.DOWN


BAD_RELOADS = {
    "an invalid value": (
        {"THHS_MEMORY_UNIT": "KB"},
        ["Invalid value for THHS_MEMORY_UNIT : KB. Can only have values PERCENT or ABSOLUTE."],
        texts.INVALID_STOPS),
    "a bad character": (
        {"THHS_MEMORY_UNIT": "K;B"},
        ["There are non alpha numeric characters in the input ';'. Returning Error.",
         "There are invalid characters in the input for THHS_MEMORY_UNIT."], texts.BAD_CHARACTERS_STOP),
}


@pytest.mark.parametrize("changes, complaint, reason", BAD_RELOADS.values(), ids=BAD_RELOADS.keys())
def test_a_failed_reload_tears_everything_down_twice_after_its_reason(raised, changes, complaint, reason):
    daemon = raised()
    host, pid, sent = daemon.host, daemon.host.daemon_pid(), daemon.host.shell_lines()
    host.configure(changes)
    assert not daemon.step()
    assert host.status_of(pid) == 8
    assert host.log()[daemon.logged:] == [texts.READING, *complaint, f"Error:{reason}", texts.STOPPED,
                                        *TEAR_DOWN * 2]
    assert lines_since(host, sent) == RESTORES * 2
    assert host.system_log() == [texts.ENTRY, texts.UP, ("error", reason), texts.DOWN, texts.DOWN, texts.EXIT]


@pytest.mark.parametrize("name", ["TERM", "INT"])
def test_a_stop_before_the_worker_is_there_ends_the_daemon_and_tears_nothing_down(make_host, interpose, pace, name):
    """The signal comes when the process has just been made: neither its id is written nor a line."""
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    daemon = paced.Paced(host, pace, [interpose(host, refusing.SOURCE)["LD_PRELOAD"]])
    refusing.in_child(host, f"echo $PPID >/run/daemon; kill -{name} $PPID\n")
    host.adopt_orphans()
    result = daemon.start()
    # The run lock file is not written either, so the starter doesn't know whom to look for.
    assert (result.status, result.output.removeprefix(texts.begun("start"))) == (
        8, texts.begun("start") * product.is_built_with("-fsanitize=thread")  # which writes out what is buffered
        + texts.NO_DETAILS * 3 + texts.NOT_STARTED + texts.failed("start"))
    assert host.status_of(int(host.get("/run/daemon"))) == 255
    assert host.log() == texts.load(host.store)
    assert host.system_log() == []
