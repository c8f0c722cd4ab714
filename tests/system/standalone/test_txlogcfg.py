"""The stand-in of the log configuration tool, by its four command lines and by what it refuses."""
import os
import pathlib
import subprocess

import pytest

TOOL = pathlib.Path(__file__).resolve().parents[3] / "standalone" / "txlogcfg"
USAGE = """\
usage: txlogcfg -p TH -o TARGET -l
       txlogcfg -a -p TH -o TARGET -s NAME=N [-s NAME=N]
"""


class Tool:
    """The tool on a levels file of its own."""

    def __init__(self, folder):
        self.levels = folder / "txlogcfg.levels"

    def start(self, *arguments):
        environment = dict(os.environ, TXLOGCFG_LEVELS=str(self.levels))
        return subprocess.Popen([TOOL, *arguments], env=environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def run(self, *arguments):
        """(status, standard output, standard error) of one call."""
        process = self.start(*arguments)
        output, errors = process.communicate(timeout=60)
        return process.returncode, output.decode(), errors.decode()

    def list(self, target):
        return self.run("-p", "TH", "-o", target, "-l")

    def set(self, target, *settings):
        return self.run("-a", "-p", "TH", "-o", target, *[word for one in settings for word in ("-s", one)])


@pytest.fixture
def tool(tmp_path):
    return Tool(tmp_path)


def listing(debug, diagnostic):
    return 0, f"DebugLevel = {debug}\nDiagnosticLevel = {diagnostic}\n", ""


def test_a_target_that_was_never_set_lists_the_defaults(tool):
    assert tool.list("tbrd") == listing(1, 1)
    assert not tool.levels.exists()


def test_setting_both_levels_prints_what_was_set_and_keeps_it(tool):
    assert tool.set("119", "DebugLevel=6", "DiagnosticLevel=5") == listing(6, 5)
    assert tool.list("119") == listing(6, 5)
    assert tool.levels.read_text() == "119 6 5\n"


@pytest.mark.parametrize("setting, printed, after", [
    ("DebugLevel=4", "DebugLevel = 4\n", (4, 3)),
    ("DiagnosticLevel=4", "DiagnosticLevel = 4\n", (2, 4)),
])
def test_setting_one_level_prints_it_alone_and_leaves_the_other(tool, setting, printed, after):
    tool.set("adminconsole", "DebugLevel=2", "DiagnosticLevel=3")
    assert tool.set("adminconsole", setting) == (0, printed, "")
    assert tool.list("adminconsole") == listing(*after)


def test_targets_do_not_disturb_one_another(tool):
    for number, target in enumerate(["485", "495", "48", "thwmc", "thwmc.2"]):
        tool.set(target, f"DebugLevel={number}", f"DiagnosticLevel={number + 10}")
    tool.set("485", "DebugLevel=9")
    assert tool.list("485") == listing(9, 10)
    assert tool.list("495") == listing(1, 11)
    assert tool.list("48") == listing(2, 12)
    assert tool.list("thwmc") == listing(3, 13)
    assert tool.list("thwmc.2") == listing(4, 14)


@pytest.mark.parametrize("text, level", [("0", 0), ("007", 7), ("000", 0), ("1000", 1000), ("999999999", 999999999)])
def test_a_level_is_any_decimal_number_of_up_to_nine_digits(tool, text, level):
    assert tool.set("x", f"DebugLevel={text}") == (0, f"DebugLevel = {level}\n", "")
    assert tool.list("x") == listing(level, 1)


REFUSALS = [
    (["-x"], "unknown option '-x'"),
    ([], "the product is missing (-p)"),
    (["-p"], "the option -p needs a value"),
    (["-p", "TH", "-o"], "the option -o needs a value"),
    (["-p", "XX", "-o", "a", "-l"], "unknown product 'XX'"),
    (["-p", "TH", "-l"], "the target is missing (-o)"),
    (["-o", "a", "-l"], "the product is missing (-p)"),
    (["-p", "TH", "-o", "a"], "neither -l nor -a is given"),
    (["-p", "TH", "-o", "a", "b", "-l"], "unknown option 'b'"),
    (["-p", "TH", "-o", "a", "-o", "b", "-l"], "more than one target is given"),
    (["-p", "TH", "-o", "a", "-l", "-a", "-s", "DebugLevel=1"], "-l and -a exclude each other"),
    (["-p", "TH", "-o", "a", "-l", "-s", "DebugLevel=1"], "a level is given, but not -a"),
    (["-a", "-p", "TH", "-o", "a"], "no level is given to set (-s)"),
    (["-a", "-p", "TH", "-o", "a", "-s"], "the option -s needs a value"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel"], "'DebugLevel' is not of the form NAME=N"),
    (["-a", "-p", "TH", "-o", "a", "-s", "debuglevel=1"], "'debuglevel' is no level that can be set"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel="], "the level '' is not a number"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel=six"], "the level 'six' is not a number"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel=-1"], "the level '-1' is not a number"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel=1=2"], "the level '1=2' is not a number"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel=1234567890"], "the level '1234567890' is too large"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DebugLevel=1", "-s", "DebugLevel=2"], "DebugLevel is set twice"),
    (["-a", "-p", "TH", "-o", "a", "-s", "DiagnosticLevel=1", "-s", "DiagnosticLevel=1"],
     "DiagnosticLevel is set twice"),
    # The second setting is wrong, so the first one isn't made either.
    (["-a", "-p", "TH", "-o", "kept", "-s", "DebugLevel=1", "-s", "DiagnosticLevel=x"],
     "the level 'x' is not a number"),
    (["-p", "TH", "-o", "", "-l"], "the target is empty"),
    (["-p", "TH", "-o", "-l", "-l"], "the target '-l' begins with a hyphen"),
    (["-p", "TH", "-o", "x" * 65, "-l"], f"the target '{'x' * 65}' is longer than 64 characters"),
] + [
    (["-p", "TH", "-o", target, "-l"],
     f"the target '{target}' holds characters other than letters, digits, '.', '_' and '-'")
    for target in ["a b", "a;b", "a/b", "$(id)", "a\nb", "a*", "a\tb", "ä"]
]


@pytest.mark.parametrize("arguments, message", REFUSALS)
def test_a_command_line_that_is_not_sound_is_refused_and_changes_nothing(tool, arguments, message):
    tool.set("kept", "DebugLevel=3", "DiagnosticLevel=4")
    assert tool.run(*arguments) == (1, "", f"txlogcfg: {message}\n{USAGE}")
    assert tool.levels.read_text() == "kept 3 4\n"


def test_a_target_of_64_characters_is_accepted(tool):
    assert tool.list("x" * 64) == listing(1, 1)


def test_lines_that_are_not_understood_are_kept_and_passed_over(tool):
    foreign = "# by hand\n\na 1\nb x 2\nc 1 2 3\n  spaced\n"
    tool.levels.write_text(foreign + "d 4 5")
    assert [tool.list(target) for target in "abcd"] == [listing(1, 1)] * 3 + [listing(4, 5)]
    tool.set("e", "DebugLevel=2")
    assert tool.levels.read_text() == foreign + "d 4 5\ne 2 1\n"


def test_concurrent_changes_are_all_kept(tool):
    running = [tool.start("-a", "-p", "TH", "-o", f"t{number}", "-s", f"DebugLevel={number}") for number in range(40)]
    assert [process.wait(timeout=60) for process in running] == [0] * 40
    for process in running:
        process.communicate()
    expected = sorted(f"t{number} {number} 1" for number in range(40))
    assert sorted(tool.levels.read_text().splitlines()) == expected


def test_levels_that_cannot_be_read_are_an_error_and_not_the_defaults(tool):
    tool.levels.mkdir()
    refusal = (1, "", f"txlogcfg: the levels in {tool.levels} can't be read\n")
    assert tool.list("a") == refusal
    assert tool.set("a", "DebugLevel=1") == refusal


def test_levels_that_cannot_be_written_are_an_error(tool):
    tool.levels = tool.levels.parent / "no" / "levels"
    assert tool.set("a", "DebugLevel=1") == (1, "", f"txlogcfg: {tool.levels}.lock can't be written\n")


def test_a_change_that_cannot_be_completed_leaves_the_old_levels(tool):
    tool.set("kept", "DebugLevel=3")
    pathlib.Path(f"{tool.levels}.new").mkdir()
    status, output, errors = tool.set("kept", "DebugLevel=5")
    assert (status, output) == (1, "")
    assert errors.endswith(f"txlogcfg: {tool.levels} can't be written\n")
    assert tool.levels.read_text() == "kept 3 1\n"


def test_it_works_for_a_caller_with_closed_streams(tool):
    environment = dict(os.environ, TXLOGCFG_LEVELS=str(tool.levels))
    lines = f'exec 0<&- 2>&-; "{TOOL}" -a -p TH -o a -s DebugLevel=6; "{TOOL}" -p TH -o a -l | grep Debug'
    done = subprocess.run(["/bin/sh", "-c", lines], env=environment, capture_output=True, timeout=60)
    assert (done.returncode, done.stdout.decode()) == (0, "DebugLevel = 6\nDebugLevel = 6\n")
    assert tool.levels.read_text() == "a 6 1\n"
