"""The check of the files' text: each finding comes with its place, and what is sound passes in silence."""
import pathlib
import subprocess

import pytest

CHECK = pathlib.Path(__file__).resolve().parents[3] / "script" / "lib" / "lint_text.py"
PAPER = "points at a paper that is not in this tree"
HEADING = "points at a heading that is not in this tree"
TASK = "points at a task that is not in this tree"
FOLDER = "names a folder of one machine"
ADDRESS = "names an address on the net"


def check(folder, name, text):
    """(status, output) of the check of one file with the text; a str goes in as UTF-8."""
    path = folder / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(text.encode() if isinstance(text, str) else text)
    done = subprocess.run([CHECK, name], cwd=folder, capture_output=True, timeout=60)
    assert done.stderr == b""
    return done.returncode, done.stdout.decode()


# The planted texts are broken up, so that the check doesn't find them in this file.
@pytest.mark.parametrize("planted, message", [
    ("spec" "ification", PAPER),
    ("Spec" "ifications", PAPER),
    ("the sp" "ec", PAPER),
    ("The  sp" "ec", PAPER),
    ("spec" ".md", PAPER),
    ("Pa" "rt 3.2", HEADING),
    ("pa" "rts 4.1", HEADING),
    ("\u00a7", HEADING),
    ("iss" "ue 12", TASK),
    ("Iss" "ues #3", TASK),
    ("/wo" "rk/", FOLDER),
    ("/ro" "ot/", FOLDER),
    ("ht" "tps://", ADDRESS),
    ("HT" "TP://", ADDRESS),
])
@pytest.mark.parametrize("name", ["a.cpp", "doc/b.md", "script", "c.service"])
def test_a_text_that_points_outside_is_found_in_every_kind_of_file(tmp_path, name, planted, message):
    text = f"# first\n# as {planted} says\n"
    assert check(tmp_path, name, text) == (1, f"{name}:2: '{planted}' {message}\n")


@pytest.mark.parametrize("sound", [
    "a special case, a specimen, to specify, the species, specific",
    "the partition 3.2 of a part, in parts",
    "an issue of 12 lines, issued 3",
    "src/work/a and ../root/b and $root/c, ~/work",
    "http and https: a colon",
])
def test_words_that_only_look_alike_pass(tmp_path, sound):
    assert check(tmp_path, "a.md", sound + "\n") == (0, "")


def test_a_text_broken_over_two_lines_is_found(tmp_path):
    assert check(tmp_path, "a.cpp", "// as the\n//   sp" "ec says\n") == (1, f"a.cpp:1: 'the sp" f"ec' {PAPER}\n")


def test_a_file_name_that_points_outside_is_found(tmp_path):
    name = "spec" "ification.txt"
    assert check(tmp_path, name, "") == (1, f"{name}:0: the file name: '{'spec' 'ification'}' {PAPER}\n")


def test_every_finding_of_every_line_is_reported(tmp_path):
    text = "\u00a7 and /wo" "rk/\nfine\n\u00a7\n"
    expected = [f"a:1: '\u00a7' {HEADING}", f"a:1: '/wo" f"rk/' {FOLDER}", f"a:3: '\u00a7' {HEADING}"]
    assert check(tmp_path, "a", text) == (1, "\n".join(expected) + "\n")


def test_a_binary_file_is_passed_over(tmp_path):
    assert check(tmp_path, "a.png", b"\x00\xff the sp" b"ec") == (0, "")


@pytest.mark.parametrize("line, status", [
    ("#define MAX(a, b) a", 1),
    ("  #  define F() 1", 1),
    ("#define LIMIT (3)", 0),
    ("#define FLAG", 0),
])
def test_function_like_macros_are_found_and_plain_ones_are_not(tmp_path, line, status):
    expected = "a.h:1: defines a function-like macro\n" if status else ""
    assert check(tmp_path, "a.h", line + "\n") == (status, expected)
    assert check(tmp_path, "a.md", line + "\n") == (0, "")


def test_a_source_line_may_have_110_columns_and_no_more(tmp_path):
    assert check(tmp_path, "a.cpp", "x" * 110 + "\n") == (0, "")
    assert check(tmp_path, "a.cpp", "\n" + "x" * 111 + "\n") == (1, "a.cpp:2: has 111 columns, more than 110\n")
    assert check(tmp_path, "a.cpp", "ä" * 110 + "\n") == (0, "")
    assert check(tmp_path, "a.md", "x" * 111 + "\n") == (0, "")


def test_a_source_may_have_500_lines_and_no_more(tmp_path):
    assert check(tmp_path, "a.cpp", "x\n" * 500) == (0, "")
    assert check(tmp_path, "a.cpp", "x\n" * 501) == (1, "a.cpp:501: the file has more than 500 lines\n")
    assert check(tmp_path, "a.py", "x\n" * 501) == (0, "")
