"""script/mutate: the changes that it makes, and what it says of those that no test notices."""
import importlib
import pathlib
import subprocess
import sys

import pytest

from host import product

CHECKOUT = pathlib.Path(__file__).resolve().parents[3]


@pytest.fixture(name="library")
def import_library(monkeypatch):
    """Imports a module of script/lib."""
    monkeypatch.syspath_prepend(str(CHECKOUT / "script/lib"))
    return importlib.import_module


def changes(library, code):
    return [mutant.apply(code) for mutant in library("mutants").mutants(code)]


@pytest.mark.parametrize("code, expected", [
    ("a < b", ["a <= b"]),
    ("a <= b", ["a < b"]),
    ("a > b", ["a >= b"]),
    ("a >= b", ["a > b"]),
    ("a == b", ["a != b"]),
    ("a != b", ["a == b"]),
    ("a && b", ["a || b"]),
    ("a || b", ["a && b"]),
    ("a + b", ["a - b"]),
    ("a -= b", ["a += b"]),
    ("a / b", ["a * b"]),
    ("++a", ["--a"]),
    ("!a", ["a"]),
    ("a = true", ["a = false"]),
    ("a = 5", ["a = 4", "a = 6"]),
    ("a = 0", ["a = 1"]),
    ("a = 1e18", ["a = (1e18 / 10 + 1)"]),
    ("return a;", ["return {};"]),
    ("return false;", ["return true;"]),
    ("return 0.0;", ["return (0.0 / 10 + 1);"]),
    ("    Call(a);\n", ["    ;\n"]),
    ("    a.mField = b;\n", ["    ;\n"]),
    ("    Call(a,\n         b);\n", ["    ;\n"]),
    ("break;", [";"]),
    ("if (IsThere(a)) {", ["if (!(IsThere(a))) {"]),
    ("if (!IsThere(a)) {", ["if (IsThere(a)) {"]),
])
def test_code_is_changed_one_place_at_a_time(library, code, expected):
    assert changes(library, code) == expected


@pytest.mark.parametrize("code", [
    "// a < b + 1", "/* a == b\n 1 */", 'a = "x < 1 \\" + 2"', "a = '<'", "#if A == 1", "std::vector<int> b",
    "a8 = mB2", "const char* c", "return {};", "return nullptr;", "return std::nullopt;",
    'return "";', "const int a = b;", "using A = B;",
])
def test_what_is_no_code_or_would_not_build_is_left_alone(library, code):
    assert not changes(library, code)


def test_a_change_is_shown_by_its_lines_before_and_after(library):
    code = "int a;\n  return a <\n    b  + c;\n"
    mutant = library("mutants").mutants(code)[-1]
    assert mutant.line_number(code) == 3
    assert mutant.before_and_after(code) == ("b + c;", "b - c;")


@pytest.fixture(name="judged")
def make_run(library, monkeypatch, tmp_path, capsys):
    """Runs over a checkout whose one source has two mutants, with tests that notice those of `killed`; gives the
    status and what was printed."""
    mutate = library("mutate")

    def run(killed, listed=""):
        (tmp_path / "script/lib").mkdir(parents=True)
        (tmp_path / "script/lib/equivalent_mutants.txt").write_text(listed)
        (tmp_path / "a.cpp").write_text("x = a < b;\ny = 0;\n")
        monkeypatch.setattr(mutate, "ROOT", tmp_path)
        monkeypatch.setattr(mutate, "Build", lambda folder: None)
        monkeypatch.setattr(mutate, "judge", lambda build, source, text:
                            "killed" if any(sign in text for sign in killed) else "survived")
        monkeypatch.setattr(sys, "argv", ["mutate.py", "build", "a.cpp"])
        with pytest.raises(SystemExit) as end:
            mutate.main()
        return end.value.code, capsys.readouterr().out.splitlines()
    return run


LISTED = "# A remark.\n\na.cpp\n- x = a < b;\n+ x = a <= b;\n  b is never a.\n"


def test_a_change_that_every_test_passes_is_an_error(judged):
    assert judged(killed=["y = 1"]) == (1, [
        "a.cpp: 2 mutants, 1 not noticed",
        "not noticed by any test: a.cpp:1: x = a < b; -> x = a <= b;",
        "2 mutants, 1 killed, 0 equivalent, 1 survived"])


def test_a_change_that_is_listed_as_equivalent_is_none(judged):
    assert judged(killed=["y = 1"], listed=LISTED) == (0, [
        "a.cpp: 2 mutants, 1 not noticed",
        "2 mutants, 1 killed, 1 equivalent, 0 survived"])


def test_a_listed_change_that_the_tests_notice_is_an_error(judged):
    assert judged(killed=["<=", "y = 1"], listed=LISTED) == (1, [
        "a.cpp: 2 mutants, 0 not noticed",
        "listed as equivalent, and noticed or gone: a.cpp: x = a < b; -> x = a <= b;",
        "2 mutants, 2 killed, 0 equivalent, 0 survived"])


def test_tests_that_fail_without_any_change_end_the_run(judged):
    assert judged(killed=["x"]) == ("script/mutate: a.cpp without any change is killed", [])


@pytest.mark.parametrize("text", ["a.cpp\n- x\n+ y\n", "a.cpp\n+ y\n- x\n  Why.\n", "\0\xff", "a.cpp\n- x\n"])
def test_a_row_without_its_form_ends_the_run(library, text):
    with pytest.raises(SystemExit, match="not a row of source, before, after and reason"):
        library("mutate").read_equivalents(text)


def test_a_list_may_be_empty_or_hold_lines_like_those_of_its_form(library):
    read = library("mutate").read_equivalents
    assert read("") == read("# Nothing yet.\n") == set()
    assert read("a.cpp\n- - x\n+ + - y\n  Why.\n\n\nb.cpp\n- \n+ ;\n  Why.\n") == {
        ("a.cpp", "- x", "+ - y"), ("b.cpp", "", ";")}


def test_every_row_of_the_list_has_its_form_and_names_a_change_of_a_source(library):
    mutate = library("mutate")
    rows = mutate.read_equivalents((CHECKOUT / mutate.EQUIVALENT).read_text())
    assert {source for source, _, _ in rows} <= set(mutate.all_sources())
    for source, before, after in rows:
        code = (CHECKOUT / source).read_text()
        made = {mutant.before_and_after(code) for mutant in library("mutants").mutants(code)}
        assert (before, after) in made, f"{source}: {before}"


def functions_of(*files):
    """(file or member of an archive, the functions that it defines)."""
    listing = subprocess.run(["nm", "-A", "--defined-only", *files], capture_output=True, text=True, check=True).stdout
    defined = {}
    for line in listing.splitlines():
        place, kind, name = line.rsplit(maxsplit=2)
        if kind == "T":
            defined.setdefault(place.split(":")[-2], set()).add(name)
    return defined


def test_a_whole_run_leaves_out_the_sources_that_the_test_program_does_not_hold(library):
    """The linker takes the functions of the tests in place of those of the same name in the core."""
    mutate, build = library("mutate"), product.build_folder()
    objects = sorted((build / "tests/unit/CMakeFiles/thsentinel_tests.dir").rglob("*.cpp.o"))
    if not objects:
        pytest.skip(f"needs the unit tests in {build}")
    of_tests = set().union(*functions_of(*objects).values())
    replaced = {member.removesuffix(".o") for member, names in functions_of(build / "src/libthsentinel_core.a").items()
                if names & of_tests}
    assert replaced | {"main.cpp"} == {pathlib.Path(source).name for source in mutate.WITHOUT_TESTS}
    assert all((CHECKOUT / source).exists() for source in mutate.WITHOUT_TESTS)
    assert not mutate.WITHOUT_TESTS & set(mutate.all_sources())
