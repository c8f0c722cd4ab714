"""The table of docs/testing.md: each row names tests, and each test that it names is there."""
import pathlib
import re

import pytest

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]
PAGE = CHECKOUT / "docs" / "testing.md"

ROW = re.compile(r"\| (.+) \|")
NAME = re.compile(r"`([^`]+)`")
UNIT_TEST = re.compile(r"\w+\.\w+")
SYSTEM_TEST = re.compile(r"(tests/system/\w+\.py)::(\w+)")
UNIT_SOURCE = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.M)
SYSTEM_SOURCE = re.compile(r"^def (test_\w+)\(", re.M)
NO_TEST = "–"  # in a cell of a row that has its test in another one


def names_of(checkout):
    """The names of all tests in the sources, in the form of the table."""
    found = {".".join(one) for path in (checkout / "tests/unit").rglob("*.cpp")
             for one in UNIT_SOURCE.findall(path.read_text())}
    for path in (checkout / "tests/system").glob("test_*.py"):
        found.update(f"tests/system/{path.name}::{name}" for name in SYSTEM_SOURCE.findall(path.read_text()))
    return found


def rows_of(page):
    """(behaviour, cells behind it) of every row of the tables whose head begins with "Behaviour"."""
    found, head = [], None
    for line in page.splitlines():
        row = ROW.fullmatch(line)
        cells = row[1].split(" | ") if row else []
        if row and head == "Behaviour":
            found.append((cells[0], cells[1:]))
        elif not line.startswith("|---"):
            head = cells[0] if row else None
    return found


def findings(page, tests):
    """What is wrong with the rows of a page, in words."""
    found = []
    for behaviour, cells in rows_of(page):
        names = [name for cell in cells for name in NAME.findall(cell)]
        rest = [NAME.sub("", cell).strip(", ") for cell in cells]
        if len(cells) != 2 or any(text not in ("", NO_TEST) for text in rest):
            found.append(f"{behaviour}: is not a row of a behaviour and two cells of names")
        if not names:
            found.append(f"{behaviour}: names no test")
        for column, form in zip(cells, (UNIT_TEST, SYSTEM_TEST)):
            found += [f"{behaviour}: {name} stands in the wrong column" for name in NAME.findall(column)
                      if not form.fullmatch(name)]
        found += [f"{behaviour}: there is no {name}" for name in names if name not in tests]
    return found


def test_every_row_names_tests_that_are_there():
    page = PAGE.read_text()
    assert len(rows_of(page)) >= 165
    assert findings(page, names_of(CHECKOUT)) == []


def test_no_behaviour_stands_there_twice():
    behaviours = [behaviour for behaviour, _ in rows_of(PAGE.read_text())]
    assert sorted(behaviours) == sorted(set(behaviours))


UNIT = "StoreText.NumbersTheLinesOfAVeryLongText"
SYSTEM = "tests/system/test_testing_table.py::test_no_behaviour_stands_there_twice"


@pytest.mark.parametrize("cells, complaints", [
    (f"`{UNIT}` | `{SYSTEM}`", []),
    (f"`{UNIT}`, `{UNIT}` | –", []),
    (f"`{UNIT}x` | `{SYSTEM}`", [f"planted: there is no {UNIT}x"]),
    (f"`{UNIT}` | `{SYSTEM}x`", [f"planted: there is no {SYSTEM}x"]),
    ("`Planted.Name` | –", ["planted: there is no Planted.Name"]),
    ("– | `tests/system/test_planted.py::test_name`",
     ["planted: there is no tests/system/test_planted.py::test_name"]),
    ("– | –", ["planted: names no test"]),
    (f"{UNIT} | `{SYSTEM}`", ["planted: is not a row of a behaviour and two cells of names"]),
    (f"`{UNIT}`", ["planted: is not a row of a behaviour and two cells of names"]),
    (f"`{SYSTEM}` | –", [f"planted: {SYSTEM} stands in the wrong column"]),
])
def test_a_row_that_is_wrong_is_found(cells, complaints):
    page = f"| Behaviour | Unit | System |\n|---|---|---|\n| planted | {cells} |\n"
    assert findings(page, names_of(CHECKOUT)) == complaints


def test_tables_of_other_things_are_left_alone():
    other = "| Source | Why |\n|---|---|\n| planted | nothing |\n"
    assert rows_of(other) == []
    assert rows_of(f"| Behaviour | Unit |\n|---|---|\n| first | – |\n| second | – |\n\n{other}") == [
        ("first", ["–"]), ("second", ["–"])]


def test_a_test_is_known_by_its_own_line_alone(tmp_path):
    (tmp_path / "tests/unit").mkdir(parents=True)
    (tmp_path / "tests/system").mkdir()
    (tmp_path / "tests/unit/aTest.cpp").write_text(
        "TEST(A, B)\n// TEST(C, D)\nTEST_F(E,\n       F)\nTEST_P(G, H)\nINSTANTIATE_TEST_SUITE_P(I, G, x);\n")
    (tmp_path / "tests/system/test_a.py").write_text(
        "def test_b(host):\n    def test_c():\n# def test_d():\n")
    assert names_of(tmp_path) == {"A.B", "E.F", "G.H", "tests/system/test_a.py::test_b"}
