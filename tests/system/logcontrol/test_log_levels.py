"""The log levels of the product: what a breach and a stop ask of the log configuration tool, line by line."""
import signal

import pytest

from host import Process, paced, product, texts

TOOL = f"{product.HOME}/bin/txlogcfg"
LEVELS = f"{product.HOME}/txlogcfg.levels"
PIDS = {"119": 4320, "thwmc": 4321, "tbrd": 4322, "exampled": 4323}
COMMANDS = {"thwmc": "/opt/jre/bin/java -Dthwmc=1 tarn.thx.WebManagement"}
# Every pass is a breach, up to the dump count.
ON = {"THHS_INCREASE_LOG_LEVEL": 1, "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 10}


def listed(target):
    command = f"{TOOL} -p TH -o {target} -l | grep"
    return [f'{command} "Debug"', f'{command} "Diag"']


def raised(target):
    return [*listed(target), f"{TOOL} -a -p TH -o {target} -s DebugLevel=6 -s DiagnosticLevel=6"]


def restored(target, debug, diagnostic):
    return [f'"{TOOL}" -a -p TH -o {target} -s DebugLevel={debug} -s DiagnosticLevel={diagnostic}']


def tool_lines(host):
    """Every line that a shell was given for the tool."""
    return [line for line in host.shell_lines() if "txlogcfg" in line]


@pytest.fixture(name="make_life")
def _make_life(make_host, pace):
    """Makes a host that watches processes of these names, and a paced daemon that is in its first pass.

    levels: what the tool has stored; tool: the text of another tool, empty for none.
    """

    def make(*names, levels="", tool=None, **store):
        lists = {"THHS_MONITOR_CPU": ",".join(f"{name}:80" for name in names)}
        host = make_host(store={**lists, **ON, **store}, processes=[
            Process(PIDS.get(name, 5000 + place), COMMANDS.get(name, f"/opt/{name} -d"), cpu=90)
            for place, name in enumerate(names)])
        if levels:
            host.put(LEVELS, levels)
        if tool:
            host.put(TOOL, tool, 0o755)
        elif tool == "":
            host.remove(TOOL)
        daemon = paced.Paced(host, pace)
        assert daemon.start().status == 0
        return host, daemon

    return make


def tool_that_lists(listings, says="echo set"):
    """A log configuration tool that lists these texts by target, and nothing of others."""
    cases = [f"    *'-o {target} -l') printf '{text}\\n' ;;" for target, text in listings.items() if text]
    return "\n".join(["#!/bin/dash", "case $* in", *cases, f"    *' -s '*) {says} ;;", "esac", ""])


@pytest.mark.parametrize("name, targets", [
    ("thwmc", ["485", "495"]), ("tbrd", ["119", "128"]), ("exampled", ["exampled"])])
def test_a_breach_raises_the_targets_of_a_process_and_a_stop_restores_what_was_there(make_life, name,
                                                                                     targets):
    before = {target: (number, number + 2) for number, target in enumerate(targets, 2)}
    rows = sorted(f"{target} {debug} {diagnostic}\n" for target, (debug, diagnostic) in before.items())
    host, _ = make_life(name, levels="".join(rows), THHS_VERBOSE=1)
    raise_lines = [line for target in targets for line in raised(target)]
    assert tool_lines(host) == raise_lines
    assert sorted(host.get(LEVELS).splitlines()) == [f"{target} 6 6" for target in targets]
    host.terminate()
    assert tool_lines(host) == raise_lines + [line for target in targets
                                              for line in restored(target, *before[target])]
    assert sorted(host.get(LEVELS).splitlines(keepends=True)) == rows
    told = [entry for entry in host.log() if entry.startswith(("Original D", "mDiagnosticLevel"))]
    assert told == [line for target, (debug, diagnostic) in before.items() for line in (
        f"Original DebugLevel for process {target} is : {debug}.",
        f"Original DiagnosticLevel for process {target} is : {diagnostic}.",
        f"mDiagnosticLevel and  DebugLevel for the process {target} set to 6.")] + [
            f"mDiagnosticLevel and  DebugLevel for the process {target} have been reset to original values."
            for target in targets]


@pytest.mark.parametrize("name, targets", [("thwmc", ["485", "495"]), ("exampled", ["exampled"])])
def test_a_second_breach_of_a_process_asks_the_tool_for_nothing(make_life, name, targets):
    host, daemon = make_life(name)
    assert daemon.step() and daemon.step()
    shown = name.replace("thwmc", "java")
    assert [entry for entry in host.log() if entry.startswith("Taking")] == [
        texts.taking(number, shown, PIDS[name]) for number in (1, 2, 3)]
    assert tool_lines(host) == [line for target in targets for line in raised(target)]


def test_a_process_of_the_same_name_is_covered_by_the_breach_of_the_first(make_life):
    host, daemon = make_life("exampled")
    host.show(Process(7777, "/opt/exampled second", cpu=90))
    assert daemon.step()
    assert texts.taking(1, "exampled", 7777) in host.log()
    assert tool_lines(host) == raised("exampled")


def test_each_name_is_raised_at_its_own_first_breach_and_all_are_restored_by_name(make_life):
    host, _ = make_life("tbrd", "thwmc", "exampled")
    host.terminate()
    # By process id when they are raised, by the text of the target when they are restored.
    assert tool_lines(host) == [line for target in ("485", "495", "119", "128", "exampled")
                                for line in raised(target)] + [
        line for target in ("119", "128", "485", "495", "exampled") for line in restored(target, 1, 1)]


@pytest.mark.parametrize("debug, diagnostic, given", [
    ("999", "100", ("999", "100")), ("1000", "999", ("100", "999")), ("12", "1234567", ("12", "123")),
    ("-12", "-123", ("-12", "-12")), ("007", "0", ("7", "0"))])
def test_a_level_of_more_than_three_characters_is_cut_when_it_is_restored(make_life, debug, diagnostic,
                                                                          given):
    listing = f"DebugLevel = {debug}\\nDiagnosticLevel = {diagnostic}"
    host, _ = make_life("exampled", tool=tool_that_lists({"exampled": listing}))
    host.terminate()
    assert tool_lines(host) == raised("exampled") + restored("exampled", *given)


@pytest.mark.parametrize("settings", [
    {"THHS_INCREASE_LOG_LEVEL": 0}, {"THHS_CAPTURE_WITHOUT_THRESHOLD": 0}],
    ids=["a breach that raises nothing", "no breach"])
def test_where_nothing_was_raised_a_stop_calls_no_tool(make_life, settings):
    host, _ = make_life("exampled", "thwmc", **settings)
    host.terminate()
    assert host.log()[-3:] == texts.STOPPING
    assert tool_lines(host) == []


def test_a_daemon_that_its_store_ends_restores_twice(make_life):
    host, daemon = make_life("thwmc", levels="485 2 3\n495 4 5\n", THHS_VERBOSE=1)
    host.configure(THHS_POLL_INTERVAL=0)
    assert not daemon.step()
    once = restored("485", 2, 3) + restored("495", 4, 5)
    assert tool_lines(host) == raised("485") + raised("495") + once * 2
    assert sorted(host.get(LEVELS).splitlines()) == ["485 2 3", "495 4 5"]
    told = [entry for entry in host.log() if "have been reset" in entry]
    assert told == [f"mDiagnosticLevel and  DebugLevel for the process {target} have been reset to original "
                    "values." for target in ("485", "495")] * 2


BOTH = "DebugLevel = 3\\nDiagnosticLevel = 4"

# What the tool lists of 119 and of 128; what is restored of those that were raised.
UNREADABLE = {
    "none of the first": ("", BOTH, {128: (3, 4)}),
    "none of the second": (BOTH, "", {119: (3, 4), 128: (3, 4)}),
    "none of both": ("", "", {}),
    "half of the second": (BOTH, "DiagnosticLevel = 7", {119: (3, 4), 128: (3, 7)}),
    "a half of each": ("DebugLevel = 3", "DiagnosticLevel = 4", {128: (3, 4)}),
    "a first of -1": ("DebugLevel = -1\\nDiagnosticLevel = 4", BOTH, {128: (3, 4)}),
    "no number": ("DebugLevel = high\\nDiagnosticLevel = 4", BOTH, {119: (0, 4), 128: (3, 4)}),
    "no equals sign": ("DebugLevel: 5\\nDiagnosticLevel = 4", BOTH, {119: (0, 4), 128: (3, 4)}),
}


@pytest.mark.parametrize("first, second, kept", UNREADABLE.values(), ids=UNREADABLE.keys())
def test_an_unreadable_first_id_is_skipped_and_an_unreadable_second_one_inherits(make_life, first, second,
                                                                                kept):
    host, _ = make_life("tbrd", tool=tool_that_lists({119: first, 128: second}))
    host.terminate()
    asked = [line for target in (119, 128) for line in (raised if target in kept else listed)(target)]
    assert tool_lines(host) == asked + [line for target, levels in kept.items()
                                        for line in restored(target, *levels)]


def test_a_target_that_could_not_be_read_is_tried_again_at_the_next_breach(make_life):
    host, daemon = make_life("exampled", tool=tool_that_lists({}))
    assert tool_lines(host) == listed("exampled")
    host.put(TOOL, tool_that_lists({"exampled": BOTH}), 0o755)
    assert daemon.step()
    assert tool_lines(host) == listed("exampled") + raised("exampled")


@pytest.mark.parametrize("says, told", [
    ("echo set", ["mDiagnosticLevel and  DebugLevel for the process exampled set to 6.",
                  "mDiagnosticLevel and  DebugLevel for the process exampled have been reset to original "
                  "values."]),
    ("echo refused >&2; exit 1", [])], ids=["a tool that speaks", "a tool that fails"])
def test_a_raise_is_logged_by_what_the_tool_prints_and_restored_in_any_case(make_life, says, told):
    host, _ = make_life("exampled", tool=tool_that_lists({"exampled": BOTH}, says), THHS_VERBOSE=1)
    host.terminate()
    assert tool_lines(host) == raised("exampled") + restored("exampled", 3, 4)
    assert [entry for entry in host.log() if entry.startswith("mDiagnosticLevel")] == told


@pytest.mark.parametrize("names", [("tbrd", "TBRD", "Tbrd"), ("119", "tbrd")],
                         ids=["a name in several cases", "a name that is an id"])
def test_a_target_that_several_names_lead_to_is_raised_at_the_first_of_them(make_life, names):
    host, _ = make_life(*names)
    assert len([entry for entry in host.log() if entry.startswith("Taking")]) == len(names)
    host.terminate()
    assert tool_lines(host) == [*raised("119"), *raised("128"), *restored("119", 1, 1),
                                *restored("128", 1, 1)]


# What is listed of a target whose name is the key, and the level that is taken from it.
LISTINGS = {
    "a": ("DebugLevel = 3 = 9", "3"), "b": ("DebugLevel  =  4", "4"), "c": ("DebugLevel = 5 of 6", "5"),
    "d": ("DebugFile = 7\\nDebugLevel = 2", "7"), "e": ("a=1 Debug=2 = 8", "8"),
    "f": ("DebugLevel = -7", "-7"), "g": ("DebugLevel = +7x", "7"), "h": ("DebugLevel = ", "0"),
}


def test_a_level_is_the_number_after_the_first_equals_sign_between_blanks(make_life):
    listings = {name: f"{text}\\nDiagnosticLevel = 4" for name, (text, _) in LISTINGS.items()}
    host, _ = make_life(*LISTINGS, tool=tool_that_lists(listings))
    host.terminate()
    assert tool_lines(host) == [line for name in LISTINGS for line in raised(name)] + [
        line for name, (_, level) in LISTINGS.items() for line in restored(name, level, 4)]


# ----------------------------------------------------------------------------------------------------------
# What is saved lives as long as the daemon
# ----------------------------------------------------------------------------------------------------------

def test_a_setting_that_is_turned_off_raises_nothing_more_and_restores_nothing_before_the_stop(make_life):
    host, daemon = make_life("exampled", levels="exampled 2 3\n")
    host.show(*[Process(PIDS[name], f"/opt/{name}", cpu=90) for name in ("exampled", "tbrd")])
    host.configure(THHS_INCREASE_LOG_LEVEL=0, THHS_MONITOR_CPU="exampled:80,tbrd:80")
    assert daemon.step() and daemon.step()
    assert texts.taking(2, "tbrd", PIDS["tbrd"]) in host.log()
    assert tool_lines(host) == raised("exampled")
    assert host.get(LEVELS) == "exampled 6 6\n"
    host.terminate()
    assert tool_lines(host) == raised("exampled") + restored("exampled", 2, 3)


def test_a_change_of_the_levels_under_the_daemon_is_not_noticed_and_lost_at_the_stop(make_life):
    host, daemon = make_life("exampled", levels="exampled 2 3\n")
    host.put(LEVELS, "exampled 4 5\n")
    assert daemon.step()
    assert texts.taking(2, "exampled", PIDS["exampled"]) in host.log()
    assert host.get(LEVELS) == "exampled 4 5\n"
    host.terminate()
    assert tool_lines(host) == raised("exampled") + restored("exampled", 2, 3)
    assert host.get(LEVELS) == "exampled 2 3\n"


def test_a_daemon_that_is_killed_leaves_levels_of_6_which_the_next_one_takes_for_the_original(make_life):
    host, daemon = make_life("exampled", levels="exampled 2 3\n")
    host.kill(host.daemon_pid())
    host.until_gone()
    assert host.get(LEVELS) == "exampled 6 6\n"
    assert daemon.start().status == 0
    host.terminate()
    assert tool_lines(host) == raised("exampled") * 2 + restored("exampled", 6, 6)
    assert host.get(LEVELS) == "exampled 6 6\n"


def test_a_missing_tool_raises_nothing_and_the_service_continues(make_life):
    host, daemon = make_life("exampled", "tbrd", tool="")
    assert daemon.step()
    host.terminate()
    assert tool_lines(host) == [line for target in ("119", "128", "exampled") for line in listed(target)] * 2


# The lines look for their grep along the search path.
ODD_GREP = """#!/bin/dash
[ "$1" = Debug ] && {says} && exit
exec /usr/bin/grep "$@"
"""


def life_with_an_odd_grep(make_host, pace, says):
    """A host and a paced daemon before a first breach, whose levels come through this grep."""
    store = {"THHS_MONITOR_CPU": "exampled:80", **ON, "THHS_CAPTURE_WITHOUT_THRESHOLD": 0, "THHS_VERBOSE": 1}
    host = make_host(store=store, processes=[Process(PIDS["exampled"], "/opt/exampled", cpu=90)])
    host.put("/run/odd/grep", ODD_GREP.format(says=says), 0o755)
    host.adopt_orphans()
    daemon = paced.Paced(host, pace, PATH="/run/odd:/usr/bin:/bin")
    assert daemon.start().status == 0
    host.configure(THHS_CAPTURE_WITHOUT_THRESHOLD=1)
    return host, daemon


def test_an_answer_of_one_character_aborts_the_daemon(make_host, pace):
    host, daemon = life_with_an_odd_grep(make_host, pace, "printf x")
    pid = host.daemon_pid()
    assert not daemon.step()
    assert host.status_of(pid) == -signal.SIGABRT
    told = [entry for entry in host.log() if not texts.is_of_a_capture(entry)]
    assert told[-3:] == [f"Cmd:{listed('exampled')[0]}", "Output:x", "ReturnCode:0"]
    assert tool_lines(host) == listed("exampled")[:1]
    assert host.run("-terminate") == (9, texts.begun("stop") + texts.NO_DAEMON + texts.failed("stop"), "")


@pytest.mark.parametrize("says, level", [("printf xy", 0), ("echo 'Debug = 4' && exit 3", 4)])
def test_an_answer_without_a_mark_reads_as_0_and_its_exit_is_not_looked_at(make_host, pace, says, level):
    host, daemon = life_with_an_odd_grep(make_host, pace, says)
    assert daemon.step()
    host.terminate()
    assert tool_lines(host) == raised("exampled") + restored("exampled", level, 1)
